#include "ZorvRenderApp.h"

#include <sndfile.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <sstream>

#include "ZorvRenderBoxText.h"
#include "ZorvRenderConsole.h"
#include "ZorvRenderDemo.h"
#include "ZorvRenderError.h"
#include "ZorvRenderInputFile.h"
#include "ZorvRenderLoop.h"
#include "ZorvRenderOutputFile.h"
#include "ZorvRenderProgress.h"
#include "ZorvRenderScore.h"

namespace zorvrender {
namespace {

std::string hertz(double rate) {
  std::ostringstream out;
  out << rate << " Hz";
  return out.str();
}

std::string seconds(double value) {
  char text[32];
  std::snprintf(text, sizeof(text), "%.3g s", value);
  return text;
}

// The rate of the render: the one asked for, else the inputs' own (on which
// they must agree), else 48000. Nothing is resampled.
double chooseSamplerate(RenderOptions const& options,
                        std::vector<std::unique_ptr<InputFile>> const& files) {
  for (auto const& file : files) {
    if (!(file->Samplerate() >= 1. && file->Samplerate() <= 1.0e7)) {
      throw RenderError(ExitBadInput, file->Name() + ": a sample rate of " +
                                          hertz(file->Samplerate()) +
                                          " is outside what --samplerate takes (1 to 1e7 Hz)");
    }
  }
  for (size_t i = 1; i < files.size(); ++i) {
    if (files[i]->Samplerate() != files[0]->Samplerate()) {
      throw RenderError(ExitBadInput, "sample rates differ: " + files[0]->Name() + " is at " +
                                          hertz(files[0]->Samplerate()) + ", " + files[i]->Name() +
                                          " at " + hertz(files[i]->Samplerate()) +
                                          "; all inputs must share one rate");
    }
  }
  if (options.samplerate > 0.) {
    if (!files.empty() && files[0]->Samplerate() != options.samplerate) {
      throw RenderError(ExitBadInput, "sample rates differ: " + files[0]->Name() + " is at " +
                                          hertz(files[0]->Samplerate()) + ", not the " +
                                          hertz(options.samplerate) +
                                          " given with --samplerate (inputs are not resampled)");
    }
    return options.samplerate;
  }
  return files.empty() ? 48000. : files[0]->Samplerate();
}

// Refuses an output that is one of the files read: writing it would destroy
// the input (or the score) while it is being read.
void refuseOutputOverInput(RenderOptions const& options) {
  struct stat output {};
  if (stat(options.output.c_str(), &output) != 0) {
    return;
  }
  std::vector<std::string> reads = options.inputs;
  if (!options.score.empty()) {
    reads.push_back(options.score);
  }
  for (auto const& path : reads) {
    struct stat input {};
    if (stat(path.c_str(), &input) == 0 && input.st_dev == output.st_dev &&
        input.st_ino == output.st_ino && S_ISREG(input.st_mode)) {
      throw RenderError(ExitUsage, "-o " + options.output + " is the same file as " +
                                       (path == options.score ? "the score " : "the input ") +
                                       path + ": choose another output");
    }
  }
}

// Whether a file stands under the output's name (through a link too).
bool outputExists(std::string const& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0;
}

std::string peakText(float peak) {
  if (!(peak > 0.f)) {
    return "silent";
  }
  char text[64];
  std::snprintf(text, sizeof(text), "peak %.1f dBFS", 20. * std::log10(static_cast<double>(peak)));
  return text;
}

int run(RenderOptions const& options, ObjectFactory const& factory, Console& console,
        std::ostream& err, std::function<bool()> const& interrupted, RenderReport* reportOut) {
  std::string const boxText = NormaliseBoxText(options.boxText);
  if (options.blockSize < 1 || options.blockSize > 4096) {
    throw RenderError(ExitUsage, "--blocksize " + std::to_string(options.blockSize) +
                                     ": give a value from 1 to 4096");
  }
  if (options.samplerate != std::floor(options.samplerate)) {
    throw RenderError(ExitUsage, "--samplerate " + hertz(options.samplerate) +
                                     ": audio files take a whole number of hertz");
  }
  if (options.demo && !options.inputs.empty()) {
    throw RenderError(ExitUsage, "--demo brings its own source: give it without --input");
  }
  if (!(options.duration < 0.) && !(options.duration >= 0. && options.duration <= 1.0e9)) {
    throw RenderError(ExitUsage, "--duration: give a number of seconds from 0 to 1e9");
  }
  if (!(options.tail >= 0. && options.tail <= 1.0e9)) {
    throw RenderError(ExitUsage, "--tail: give a number of seconds from 0 to 1e9");
  }
  refuseOutputOverInput(options);

  // Everything that can be checked without the object is checked first. A
  // score in a file is read through once here (line by line, in constant
  // memory) so that a bad line stops the run before anything is written; a
  // score from a pipe is checked as it comes.
  std::unique_ptr<ScoreReader> scoreReader;
  if (!options.score.empty()) {
    scoreReader = std::make_unique<ScoreReader>(options.score, interrupted);
    if (scoreReader->IsRegularFile()) {
      for (ScoreEntry entry; scoreReader->Next(entry);) {
      }
      if (scoreReader->Interrupted()) {
        console.Renderer(ConsoleSeverity::Error, "interrupted: nothing written");
        return ExitInterrupted;
      }
      scoreReader = std::make_unique<ScoreReader>(options.score, interrupted);
    }
  } else if (options.demo) {
    scoreReader = std::make_unique<ScoreReader>(
        IsHeadphonesBox(boxText) ? DemoHeadphonesScoreText() : DemoScoreText(), "demo score");
  }

  std::vector<std::unique_ptr<InputFile>> files;
  for (auto const& path : options.inputs) {
    files.push_back(std::make_unique<InputFile>(path, options.blockSize));
    if (!files.back()->Warning().empty()) {
      console.Renderer(ConsoleSeverity::Warning, files.back()->Warning());
    }
  }
  double const samplerate = chooseSamplerate(options, files);

  std::vector<std::unique_ptr<Source>> ownedSources;
  std::vector<Source*> sources;
  for (auto& file : files) {
    sources.push_back(file.get());
  }
  if (options.demo) {
    ownedSources.push_back(std::make_unique<DemoSource>(
        samplerate, IsHeadphonesBox(boxText) ? DemoHeadphonesSeconds : DemoSeconds));
    sources.push_back(ownedSources.back().get());
  }

  long long numFrames = 0;
  if (options.duration >= 0.) {
    numFrames = SecondsToSample(options.duration, samplerate);
  } else if (!sources.empty()) {
    for (Source const* source : sources) {
      numFrames = std::max(numFrames, source->NumFrames());
    }
    numFrames += SecondsToSample(options.tail, samplerate);
  } else {
    throw RenderError(ExitUsage, "nothing sets the length: give --input, --demo or --duration");
  }

  auto object = factory(boxText, [&console](ConsoleSeverity severity, std::string const& text) {
    console.Object(severity, text);
  });
  if (!object) {
    throw RenderError(ExitBadBox, "the box \"" + boxText + "\" makes no object");
  }
  ConnectInlets(*object, sources);

  std::string const notWritten = "nothing written to " + options.output;
  OutputFile output(options.output, object->NumOutlets(), samplerate, options.bits,
                    options.blockSize);

  auto strictStop = [&]() { return options.strict && console.ObjectErrors() > 0; };
  for (auto const& message : options.messages) {
    if (strictStop()) {
      break;
    }
    object->SendMessage(message);
  }

  std::unique_ptr<ScoreMessages> scoreMessages;
  std::vector<TimedMessage> const none;
  MessageList noMessages(none);
  MessageSource* timed = &noMessages;
  if (scoreReader) {
    scoreMessages =
        std::make_unique<ScoreMessages>(*scoreReader, samplerate, options.blockSize, options.exact);
    timed = scoreMessages.get();
  }
  std::unique_ptr<ProgressBar> bar;
  if (options.progress) {
    bar = std::make_unique<ProgressBar>(err, numFrames, samplerate);
    console.AttachProgress(bar.get());
  }
  // However the render ends, the bar's line is left clean for what follows.
  struct DetachProgress {
    Console& console;
    ProgressBar* bar;
    ~DetachProgress() {
      if (bar != nullptr) {
        bar->Clear();
      }
      console.AttachProgress(nullptr);
    }
  } detachProgress{console, bar.get()};
  RenderHooks hooks;
  hooks.beforeMessage = [&console](std::string const& origin) { console.SetOrigin(origin); };
  hooks.stop = [&]() { return strictStop() || (interrupted && interrupted()); };
  if (bar) {
    hooks.progress = [&bar](long long done) { bar->Update(done); };
  }
  RenderSettings settings;
  settings.samplerate = samplerate;
  settings.blockSize = options.blockSize;
  settings.numFrames = numFrames;
  settings.exact = options.exact;
  settings.preroll = options.preroll;

  RenderReport report;
  if (!strictStop()) {
    report = Render(*object, sources, output, *timed, settings, hooks);
  }
  console.SetOrigin("");
  console.FlushRepeats();
  if (reportOut != nullptr) {
    *reportOut = report;
  }
  if (bar && !report.stopped) {
    bar->Finish();
  }
  if (strictStop()) {
    throw RenderError(ExitObjectError,
                      "the object reported an error and --strict is given: " + notWritten);
  }
  if (report.stopped) {
    console.Renderer(ConsoleSeverity::Error, "interrupted: " + notWritten);
    return ExitInterrupted;
  }
  size_t const afterEnd = scoreMessages ? scoreMessages->CountRest() : 0;
  if (afterEnd > 0) {
    console.Renderer(ConsoleSeverity::Warning,
                     scoreReader->Name() + ": " + std::to_string(afterEnd) +
                         " message(s) fall at or after the end (" +
                         seconds(static_cast<double>(numFrames) / samplerate) +
                         ") and were not sent");
  }
  output.Commit();
  if (output.Clipped() > 0) {
    console.Renderer(ConsoleSeverity::Warning,
                     options.output + ": " + std::to_string(output.Clipped()) +
                         " sample(s) went beyond full scale and were clipped; lower the "
                         "level or write 32-bit float");
  }

  if (!options.quiet) {
    double const rendered = static_cast<double>(numFrames) / samplerate;
    std::ostringstream summary;
    summary << "wrote " << options.output << ": " << object->NumOutlets() << " channel(s), "
            << seconds(rendered) << " at " << hertz(samplerate) << ", " << output.Description()
            << ", " << peakText(output.Peak());
    if (output.IsInteger()) {
      summary << ", " << output.Clipped() << " clipped";
    }
    if (report.totalSeconds > 0. && rendered > 0.) {
      char speed[64];
      std::snprintf(speed, sizeof(speed), "; %.1fx real time", rendered / report.totalSeconds);
      summary << speed;
    }
    console.Renderer(ConsoleSeverity::Post, summary.str());
  }
  return ExitSuccess;
}

}  // namespace

int RunRender(RenderOptions const& options, ObjectFactory const& factory, std::ostream& err,
              std::function<bool()> const& interrupted, RenderReport* report) {
  Console console(err);
  bool const hadOlderFile = !options.output.empty() && outputExists(options.output);
  auto failed = [&](int code) {
    if (hadOlderFile) {
      console.Renderer(ConsoleSeverity::Error, options.output +
                                                   " was not replaced: the older file of that "
                                                   "name is left as it was");
    }
    return code;
  };
  try {
    int const code = run(options, factory, console, err, interrupted, report);
    return code == ExitSuccess ? code : failed(code);
  } catch (RenderError const& error) {
    console.SetOrigin("");
    console.FlushRepeats();
    console.Renderer(ConsoleSeverity::Error, error.what());
    return failed(error.Code());
  } catch (std::exception const& error) {
    console.SetOrigin("");
    console.FlushRepeats();
    console.Renderer(ConsoleSeverity::Error, error.what());
    return failed(1);
  }
}

}  // namespace zorvrender
