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
    std::string const origin = score.Name() + ":" + std::to_string(entry.line);
    messages.push_back({SecondsToSample(entry.seconds, samplerate), entry.MessageAt(0.), origin});
    if (entry.IsGlide()) {
      messages.push_back(
          {SecondsToSample(entry.endSeconds, samplerate), entry.MessageAt(1.), origin});
    }
  }
  std::stable_sort(
      messages.begin(), messages.end(),
      [](TimedMessage const& a, TimedMessage const& b) { return a.sample < b.sample; });
  return messages;
}

bool MessageList::Take(long long end, TimedMessage& message) {
  if (next >= messages.size() || messages[next].sample >= end) {
    return false;
  }
  message = messages[next++];
  return true;
}

ScoreMessages::ScoreMessages(ScoreReader& reader, double samplerate, unsigned int blockSize,
                             bool exact)
    : reader(reader), samplerate(samplerate), blockSize(std::max(1u, blockSize)), exact(exact) {}

bool ScoreMessages::peek() {
  if (!havePending && reader.Next(pending)) {
    havePending = true;
    pendingSample = SecondsToSample(pending.seconds, samplerate);
  }
  return havePending;
}

// The next sample a glide speaks at after this one: the next block's start,
// or the next sample, and never past its end.
long long ScoreMessages::following(long long sample, long long stop) const {
  long long const next = exact ? sample + 1 : (sample / blockSize + 1) * blockSize;
  return std::min(next, stop);
}

TimedMessage ScoreMessages::emit(Glide& glide, long long sample) {
  double const span = static_cast<double>(glide.stop - glide.start);
  double const fraction = span > 0. ? static_cast<double>(sample - glide.start) / span : 1.;
  glide.next = sample < glide.stop ? following(sample, glide.stop) : -1;
  return {sample, glide.entry.MessageAt(fraction),
          reader.Name() + ":" + std::to_string(glide.entry.line)};
}

bool ScoreMessages::Take(long long end, TimedMessage& message) {
  // The glide due first; among equals the one of the earliest line.
  Glide* due = nullptr;
  for (Glide& glide : gliding) {
    if (due == nullptr || glide.next < due->next ||
        (glide.next == due->next && glide.entry.line < due->entry.line)) {
      due = &glide;
    }
  }
  bool const lineFirst = peek() && (due == nullptr || pendingSample < due->next);
  if (lineFirst) {
    if (pendingSample >= end) {
      return false;
    }
    havePending = false;
    if (!pending.IsGlide()) {
      message = {pendingSample, pending.message,
                 reader.Name() + ":" + std::to_string(pending.line)};
      return true;
    }
    Glide glide{pending, pendingSample, SecondsToSample(pending.endSeconds, samplerate), 0};
    message = emit(glide, pendingSample);
    if (glide.next >= 0) {
      gliding.push_back(std::move(glide));
    }
    return true;
  }
  if (due == nullptr || due->next >= end) {
    return false;
  }
  message = emit(*due, due->next);
  if (due->next < 0) {
    gliding.erase(gliding.begin() + (due - gliding.data()));
  }
  return true;
}

size_t ScoreMessages::CountRest() {
  size_t count = gliding.size() + (havePending ? 1 : 0);
  havePending = false;
  if (!reader.IsRegularFile()) {
    return count;
  }
  while (peek()) {
    havePending = false;
    ++count;
  }
  return count;
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
                            " inlets are left for it (raise @numinputs, at most 128, or drop "
                            "channels)");
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
  MessageList list(messages);
  RenderReport report = Render(object, sources, sink, list, settings, hooks);
  if (!report.stopped && report.frames >= settings.numFrames) {
    report.messagesAfterEnd = list.Left();
  }
  return report;
}

RenderReport Render(RenderObject& object, std::vector<Source*> const& sources, Sink& sink,
                    MessageSource& messages, RenderSettings const& settings,
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

  TimedMessage message;
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

  // The pre-roll: the messages of time 0, then silence that is not written,
  // long enough for the gains to settle on what those messages set.
  if (settings.preroll) {
    while (!report.stopped && messages.Take(1, message)) {
      send(message);
      report.stopped = stopNow() || messages.Interrupted();
    }
    for (auto& channel : inputs) {
      std::fill(channel.begin(), channel.end(), 0.f);
    }
    report.prerollFrames = object.SettleFrames(settings.samplerate);
    long long left = report.prerollFrames;
    while (!report.stopped && left > 0) {
      unsigned int const n = static_cast<unsigned int>(std::min<long long>(blockSize, left));
      process(0, n);
      left -= n;
      report.stopped = stopNow();
    }
  }

  long long position = 0;
  while (!report.stopped && position < settings.numFrames) {
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
    while (messages.Take(end, message)) {
      if (settings.exact) {
        long long const at = std::max(message.sample, position);
        unsigned int const cut = static_cast<unsigned int>(at - position);
        if (cut > done) {
          process(done, cut - done);
          done = cut;
        }
      }
      send(message);
      if (stopNow()) {
        report.stopped = true;
        break;
      }
    }
    if (report.stopped || messages.Interrupted()) {
      report.stopped = true;
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
  report.totalSeconds = secondsSince(renderStart);
  return report;
}

}  // namespace zorvrender
