#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "NolarCartesianVector.h"
#include "NolarSdifFile.h"

namespace nolardsp {

// What is generic in reading HRTF-like SDIF files: name-value tables and the
// position and filter matrices.
//
// The matrix readers are called right after SdifFReadMatrixHeader and read the
// whole matrix; they give the bytes read (without padding) and raise
// Exception "Invalid " + signature + " matrix" for a matrix of the wrong shape
// or data type (only 32- and 64-bit floats are taken). Not for the audio thread.
class SdifUtils {
 public:
  // Non-zero if the file opens and starts with "SDIF".
  static bool IsValidSdifFile(char const* path);

  // Number of the first name-value table with an entry TableName = name, or -1.
  static int GetIndexOfNVTByName(SdifFileS* file, char const* name);
  // True and value set if the table has the field. A missing table gives false
  // silently; a missing field in a table that is there also writes a line to
  // the error stream.
  static bool GetValueFromNVT(std::string& value, SdifFileS* file, char const* tableName,
                              char const* fieldName);

  // Filter coefficients, row after row; values must already hold exactly
  // rows x columns numbers: that the file fits its header is the test.
  static std::size_t ReadXFIRMatrix(SdifFileS* file, std::vector<float>& values);
  static std::size_t ReadXIIRMatrix(SdifFileS* file, std::vector<float>& values);
  // One row, one column.
  static std::size_t ReadXITDMatrix(SdifFileS* file, float& itd);
  // Three columns x, y, z per row; out is sized to the rows.
  static std::size_t ReadXCARMatrix(SdifFileS* file, std::vector<CartesianVector>& out);
  // Three columns azimuth, elevation, distance per row, through AedToCartesian.
  static std::size_t ReadXAEDMatrix(SdifFileS* file, std::vector<CartesianVector>& out,
                                    bool navigation);

  // An azimuth-elevation-distance triple of an XAED matrix (degrees, degrees,
  // metres) as a point of the system's axes. The azimuth is the user's: 0 in
  // front, growing clockwise (-30 is to the left). With navigation set, the
  // angles are first brought to azimuth in [-180, 180) and elevation in
  // [-90, 90] and a negative distance is turned round. All in 32-bit floats;
  // every wrap is one fmod, so that huge or infinite angles cost no more than
  // small ones (a non-finite angle gives a non-finite point).
  static CartesianVector AedToCartesian(float azimuth, float elevation, float distance,
                                        bool navigation);

 private:
  static std::size_t ReadFilterCoeffsMatrix(SdifFileS* file, std::vector<float>& values);
  // Columns must be 3 and the data type 4 or 8; out sized to the rows.
  static std::size_t readTriples(SdifFileS* file, std::vector<CartesianVector>& out, bool asAed,
                                 bool navigation);
};

}  // namespace nolardsp
