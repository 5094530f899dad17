// Random messages while the object runs: whatever the selector, the atoms'
// kinds and counts, no message may crash the object or put a sample on an
// output that is not finite or that exceeds what the method can give.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
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
//
// Two methods go above 1 by their own law, by a factor that depends on the
// layout, which the caller applies with layoutBound:
// - "vbip" turns each raw gain g into sqrt(g / S), S the sum of the squares,
//   so no gain exceeds 1 / sqrt(G), G the largest raw gain. The raw gains
//   rebuild the source's position from the speakers' (at most L from the
//   centre), and the position is held at MinRadius (0.2 m) or farther: G is
//   at least 0.2 / (3 L), and no gain exceeds sqrt(15 L).
// - "dbap" multiplies the constant-power gains of a source outside the hull
//   by (|B - C| + 1) / (|B - P| + 1), C the hull vertex nearest to it, B the
//   barycenter, with no clamp; that factor is at most 1 plus the largest
//   distance from B to a hull vertex.
// - "nfchoa2d" and "nfchoa3d" filter each degree: a close source gains up to
//   NFCHOAFilterModeling::MaxLowFrequencyGain (1e6) at low frequencies, times
//   an encoding gain below 2 at these orders, times at most 2 for the part of
//   the impulse response that overshoots its DC gain. Having memory, their
//   bound is taken on the largest input seen so far, not on the sample's own.
bool hasMemory(std::string const& type) {
  return type == "nfchoa2d" || type == "nfchoa3d";
}

float largestGain(std::string const& type) {
  if (hasMemory(type)) return 4e6f;
  // "diffuse" stands for the diffuse mix of any type: its entries are
  // +-0.5 * N / sqrt(S) with S at least N * N / 4 for three inputs.
  for (char const* unit :
       {"vbap2d", "vbap", "vbip", "dbap", "dbap3d", "vdbap", "panr", "diffuse"}) {
    if (type == unit) return 1.f;
  }
  // The near-field renderer raises a source up to 10.4 times (2.08 m over the
  // minimum radius) before the filters.
  if (type == "nearfield") return 1040.f;
  return 100.f;
}

