// zorv-hrtf: makes .hrtf files from SOFA files and tells what a set holds.
//
//   zorv-hrtf info FILE [--points]         a .hrtf, .coll or .sofa file, or "kemar"
//   zorv-hrtf convert IN.sofa OUT.hrtf [--rate HZ]

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>
#include <string>

#include "NolarException.h"
#include "ZorvHrtf.h"
#include "ZorvHrtfSdifFileWriter.h"
#include "ZorvHrtfSummary.h"

int main(int argc, char** argv) {
  CLI::App app{"HRTF sets: make .hrtf files from SOFA files, and summarise any set"};
  app.require_subcommand(1);

  std::string infoPath;
  bool listPoints = false;
  unsigned int infoRate = 0;
  CLI::App* info = app.add_subcommand("info", "summary of a .hrtf, .coll or .sofa file");
  info->add_option("file", infoPath, "the set (\"kemar\": the built-in one)")->required();
  info->add_flag("--points", listPoints, "list every point");
  info->add_option("--rate", infoRate, "load at this rate (SOFA and the built-in set)");

  std::string in, out;
  unsigned int rate = 0;
  CLI::App* convert = app.add_subcommand("convert", "write a .hrtf file from a SOFA file");
  convert->add_option("sofa", in, "SimpleFreeFieldHRIR SOFA file")->required();
  convert->add_option("hrtf", out, "the .hrtf file to write")->required();
  convert->add_option("--rate", rate, "resample to this rate (default: the file's own)");

  CLI11_PARSE(app, argc, argv);
  try {
    if (*info) {
      Zorv::Hrtf const set(infoPath.c_str(), infoRate);
      zorvhrtf::PrintSummary(std::cout, infoPath.c_str(), set, listPoints);
      return 0;
    }
    if (!Zorv::Hrtf::IsHrtfFilePath(in.c_str()) || in.size() < 5 ||
        in.compare(in.size() - 5, 5, ".sofa") != 0) {
      std::cerr << "zorv-hrtf: " << in << " is not a .sofa file" << std::endl;
      return 2;
    }
    Zorv::Hrtf set("");
    set.LoadFromSofa(in.c_str(), rate);
    Zorv::HrtfSdifFileWriter::Write(set, out, "zorv-hrtf");
    // Read back what was written: a file that does not load is not left behind.
    try {
      Zorv::Hrtf const check(out.c_str());
    } catch (...) {
      std::remove(out.c_str());
      throw;
    }
    zorvhrtf::PrintSummary(std::cout, out.c_str(), set, false);
    return 0;
  } catch (nolardsp::Exception const& e) {
    std::cerr << "zorv-hrtf: " << e.GetMessage() << std::endl;
  } catch (std::exception const& e) {
    std::cerr << "zorv-hrtf: " << e.what() << std::endl;
  }
  return 1;
}
