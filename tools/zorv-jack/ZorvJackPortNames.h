#pragma once

#include <string>
#include <vector>

namespace zorvjack {

// The names of the host's JACK ports, after the role of each inlet and outlet:
// "in_1"... for the sources; "out_1"... for speakers; "left" and "right" for a
// binaural pair; "w" "x" "y" ["z"] for B-format; and for higher-order
// ambisonics the component's number in ambisonic channel order, "acn_0"...,
// whatever the sorting of the outlets (the 2-D sets keep the numbers of the
// 3-D set they belong to).
struct PortNames {
  std::vector<std::string> inputs;
  std::vector<std::string> outputs;
};

// type is the box's "type" attribute as given (aliases included), sorting its
// "hoasorting" attribute (empty when it has none). A channel count that does
// not fit the method's layout falls back to "out_N".
PortNames MakePortNames(std::string const& type, unsigned int numInlets, unsigned int numOutlets,
                        std::string const& sorting);

}  // namespace zorvjack