// The widening of largestGain by the current layout, from the object's
// "speakerspositions" (x y z per speaker); 1 for the methods whose bound does
// not depend on it.
double layoutBound(std::string const& type, PanObject& object) {
  if (type != "dbap" && type != "vbip") return 1.0;
  std::vector<double> v;
  for (std::string const& t : object.GetAttribute("speakerspositions")) v.push_back(std::stod(t));
  std::size_t const count = v.size() / 3;
  if (count == 0) return 1.0;
  if (type == "vbip") {
    double farthest = 0.0;
    for (std::size_t k = 0; k < count; ++k) {
      farthest = std::max(farthest, std::hypot(v[3 * k], v[3 * k + 1], v[3 * k + 2]));
    }
    return std::sqrt(15.0 * farthest);
  }
  // For "dbap": 1 plus the largest distance from the barycenter to a speaker
  // brought into the plane (the hull vertices have z = 0).
  double b[3] = {0.0, 0.0, 0.0};
  for (std::size_t k = 0; k < count; ++k) {
    for (int a = 0; a < 3; ++a) b[a] += v[3 * k + a] / static_cast<double>(count);
  }
  double largest = 0.0;
  for (std::size_t k = 0; k < count; ++k) {
    largest = std::max(largest, std::hypot(v[3 * k] - b[0], v[3 * k + 1] - b[1], b[2]));
  }
  return 1.0 + largest;
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

// Feeds 100 000 random messages to one object of each box that can be
// built, four messages a block; every 16th message is the next of `chosen`,
// in turn. A box is a type name, optionally followed by more of the box's
// text ("panr @numoutputs 5", "vbap @subtype diffuse"); without an output
// count the first count the method serves is taken. With `memoryBlocks` the
// bound of a sample takes the largest input of that many blocks before it
// too, for renderers whose delays let the output follow the input by up to
// that long. Returns how many boxes ran.
int feedRandomMessages(std::vector<std::string> const& boxes,
                       std::vector<std::string> const& chosen = {}, int memoryBlocks = 0) {
  // Some panners echo settings on the error stream; a hundred thousand
  // messages would drown the test's own output.
  std::streambuf* const errorStream = std::cerr.rdbuf(nullptr);
  int tested = 0;
  for (std::string const& box : boxes) {
    std::string const type = box.substr(0, box.find(' '));
    std::string const rest = box.size() > type.size() ? box.substr(type.size()) : std::string();
    std::string const law = rest.find("diffuse") != std::string::npos     ? "diffuse"
                            : rest.find("nearfield") != std::string::npos ? "nearfield"
                                                                          : type;
    unsigned int const numInputs = 3;
    long lines = 0;
    // The first output count the method serves: an array, a pair, a
    // first-order or a second-order set of components.
    std::unique_ptr<PanObject> object;
    bool const counted = rest.find("@numoutputs") != std::string::npos;
    for (char const* outputs : {"8", "2", "4", "9", "3"}) {
      std::string const count = counted ? "" : std::string(" @numoutputs ") + outputs;
      object = PanObject::Create("zorv.pan~ @numinputs 3" + count + " @type " + type + rest,
                                 [&lines](zorvhost::Severity, std::string const&) { ++lines; });
      if (object != nullptr || counted) break;
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
    float const gain = largestGain(law);
    int const numMessages = 100000;
    std::vector<std::string> recent;
    std::vector<float> history;
    double widening = 1.0;
    for (int m = 0; m < numMessages; ++m) {
      std::string const message =
          !chosen.empty() && m % 16 == 15 ? chosen[(m / 16) % chosen.size()] : randomMessage(rng);
      object->SendMessage(message);
      recent.push_back(message);
      if (recent.size() > 40) recent.erase(recent.begin());
      // Ramps of any length start from the gains of earlier layouts, so the
      // widening is the largest of every layout so far.
      widening = std::max(widening, layoutBound(law, *object));
      if (m % 4 != 3) continue;
      float bound = 0.f;
      std::vector<float> peak(n, 0.f);
      for (unsigned int i = 0; i < numInputs; ++i) {
        for (unsigned int k = 0; k < n; ++k) {
          in[i][k] = signal(rng);
          peak[k] += std::fabs(in[i][k]);
        }
      }
      if (memoryBlocks > 0) {
        float loudest = 0.f;
        for (float v : peak) loudest = std::max(loudest, v);
        history.push_back(loudest);
        if (static_cast<int>(history.size()) > memoryBlocks) history.erase(history.begin());
        for (float v : history) loudest = std::max(loudest, v);
        for (float& v : peak) v = loudest;
      }
      if (hasMemory(type)) std::fill(peak.begin(), peak.end(), static_cast<float>(numInputs));
      object->ProcessBlock(inPointers.data(), outPointers.data());
      for (unsigned int j = 0; j < numOutputs; ++j) {
        for (unsigned int k = 0; k < n; ++k) {
          bound = static_cast<float>(peak[k] * gain * widening * 1.0001 + 1e-6);
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
                          << box << ": output " << j << " sample " << k << " is " << v << " (bound "
                          << bound << ") after message " << m << ": " << message;
            return tested;
          }
        }
      }
    }
    EXPECT_GT(lines, 0) << box;
  }
  std::cerr.rdbuf(errorStream);
  return tested;
}

class PanMessagesProperty : public ::testing::TestWithParam<char const*> {};

std::string boxName(::testing::TestParamInfo<char const*> const& info) {
  std::string name;
  for (char const* c = info.param; *c != '\0'; ++c) {
    if (std::isalnum(static_cast<unsigned char>(*c))) name += *c;
  }
  return name;
}

TEST_P(PanMessagesProperty, RandomMessagesWhileRunningKeepOutputsFiniteAndBounded) {
  if (feedRandomMessages({GetParam()}) == 0) GTEST_SKIP() << GetParam() << " is not built yet";
}

// Every type that no message may break, "panr" at each of its counts, and
// the diffuse mix under several type names.
INSTANTIATE_TEST_SUITE_P(
    Types, PanMessagesProperty,
    ::testing::Values("vbap2d", "vbap", "vbip", "dbap", "dbap3d", "vdbap", "binaural",
                      "binaural @subtype nearfield", "xy", "ms", "ab", "surround",
                      "panr @numoutputs 4", "panr @numoutputs 5", "panr @numoutputs 6",
                      "panr @numoutputs 7", "panr @numoutputs 8", "panr @numoutputs 12", "angular",
                      "bformat", "hoa2d", "hoa3d", "nfchoa2d", "nfchoa3d", "subwoofers",
                      "vbap @subtype diffuse", "hoa3d @subtype diffuse @numoutputs 5",
                      "panr @subtype diffuse", "nfchoa3d @subtype diffuse @numoutputs 3",
                      "binaural @subtype continuous", "binaural @subtype sh"),
    boxName);

// The head models: sources at the centre of the head, at an ear, inside the
// torso and far beyond any float's square, between every listener setting at
// its limits. A head of the largest radius delays by up to 76 ms, and a delay
// that glides fast over such lengths overshoots the input several times: the
// bound holds against the input of the last 0.4 s.
TEST(PanMessagesProperty, HeadModelsKeepOutputsFiniteAndBoundedAtEveryLimit) {
  std::vector<std::string> const chosen = {"source 1 xyz 0 0 0",
                                           "headradius 0",
                                           "source 2 xyz 0.0875 0 0",
                                           "torsoradius 0",
                                           "source 3 xyz 0 0 -0.3",
                                           "neckheight 0",
                                           "source 1 xyz 1e30 -1e30 1",
                                           "torsoradius 1e30",
                                           "source 2 xyz -0.01 0 0",
                                           "headradius 1e30",
                                           "torsoreflection 1",
                                           "source 3 xyz 0 0 0",
                                           "neckheight 1e30",
                                           "torsoreflection 0",
                                           "headradius -5",
                                           "torsoradius 0.3095",
                                           "itdtype NoITD",
                                           "source 1 xyz 0 0 -1e38",
                                           "itdtype measurement",
                                           "torsoreflection -1",
                                           "itdtype miller",
                                           "headradius 0.0875",
                                           "source 2 aed 90 -60 0.5"};
  EXPECT_EQ(feedRandomMessages(
                {"binaural @subtype sphericalheadmodel", "binaural @subtype snowman"}, chosen, 300),
            2);
}

}  // namespace
