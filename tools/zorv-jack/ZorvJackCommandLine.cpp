#include "ZorvJackCommandLine.h"

#include <CLI/CLI.hpp>

namespace zorvjack {

int ParseCommandLine(int argc, char const* const* argv, JackOptions& options, std::ostream& out,
                     std::ostream& err) {
  CLI::App app{
      "Runs one zorv.pan~ object as a JACK client: one input port per source, one output port "
      "per outlet, messages from standard input (one per line, as typed in a message box), "
      "OSC and a score; the object's console on standard error.",
      "zorv-jack"};
  app.footer(
      "OSC (UDP): /zorv/message ,s TEXT; /zorv/source/N/aed fff; /zorv/source/N/xyz fff;\n"
      "/zorv/speaker/N/aed fff; /zorv/speaker/N/xyz fff; /zorv/listener/yaw f;\n"
      "/zorv/listener/ypr fff (yaw only); /zorv/mute/N i.\n"
      "Signals: SIGINT or SIGTERM stop it (exit 0); SIGUSR1 reports the xruns so far.\n"
      "Exit codes: 0 done, 2 command line, 3 the box makes no object, 5 the score, 8 no JACK\n"
      "server, 9 the server went away, 10 the server refused the client, 11 the OSC port.\n"
      "The server is JACK_DEFAULT_SERVER's, else the default one.\n\n"
      "Example:\n"
      "  zorv-jack -o system:playback_ \"@numinputs 1 @numoutputs 8 @type vbap2d\"");

  std::vector<std::string> boxWords;
  app.add_option("box", boxWords,
                 "BOX TEXT: the attributes of the box, e.g. \"@numinputs 2 @numoutputs 8 @type "
                 "vbap2d\"; a leading \"zorv.pan~\" is allowed")
      ->required();
  app.add_option("-n,--name", options.name, "The JACK client name")
      ->type_name("NAME")
      ->capture_default_str();
  app.add_option("-i,--connect-in", options.connectIn,
                 "Connect our inputs from these ports, in order: a comma-separated list of "
                 "port names or regular expressions (e.g. system:capture_)")
      ->type_name("PORTS");
  app.add_option("-o,--connect-out", options.connectOut,
                 "Connect our outputs to these ports, in order (e.g. system:playback_)")
      ->type_name("PORTS");
  app.add_option("-m,--message", options.messages,
                 "A message sent before processing starts (repeatable, kept in order)")
      ->type_name("TEXT")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  app.add_option("-s,--score", options.score,
                 "Timed messages, one per line, \"SECONDS MESSAGE...\" as for zorv-render, "
                 "played in real time from the start")
      ->type_name("FILE");
  app.add_option("-p,--osc-port", options.oscPort, "Listen for OSC on this UDP port; 0 for none")
      ->type_name("N")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  app.add_flag("-q,--quiet", options.quiet, "No start and end lines (errors are still shown)");
  app.add_flag("-v,--verbose", options.verbose,
               "Also show what the panners trace on the C++ error stream");

  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    int const code = app.exit(error, out, err);
    return code == 0 ? JackExitSuccess : JackExitUsage;
  }
  options.boxText.clear();
  for (auto const& word : boxWords) {
    if (!options.boxText.empty()) options.boxText += ' ';
    options.boxText += word;
  }
  return -1;
}

}  // namespace zorvjack
