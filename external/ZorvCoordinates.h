#pragma once

// The coordinate grammar of messages: a keyword that says how to read the
// numbers after it, and the readers that turn such atoms into a point.
// Angles are the user's (degrees, azimuth 0 in front and growing clockwise,
// elevation positive upward); points are Cartesian metres.
//
// Several keywords change one coordinate and keep the others, so every reader
// takes the point in-out: the caller loads the present position first and
// stores the result only when the reader succeeds.
//
// Threads: message side only. The readers allocate nothing; their console
// lines are the host's.

#include "NolarCartesianVector.h"
#include "ext.h"

enum CoordinatesFormat : int {
  CoordinatesFormatXYZ = 0,
  CoordinatesFormatXY = 1,
  CoordinatesFormatXPlusPlus = 2,
  CoordinatesFormatYPlusPlus = 3,
  CoordinatesFormatZPlusPlus = 4,
  CoordinatesFormatADE = 5,
  CoordinatesFormatAED = 6,
  CoordinatesFormatAE = 7,
  CoordinatesFormatAD = 8,
  CoordinatesFormatAZ = 9,
  CoordinatesFormatAzim = 10,
  CoordinatesFormatAzimPlusPlus = 11,
  CoordinatesFormatElev = 12,
  CoordinatesFormatElevPlusPlus = 13,
  CoordinatesFormatDist = 14,
  CoordinatesFormatDistPlusPlus = 15,
  CoordinatesFormatZorv3 = 16,
  CoordinatesFormatWFS = 17,
  CoordinatesFormatX = 18,
  CoordinatesFormatY = 19,
  CoordinatesFormatZ = 20,
};

// The keyword of a format ("xyz", "azim++", ...), or null outside 0 to 20.
char const* CoordinatesFormatName(CoordinatesFormat format);
// How many numbers one point takes in a format; 0 outside 0 to 20.
unsigned int CoordinatesFormatStride(CoordinatesFormat format);
// Looks a keyword up by symbol; false when it is no keyword.
bool CoordinatesFormatLookUp(t_symbol const* keyword, CoordinatesFormat& format,
                             unsigned int& stride);

// Reads one point of the format from the leading atoms (longs and floats
// alike) into position. False, with position unchanged, when the format is
// unknown, an atom is missing or is not a number, or a number or the result
// is not finite. Reports nothing.
bool atoms2coordinates(nolardsp::CartesianVector& position, CoordinatesFormat const& format,
                       int count, t_atom const* atoms);

// Writes the point as floats in the format, three atoms at most: count (the
// room in atoms) must be at least 3. True for the formats 0, 1, 5 to 9, 16
// and 17; false for the others and for less room.
bool coordinates2atoms(nolardsp::CartesianVector const& position, CoordinatesFormat const& format,
                       int count, t_atom* atoms);

// "[keyword] numbers..." for at most maxPoints points, as many whole points as
// there are; numberRead is how many were read. points holds the present
// positions on entry.
bool get_points_coordinates_from_atoms(t_object* x, unsigned int maxPoints, long count,
                                       t_atom const* atoms, nolardsp::CartesianVector* points,
                                       unsigned int& numberRead);
// "[keyword] numbers..." for exactly numSpeakers speakers; points holds the
// present positions on entry and is written up to the first point that fails.
bool get_speakers_coordinates_from_atoms(t_object* x, unsigned int numSpeakers, long count,
                                         t_atom const* atoms, nolardsp::CartesianVector* points);
// "[index from 1] [keyword] numbers..."; index is from 0 on return.
bool get_speaker_coordinates_from_atoms(t_object* x, unsigned int numSpeakers, long count,
                                        t_atom const* atoms, nolardsp::CartesianVector& position,
                                        unsigned int& index);
// "[keyword] numbers...".
bool get_listener_coordinates_from_atoms(t_object* x, long count, t_atom const* atoms,
                                         nolardsp::CartesianVector& position);
// "[index from 1] [keyword] numbers...", with the longer forms of "zorv3";
// index is from 0 on return.
bool get_source_coordinates_from_atoms(t_object* x, unsigned int numSources, long count,
                                       t_atom const* atoms, unsigned int& index,
                                       nolardsp::CartesianVector& position);

// For tools that take a keyword attribute: the format, its stride and the
// canonical symbol. An unknown keyword warns and gives "aed" (format 6, stride
// 3); the function then returns false.
bool get_coordinates_format_and_stride(t_symbol const* keyword, t_object* x,
                                       CoordinatesFormat& format, unsigned int& stride,
                                       t_symbol*& canonical);

// A high-low shelf description from "hlshelf|params g l m h f1 f2", six bare
// numbers, "gains g l m h" or "freqs f1 f2"; gains in decibels and
// frequencies in hertz, each clipped to its range. Values that the form does
// not name keep theirs. False, with nothing changed, for any other list.
bool atoms2hlshelf(float& globalGaindB, float& lowGaindB, float& midGaindB, float& highGaindB,
                   float& lowFrequency, float& highFrequency, long count, t_atom const* atoms);

// The six fields of a reverberation description, in their order, from "times
// t1 t2 t3 t4" (the first four) or "freqs f1 f2" (the last two). False, with
// nothing changed, for any other list.
bool atoms2reverb(float (&fields)[6], long count, t_atom const* atoms);
