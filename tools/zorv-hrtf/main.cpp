// zorv-hrtf: makes .hrtf files from SOFA files and tells what a set holds.
//
//   zorv-hrtf info FILE [--points]         a .hrtf, .coll, .sofa or .near file, or "kemar"
//   zorv-hrtf convert IN.sofa OUT.hrtf [--rate HZ]
//   zorv-hrtf sh IN OUT.shb [--order N] [--lambda L] [--holdout K] [--rate HZ]
//   zorv-hrtf nearfield OUT.near           the built-in compensation set, as a file

#include <CLI/CLI.hpp>

#include <cctype>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>

#include "NolarException.h"
#include "ZorvHrtf.h"
#include "ZorvHrtfSdifFileWriter.h"
#include "ZorvHrtfSummary.h"
#include "ZorvNearfieldCompensationFilters.h"
#include "ZorvSphericalHarmonicFit.h"
#include "ZorvSphericalHarmonicManager.h"

int main(int argc, char** argv) {
  CLI::App app{"HRTF sets: make .hrtf files from SOFA files, and summarise any set"};
  app.require_subcommand(1);

  std::string infoPath;
  bool listPoints = false;
  unsigned int infoRate = 0;
  CLI::App* info = app.add_subcommand("info", "summary of a .hrtf, .coll, .sofa or .near file");
  info->add_option("file", infoPath, "the set (\"kemar\": the built-in one)")->required();
  info->add_flag("--points", listPoints, "list every point");
  info->add_option("--rate", infoRate, "load at this rate (SOFA and the built-in set)");

  std::string in, out;
  unsigned int rate = 0;
  CLI::App* convert = app.add_subcommand("convert", "write a .hrtf file from a SOFA file");
  convert->add_option("sofa", in, "SimpleFreeFieldHRIR SOFA file")->required();
  convert->add_option("hrtf", out, "the .hrtf file to write")->required();
  convert->add_option("--rate", rate, "resample to this rate (default: the file's own)");

  std::string shIn, shOut;
  unsigned int shOrder = 10, shHoldOut = 10, shRate = 0;
  double shLambda = 1e-3;
  CLI::App* sh = app.add_subcommand(
      "sh",
      "write a .shb file: the spectra of an FIR set (SOFA first) fitted on spherical harmonics");
  sh->add_option("set", shIn, "a .sofa file, or a .hrtf file of FIR filters")->required();
  sh->add_option("shb", shOut, "the .shb file to write")->required();
  sh->add_option("--order", shOrder, "highest harmonic order (default 10)");
  sh->add_option("--lambda", shLambda, "regularisation, relative (default 0.001)");
  sh->add_option("--holdout", shHoldOut,
                 "every K-th direction is left out of the fit and judged after (0: none)");
  sh->add_option("--rate", shRate, "resample a SOFA set to this rate (default: its own)");

  std::string nearOut;
  CLI::App* nearfield = app.add_subcommand(
      "nearfield",
      "write the built-in near-field compensation set (\"loadnf kemar\") as a .near file");
  nearfield->add_option("near", nearOut, "the .near file to write")->required();

  CLI11_PARSE(app, argc, argv);
  try {
    if (*info) {
      // A compensation set is read by its own class; a path that names no set
      // at all would otherwise show the built-in HRTF set.
      std::string const lower = [&] {
        std::string l = infoPath;
        for (char& c : l) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return l;
      }();
      if (lower.size() > 5 && lower.compare(lower.size() - 5, 5, ".near") == 0) {
        Zorv::NearfieldCompensationFilters const set(infoPath.c_str());
        zorvhrtf::PrintSummary(std::cout, infoPath.c_str(), set, listPoints);
        return 0;
      }
      if (lower != "kemar" && !Zorv::Hrtf::IsHrtfFilePath(infoPath.c_str())) {
        std::cerr << "zorv-hrtf: " << infoPath
                  << " is not a .hrtf, .coll, .sofa or .near file (nor \"kemar\")" << std::endl;
        return 2;
      }
      Zorv::Hrtf const set(infoPath.c_str(), infoRate);
      zorvhrtf::PrintSummary(std::cout, infoPath.c_str(), set, listPoints);
      return 0;
    }
    if (*sh) {
      Zorv::Hrtf const set(shIn.c_str(), shRate);
      Zorv::SphericalHarmonicFit::Result const r =
          Zorv::SphericalHarmonicFit::Fit(set, shOrder, shLambda, shHoldOut);
      Zorv::SphericalHarmonicManager::Write(r.data, shOut);
      try {
        Zorv::SphericalHarmonicManager const check(shOut.c_str());
      } catch (...) {
        std::remove(shOut.c_str());
        throw;
      }
      std::cout << shOut << ": order " << shOrder << ", " << r.data.info.numFrequencyBins
                << " bins at " << r.data.info.samplingRate << " Hz, from " << r.data.info.numPoints
                << " directions\n"
                << "magnitude error 200 Hz - 16 kHz, at the " << r.fitted.numDirections
                << " fitted directions: mean " << r.fitted.meanDb << " dB, worst " << r.fitted.maxDb
                << " dB\n"
                << "at the " << r.heldOut.numDirections << " directions left out: mean "
                << r.heldOut.meanDb << " dB, worst " << r.heldOut.maxDb << " dB" << std::endl;
      return 0;
    }
    if (*nearfield) {
      Zorv::NearfieldCompensationFilters const set("kemar");
      Zorv::HrtfSdifFileWriter::Write(set, nearOut, "zorv-hrtf");
      // Read back what was written: a file that does not load whole is not
      // left behind.
      try {
        Zorv::NearfieldCompensationFilters const check(nearOut.c_str());
        if (check.GetNumPoints() != set.GetNumPoints()) {
          NOLAR_THROW("the written set does not read back whole");
        }
      } catch (...) {
        std::remove(nearOut.c_str());
        throw;
      }
      std::cout << nearOut << ": " << set.GetNumPoints()
                << " compensation filter pairs (the built-in set)" << std::endl;
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
