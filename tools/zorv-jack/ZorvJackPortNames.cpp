#include "ZorvJackPortNames.h"

#include <algorithm>
#include <cctype>

namespace zorvjack {
namespace {

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::vector<std::string> numbered(char const* prefix, unsigned int count, unsigned int first) {
  std::vector<std::string> names;
  for (unsigned int k = 0; k < count; ++k) names.push_back(prefix + std::to_string(first + k));
  return names;
}

// The degree m of the k-th component of degree l (k from 0 to 2l) when each
// degree lists (l, l), (l, -l), (l, l - 1), ..., (l, 0).
int alternateDegree(unsigned int l, unsigned int k) {
  if (k >= 2 * l) return 0;
  int const magnitude = static_cast<int>(l - k / 2);
  return k % 2 == 0 ? magnitude : -magnitude;
}

std::string acn(unsigned int l, int m) {
  return "acn_" + std::to_string(static_cast<int>(l * l + l) + m);
}

bool hoa3d(std::vector<std::string>& names, unsigned int count, bool alternate) {
  unsigned int order = 0;
  while ((order + 1) * (order + 1) < count) ++order;
  if ((order + 1) * (order + 1) != count) return false;
  for (unsigned int l = 0; l <= order; ++l) {
    for (unsigned int k = 0; k <= 2 * l; ++k) {
      int const m = alternate ? alternateDegree(l, k) : static_cast<int>(k) - static_cast<int>(l);
      names.push_back(acn(l, m));
    }
  }
  return true;
}

bool hoa2d(std::vector<std::string>& names, unsigned int count, bool alternate) {
  if (count % 2 == 0) return false;
  unsigned int const order = (count - 1) / 2;
  names.push_back(acn(0, 0));
  int const first = alternate ? 1 : -1;
  for (unsigned int l = 1; l <= order; ++l) {
    names.push_back(acn(l, first * static_cast<int>(l)));
    names.push_back(acn(l, -first * static_cast<int>(l)));
  }
  return true;
}

}  // namespace

PortNames MakePortNames(std::string const& type, unsigned int numInlets, unsigned int numOutlets,
                        std::string const& sorting) {
  PortNames names;
  names.inputs = numbered("in_", numInlets, 1);
  std::string const t = lower(type);
  bool const alternate = sorting == "AlternateDegrees";
  bool done = false;
  if (t == "binaural" && numOutlets == 2) {
    names.outputs = {"left", "right"};
    done = true;
  } else if (t == "bformat" && (numOutlets == 3 || numOutlets == 4)) {
    names.outputs = {"w", "x", "y"};
    if (numOutlets == 4) names.outputs.push_back("z");
    done = true;
  } else if (t == "hoa3d" || t == "hoa" || t == "ambisonic" || t == "nfchoa3d" || t == "nfchoa") {
    done = hoa3d(names.outputs, numOutlets, alternate);
  } else if (t == "hoa2d" || t == "nfchoa2d") {
    done = hoa2d(names.outputs, numOutlets, alternate);
  }
  if (!done) names.outputs = numbered("out_", numOutlets, 1);
  return names;
}

}  // namespace zorvjack
