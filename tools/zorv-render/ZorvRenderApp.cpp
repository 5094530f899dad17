#include "ZorvRenderApp.h"

#include <sndfile.h>

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

  // Everything that can be checked without the object is checked first.
  Score score;
  if (!options.score.empty()) {
    score = Score::Read(options.score);
  } else if (options.demo) {
    std::istringstream text(IsHeadphonesBox(boxText) ? DemoHeadphonesScoreText() : DemoScoreText());
    score = Score::Parse(text, "demo score");
  }

  std::vector<std::unique_ptr<InputFile>> files;
  for (auto const& path : options.inputs) {
    files.push_back(std::make_unique<InputFile>(path, options.blockSize));
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

  OutputFile output(options.output, object->NumOutlets(), samplerate, options.bits,
                    options.blockSize);

  auto strictStop = [&]() { return options.strict && console.ObjectErrors() > 0; };
  for (auto const& message : options.messages) {
    if (strictStop()) {
      break;
    }
    object->SendMessage(message);
  }

  std::vector<TimedMessage> const timed = TimeScore(score, samplerate);
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

  RenderReport report;
  if (!strictStop()) {
    report = Render(*object, sources, output, timed, settings, hooks);
  }
  console.SetOrigin("");
  if (reportOut != nullptr) {
    *reportOut = report;
  }
  if (bar && !report.stopped) {
    bar->Finish();
  }
  if (strictStop()) {
    throw RenderError(
        ExitObjectError,
        "the object reported an error and --strict is given: nothing written to " + options.output);
  }
  if (report.stopped) {
    console.Renderer(ConsoleSeverity::Error, "interrupted: nothing written to " + options.output);
    return ExitInterrupted;
  }
  if (report.messagesAfterEnd > 0) {
    console.Renderer(ConsoleSeverity::Warning,
                     score.Name() + ": " + std::to_string(report.messagesAfterEnd) +
                         " message(s) fall at or after the end (" +
                         seconds(static_cast<double>(numFrames) / samplerate) +
                         ") and were not sent");
  }
  output.Commit();

  if (!options.quiet) {
    double const rendered = static_cast<double>(numFrames) / samplerate;
    std::ostringstream summary;
    summary << "wrote " << options.output << ": " << object->NumOutlets() << " channel(s), "
            << seconds(rendered) << " at " << hertz(samplerate) << ", " << output.Description();
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
  try {
    return run(options, factory, console, err, interrupted, report);
  } catch (RenderError const& error) {
    console.SetOrigin("");
    console.Renderer(ConsoleSeverity::Error, error.what());
    return error.Code();
  } catch (std::exception const& error) {
    console.SetOrigin("");
    console.Renderer(ConsoleSeverity::Error, error.what());
    return 1;
  }
}

}  // namespace zorvrender
