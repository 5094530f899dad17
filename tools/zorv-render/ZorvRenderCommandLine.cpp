#include "ZorvRenderCommandLine.h"

#include <CLI/CLI.hpp>

#include "ZorvRenderError.h"

namespace zorvrender {

int ParseCommandLine(int argc, char const* const* argv, RenderOptions& options, std::ostream& out,
                     std::ostream& err) {
  CLI::App app{
      "Renders audio files through one zorv.pan~ object, as a host would: block by block, "
      "with messages between blocks, the object's console on standard error.",
      "zorv-render"};
  app.footer(
      "Exit codes: 0 done, 2 command line, 3 the box makes no object, 4 an input, 5 the score,\n"
      "6 the output, 7 an object error with --strict, 130 interrupted (INT, TERM, HUP, QUIT,\n"
      "PIPE). On any failure nothing is written under the output's name: an older file there\n"
      "stays as it was, and no partial file is left.\n\n"
      "Example:\n"
      "  zorv-render -i voice.wav -s moves.txt -o out.wav \"@numinputs 1 @numoutputs 8 @type "
      "vbap2d\"");

  std::vector<std::string> boxWords;
  app.add_option("box", boxWords,
                 "BOX TEXT: the attributes of the box, e.g. \"@numinputs 2 @numoutputs 8 @type "
                 "vbap2d\"; a leading \"zorv.pan~\" is allowed")
      ->required();
  app.add_option("-i,--input", options.inputs,
                 "An audio file; its channels feed the next free inlets, in order (repeatable)")
      ->type_name("FILE")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  app.add_option("-o,--output", options.output,
                 "The file to write, one channel per outlet; format from the extension: .wav "
                 ".aif/.aiff .flac .w64 .caf .rf64 (WAV turns into RF64 above 4 GB)")
      ->type_name("FILE")
      ->required();
  app.add_option("-m,--message", options.messages,
                 "A message sent before the first block (repeatable, kept in order)")
      ->type_name("TEXT")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  app.add_option("-s,--score", options.score,
                 "Timed messages, one per line: \"SECONDS MESSAGE...\"; '#' starts a comment; "
                 "times never decrease. A glide, \"START..END MESSAGE... FROM -> TO\", sends the "
                 "message with numbers moving linearly from FROM to TO between the two times, "
                 "once per block (per sample with --exact), e.g. "
                 "\"1..3 source 1 aed 0 0 1 -> 90 0 1\". The score is read as the render goes: "
                 "it may be a pipe (-s /dev/stdin)")
      ->type_name("FILE");
  app.add_option("-r,--samplerate", options.samplerate,
                 "Default: the inputs' rate (they must agree), else 48000")
      ->type_name("HZ")
      ->check(CLI::Range(1., 1.0e7));
  app.add_option("-b,--blocksize", options.blockSize, "From 1 to 4096")
      ->type_name("N")
      ->check(CLI::Range(1u, 4096u))
      ->capture_default_str();
  app.add_option("-d,--duration", options.duration, "Default: the longest input plus --tail")
      ->type_name("SECONDS")
      ->check(CLI::Range(0., 1.0e9));
  app.add_option("--tail", options.tail, "Silence rendered after the longest input")
      ->type_name("SECONDS")
      ->check(CLI::Range(0., 1.0e9))
      ->capture_default_str();
  app.add_option("--bits", options.bits,
                 "16 or 24 for integer samples (default 32-bit float; "
                 "FLAC, which has no float, 24)")
      ->check(CLI::IsMember({16, 24}));
  auto* demo = app.add_flag("--demo", options.demo,
                            "Use the built-in demonstration source (and its score, unless "
                            "--score is given) instead of input files");
  demo->excludes("--input");
  app.add_flag("--exact", options.exact,
               "Send each timed message at its exact sample, splitting the block there");
  app.add_flag("--strict", options.strict,
               "An error on the object's console ends the render with nothing written");
  bool noPreroll = false;
  app.add_flag("--no-preroll", noPreroll,
               "Write the object's start as it is: its gains fade in from silence over two "
               "interpolation periods (by default the messages of time 0 are sent and the "
               "object settles on silence before the first written sample)");
  app.add_flag("-q,--quiet", options.quiet, "No progress bar and no summary");
  app.add_flag("-v,--verbose", options.verbose,
               "Also show what the panners trace to the C++ error stream");

  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    int const code = app.exit(error, out, err);
    return code == 0 ? ExitSuccess : ExitUsage;
  }
  options.preroll = !noPreroll;
  options.boxText.clear();
  for (auto const& word : boxWords) {
    if (!options.boxText.empty()) {
      options.boxText += ' ';
    }
    options.boxText += word;
  }
  return -1;
}

}  // namespace zorvrender
