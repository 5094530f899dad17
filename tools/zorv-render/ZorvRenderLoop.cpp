#include "ZorvRenderLoop.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

#include "ZorvRenderError.h"

namespace zorvrender {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

}  // namespace

long long SecondsToSample(double seconds, double samplerate) {
  double const sample = std::round(seconds * samplerate);
  if (!(sample < 9.0e18)) {
    return std::numeric_limits<long long>::max();
  }
  return sample > 0. ? static_cast<long long>(sample) : 0;
}

std::vector<TimedMessage> TimeScore(Score const& score, double samplerate) {
  std::vector<TimedMessage> messages;
  messages.reserve(score.Entries().size());
  for (auto const& entry : score.Entries()) {
    messages.push_back({SecondsToSample(entry.seconds, samplerate), entry.message,
                        score.Name() + ":" + std::to_string(entry.line)});
  }
  return messages;
}

void ConnectInlets(RenderObject& object, std::vector<Source*> const& sources) {
  unsigned int const numInlets = object.NumInlets();
  unsigned int next = 0;
  for (Source const* source : sources) {
    if (source->NumChannels() > numInlets - next) {
      throw RenderError(ExitBadInput,
                        source->Name() + ": " + std::to_string(source->NumChannels()) +
                            " channels, but only " + std::to_string(numInlets - next) + " of the " +
                            std::to_string(numInlets) +
                            " inlets are left for it (raise @numinputs or drop channels)");
    }
    next += source->NumChannels();
  }
  for (unsigned int inlet = 0; inlet < numInlets; ++inlet) {
    object.SetInletConnected(inlet, inlet < next);
  }
}

RenderReport Render(RenderObject& object, std::vector<Source*> const& sources, Sink& sink,
                    std::vector<TimedMessage> const& messages, RenderSettings const& settings,
                    RenderHooks const& hooks) {
  auto const renderStart = Clock::now();
  RenderReport report;
  unsigned int const blockSize = std::max(1u, settings.blockSize);
  unsigned int const numInlets = object.NumInlets();
  unsigned int const numOutlets = object.NumOutlets();

  // Inlets no source feeds stay zero throughout.
  std::vector<std::vector<float>> inputs(numInlets, std::vector<float>(blockSize, 0.f));
  std::vector<std::vector<float>> outputs(numOutlets, std::vector<float>(blockSize, 0.f));
  std::vector<float*> inputBlock(numInlets);
  std::vector<float*> outputBlock(numOutlets);
  std::vector<float const*> inputPiece(numInlets);
  std::vector<float*> outputPiece(numOutlets);
  for (unsigned int i = 0; i < numInlets; ++i) {
    inputBlock[i] = inputs[i].data();
  }
  for (unsigned int j = 0; j < numOutlets; ++j) {
    outputBlock[j] = outputs[j].data();
  }
  std::vector<unsigned int> firstInlet;
  unsigned int next = 0;
  for (Source const* source : sources) {
    firstInlet.push_back(next);
    next += source->NumChannels();
  }

  auto stopNow = [&hooks]() { return hooks.stop && hooks.stop(); };

  size_t nextMessage = 0;
  auto send = [&](TimedMessage const& message) {
    if (hooks.beforeMessage) {
      hooks.beforeMessage(message.origin);
    }
    auto const start = Clock::now();
    object.SendMessage(message.text);
    report.messageSeconds += secondsSince(start);
    ++report.messagesSent;
  };
  auto process = [&](unsigned int offset, unsigned int length) {
    for (unsigned int i = 0; i < numInlets; ++i) {
      inputPiece[i] = inputBlock[i] + offset;
    }
    for (unsigned int j = 0; j < numOutlets; ++j) {
      outputPiece[j] = outputBlock[j] + offset;
    }
    auto const start = Clock::now();
    object.ProcessBlock(inputPiece.data(), outputPiece.data(), length);
    report.objectSeconds += secondsSince(start);
  };

  object.StartDsp(settings.samplerate, blockSize);

  long long position = 0;
  while (position < settings.numFrames) {
    if (stopNow()) {
      report.stopped = true;
      break;
    }
    unsigned int const n =
        static_cast<unsigned int>(std::min<long long>(blockSize, settings.numFrames - position));
    long long const end = position + n;

    auto const readStart = Clock::now();
    for (size_t s = 0; s < sources.size(); ++s) {
      Source* source = sources[s];
      float* const* channels = inputBlock.data() + firstInlet[s];
      unsigned int const got = source->Read(channels, n);
      for (unsigned int c = 0; c < source->NumChannels(); ++c) {
        std::fill(channels[c] + got, channels[c] + n, 0.f);
      }
    }
    report.readSeconds += secondsSince(readStart);

    unsigned int done = 0;
    while (nextMessage < messages.size() && messages[nextMessage].sample < end) {
      if (settings.exact) {
        long long const at = std::max(messages[nextMessage].sample, position);
        unsigned int const cut = static_cast<unsigned int>(at - position);
        if (cut > done) {
          process(done, cut - done);
          done = cut;
        }
      }
      send(messages[nextMessage++]);
      if (stopNow()) {
        report.stopped = true;
        break;
      }
    }
    if (report.stopped) {
      break;
    }
    if (done < n) {
      process(done, n - done);
    }

    auto const writeStart = Clock::now();
    sink.Write(outputBlock.data(), n);
    report.writeSeconds += secondsSince(writeStart);

    position = end;
    report.frames = position;
    if (hooks.progress) {
      hooks.progress(position);
    }
  }
  if (!report.stopped && position >= settings.numFrames) {
    report.messagesAfterEnd = messages.size() - nextMessage;
  }
  report.totalSeconds = secondsSince(renderStart);
  return report;
}

}  // namespace zorvrender
