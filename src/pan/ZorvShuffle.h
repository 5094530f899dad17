#pragma once

#include <vector>

namespace Zorv {

// The orders in which the reverberation mix deals its four decorrelated
// feeds out to the speakers: for the usual counts a table that keeps
// neighbouring speakers on different feeds, for the others a rotation by one.
namespace Shuffle {

extern unsigned int const permutation4[4];
extern unsigned int const permutation6[6];
extern unsigned int const permutation8[8];
extern unsigned int const permutation12[12];
extern unsigned int const permutation16[16];

// Resizes permutation to numChannels entries: the table of that length for
// 4, 6, 8, 12 and 16 channels, entry i = (i + 1) mod numChannels otherwise.
// Allocates; message thread.
void GetPermutationForChannels(std::vector<unsigned int>& permutation, unsigned int numChannels);

}  // namespace Shuffle

}  // namespace Zorv
