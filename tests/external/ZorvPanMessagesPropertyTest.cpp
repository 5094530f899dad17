// Random messages while the object runs: whatever the selector, the atoms'
// kinds and counts, no message may crash the object or put a sample on an
// output that is not finite or that exceeds what the method can give.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "ZorvHost.h"
#include "ZorvPan.h"

namespace {

using zorvhost::PanObject;

// The largest gain of one input on one output, per method. The gain-matrix
// methods keep each source's gains at constant power or constant sum, so no
// gain exceeds 1; a method without a stated bound gets a loose one until its
// own tests state it.
float largestGain(std::string const& type) {
  for (char const* unit : {"vbap2d", "vbap", "vbip", "dbap", "dbap3d", "vdbap"}) {
    if (type == unit) return 1.f;
  }
  return 100.f;
}

char const* const selectors[] = {"source",
                                 "loudspeakers",
                                 "speakers",
                                 "loudspeaker",
                                 "speaker",
                                 "listener",
                                 "corners",
                                 "info",
                                 "clear",
                                 "implementation",
                                 "crossfadetype",
                                 "load",
                                 "read",
                                 "loadnf",
                                 "loadNF",
                                 "interpolationtime",
                                 "spread",
                                 "spreadxyz",
                                 "spreadmode",
                                 "muteoutside",
                                 "mute",
                                 "bypass",
                                 "numinputs",
                                 "type",
                                 "sourcespositions",
                                 "speakerspositions",
                                 "postdspstatus",
                                 "listenerposition",
                                 "encoding",
                                 "cutoff",
                                 "nonsense",
                                 "source",
                                 "source",
                                 "source",
                                 "speakers"};

char const* const words[] = {
    "xyz", "xy",   "x++",    "y++",  "z++",    "ade",       "aed",    "ae",    "ad",
    "az",  "azim", "azim++", "elev", "elev++", "dist",      "dist++", "zorv3", "wfs",
    "x",   "y",    "z",      "mute", "spread", "spreadxyz", "yaw",    "omni",  "directional",
    "foo", "nan",  "inf",    "-inf", "kemar",  "none"};

std::string randomAtom(std::mt19937& rng) {
  std::uniform_int_distribution<int> kind(0, 9);
  char text[64];
  switch (kind(rng)) {
    case 0:
    case 1:
      std::snprintf(text, sizeof text, "%d", std::uniform_int_distribution<int>(-3, 10)(rng));
      return text;
    case 2:
      std::snprintf(text, sizeof text, "%ld",
                    std::uniform_int_distribution<long>(-5000000000L, 5000000000L)(rng));
      return text;
    case 3:
    case 4:
      std::snprintf(text, sizeof text, "%.3f",
                    std::uniform_real_distribution<double>(-400., 400.)(rng));
      return text;
    case 5: {
      // Very large, very small and float-overflowing magnitudes.
      int const exponent = std::uniform_int_distribution<int>(-45, 45)(rng);
      std::snprintf(text, sizeof text, "%s1.5e%d", rng() % 2 ? "-" : "", exponent);
      return text;
    }
    case 6:
      return "0.";
    default:
      return words[std::uniform_int_distribution<std::size_t>(0, std::size(words) - 1)(rng)];
  }
}

std::string randomMessage(std::mt19937& rng) {
  std::string message =
      selectors[std::uniform_int_distribution<std::size_t>(0, std::size(selectors) - 1)(rng)];
  int const count = std::uniform_int_distribution<int>(0, 14)(rng);
  // Often a valid head: an index and a keyword.
  bool const head = rng() % 2 == 0;
  for (int k = 0; k < count; ++k) {
    message += ' ';
    if (head && k == 0) {
      message += std::to_string(std::uniform_int_distribution<int>(0, 4)(rng));
    } else if (head && k == 1) {
      message += words[std::uniform_int_distribution<std::size_t>(0, 20)(rng)];
    } else {
      message += randomAtom(rng);
    }
  }
  return message;
}

// Feeds 100 000 random messages to one object of each type that can be
// built, four messages a block. Returns how many types ran.
int feedRandomMessages(std::vector<std::string> const& types) {
  // Some panners echo settings on the error stream; a hundred thousand
  // messages would drown the test's own output.
  std::streambuf* const errorStream = std::cerr.rdbuf(nullptr);
  int tested = 0;
  for (std::string const& type : types) {
    unsigned int const numInputs = 3;
    long lines = 0;
    // The first output count the method serves: an array, a pair, a
    // first-order or a second-order set of components.
    std::unique_ptr<PanObject> object;
    for (char const* outputs : {"8", "2", "4", "9", "3"}) {
      object = PanObject::Create(
          "zorv.pan~ @numinputs 3 @numoutputs " + std::string(outputs) + " @type " + type,
          [&lines](zorvhost::Severity, std::string const&) { ++lines; });
      if (object != nullptr) break;
    }
    if (object == nullptr) continue;  // a method not built yet
    unsigned int const numOutputs = object->NumOutlets();
    ++tested;
    unsigned int const n = 64;
    object->StartDsp(48000., n);
    std::vector<std::vector<float>> in(numInputs, std::vector<float>(n));
    std::vector<std::vector<float>> out(numOutputs, std::vector<float>(n));
    std::vector<float const*> inPointers;
    std::vector<float*> outPointers;
    for (auto& v : in) inPointers.push_back(v.data());
    for (auto& v : out) outPointers.push_back(v.data());

    std::mt19937 rng(20261123u);
    std::uniform_real_distribution<float> signal(-1.f, 1.f);
    float const gain = largestGain(type);
    int const numMessages = 100000;
    std::vector<std::string> recent;
    for (int m = 0; m < numMessages; ++m) {
      std::string const message = randomMessage(rng);
      object->SendMessage(message);
      recent.push_back(message);
      if (recent.size() > 40) recent.erase(recent.begin());
      if (m % 4 != 3) continue;
      float bound = 0.f;
      std::vector<float> peak(n, 0.f);
      for (unsigned int i = 0; i < numInputs; ++i) {
        for (unsigned int k = 0; k < n; ++k) {
          in[i][k] = signal(rng);
          peak[k] += std::fabs(in[i][k]);
        }
      }
      object->ProcessBlock(inPointers.data(), outPointers.data());
      for (unsigned int j = 0; j < numOutputs; ++j) {
        for (unsigned int k = 0; k < n; ++k) {
          bound = peak[k] * gain * 1.0001f + 1e-6f;
          float const v = out[j][k];
          if (!std::isfinite(v) || std::fabs(v) > bound) {
            std::cerr.rdbuf(errorStream);
            std::string state;
            for (char const* a : {"speakerspositions", "sourcespositions", "spread", "bypass",
                                  "mute", "interpolationtime"}) {
              state += std::string("\n") + a + ":";
              for (std::string const& t : object->GetAttribute(a)) state += " " + t;
            }
            for (unsigned int i = 0; i < numInputs; ++i)
              state += "\nin " + std::to_string(in[i][k]);
            for (auto const& r : recent) state += "\n> " + r;
            ADD_FAILURE() << state << "\n"
                          << type << ": output " << j << " sample " << k << " is " << v
                          << " (bound " << bound << ") after message " << m << ": " << message;
            return tested;
          }
        }
      }
    }
    EXPECT_GT(lines, 0) << type;
  }
  std::cerr.rdbuf(errorStream);
  return tested;
}

class PanMessagesProperty : public ::testing::TestWithParam<char const*> {};

std::string typeName(::testing::TestParamInfo<char const*> const& info) {
  return info.param;
}

TEST_P(PanMessagesProperty, RandomMessagesWhileRunningKeepOutputsFiniteAndBounded) {
  if (feedRandomMessages({GetParam()}) == 0) GTEST_SKIP() << GetParam() << " is not built yet";
}

// Every type that no message may break.
INSTANTIATE_TEST_SUITE_P(Types, PanMessagesProperty,
                         ::testing::Values("dbap3d", "vdbap", "binaural", "xy", "ms", "ab",
                                           "surround", "panr", "angular", "bformat", "hoa2d",
                                           "hoa3d", "nfchoa2d", "nfchoa3d", "subwoofers"),
                         typeName);

// These fail today, on layouts and positions that the messages allow
// (speakers at the listener's position, on one another, or near 1e34 m):
// vbap2d puts gains above 1 (6.7 seen) and, with spread, NaN on an output;
// vbap puts NaN after about 1 900 messages, vbip 2104 after about 300, dbap
// NaN after a speaker near 1e34 m (its squared distances overflow). Run them
// with --gtest_also_run_disabled_tests; move each up once its panner
// handles such layouts.
INSTANTIATE_TEST_SUITE_P(DISABLED_KnownFaults, PanMessagesProperty,
                         ::testing::Values("vbap2d", "vbap", "vbip", "dbap"), typeName);

}  // namespace
