#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "NolarSdifNameValueTable.h"
#include "NolarSdifTypes.h"

// Reading SDIF files, one frame, one matrix and one row at a time.
//
// Order of calls, fixed by the format:
//   SdifFileT* f = SdifFOpen(path, eReadFile);   // null if it cannot be opened
//   SdifFReadGeneralHeader(f);
//   SdifFReadAllASCIIChunks(f);                  // the first data frame's signature is current
//   loop: SdifFReadFrameHeader(f);
//         per matrix: SdifFReadMatrixHeader, SdifFReadOneRow per row (or SdifFSkipMatrixData),
//                     SdifFReadPadding(f, SdifFPaddingCalculate(...));
//         (or SdifFSkipFrameData(f) for the whole frame)
//         if (SdifFGetSignature(f, &bytes) == eEof) break;
//   SdifFClose(f);
//
// Reports go to the file's error list (SdifFLastError) and to standard error.
// A fatal one (the file ends early, or a size in the file cannot be right) is
// also raised as a nolardsp::Exception carrying the same text: nothing is read
// past it. Every size in a file is checked against what is left of the file
// before anything is allocated or skipped, so a malformed file costs at most
// its own size in memory. Hold the file in an SdifFilePtr so that it is closed
// on that path too.
//
// Threads: a file object is used by one thread at a time; nothing here runs
// on the audio thread.
namespace nolardsp {

enum SdifFileModeET { eUnknownFileMode = 0, eWriteFile = 1, eReadFile = 2 };

// What SdifFGetSignature found.
enum SdifSignatureTokenET { eSignatureRead = 1, eEof = 4 };

enum SdifErrorTagET {
  eTypeDataNotSupported = 2,
  eBadFormattedString = 3,
  eEndOfFile = 4,
  eReDefined = 5,
  eUnDefined = 6,
  eSyntaxError = 7,
  eBadHeader = 10,
  eBadFormatVersion = 18,
  eMtrxUsedYet = 19,
  eMtrxNotInFrame = 20,
  eFileNotFound = 24,
  // Sizes in a file that cannot be right: negative counts, a frame shorter
  // than its own header. Fatal, like an early end of file.
  eBadSize = 40,
  // A column index of 0 or beyond the current row.
  eBadColumn = 41,
  // A row asked for when the current matrix has no more.
  eNoRowLeft = 42,
};

enum SdifErrorLevelET { eWarning = 0, eError = 1, eFatal = 2 };

struct SdifErrorT {
  SdifErrorTagET tag;
  SdifErrorLevelET level;
  std::string text;
};

struct SdifFrameHeaderT {
  SdifSignature signature = 0;
  SdifUInt4 size = 0;
  SdifFloat8 time = 0.0;
  SdifUInt4 streamID = 0;
  SdifUInt4 numMatrix = 0;
};

struct SdifMatrixHeaderT {
  SdifSignature signature = 0;
  std::uint32_t dataType = eFloat4;
  SdifUInt4 numRows = 0;
  SdifUInt4 numColumns = 0;
};

// One row of the current matrix, its values as stored (big-endian).
struct SdifOneRowT {
  std::uint32_t dataType = eFloat4;
  SdifUInt4 numColumns = 0;
  std::vector<unsigned char> data;
};

struct SdifFileS {
  std::FILE* stream = nullptr;
  SdifFileModeET mode = eUnknownFileMode;
  std::string name;
  std::uint64_t fileSize = 0;
  std::uint64_t position = 0;
  bool errorOutput = true;

  SdifUInt4 formatVersion = 0;
  SdifUInt4 typesVersion = 0;

  SdifNameValuesLT nameValues;
  SdifTypeTables types;

  SdifSignature currentSignature = 0;
  SdifFrameHeaderT frameHeader;
  SdifFrameTypeT const* frameType = nullptr;
  SdifMatrixHeaderT matrixHeader;
  SdifOneRowT currentRow;
  std::vector<SdifSignature> usedMatrices;
  SdifUInt4 matricesRead = 0;
  SdifUInt4 rowsRead = 0;
  // Bytes of the current matrix's data and padding not yet read.
  std::uint64_t matrixBytesLeft = 0;

  std::vector<SdifErrorT> errors;
};
using SdifFileT = SdifFileS;

struct SdifFileCloser {
  void operator()(SdifFileT* file) const;
};
using SdifFilePtr = std::unique_ptr<SdifFileT, SdifFileCloser>;

// Once per process; typesFile is not used (the predefined types are built in).
void SdifGenInitCond(char const* typesFile);
// Non-zero if the file opens and starts with "SDIF". Prints nothing.
int SdifCheckFileFormat(char const* path);

// Null if the file cannot be opened for reading (reported on standard error).
SdifFileT* SdifFOpen(char const* path, SdifFileModeET mode);
void SdifFClose(SdifFileT* file);
// Off: reports still go to the error list but are not printed.
void SdifFSetErrorOutput(SdifFileT* file, bool on);

std::size_t SdifFReadGeneralHeader(SdifFileT* file);
std::size_t SdifFReadAllASCIIChunks(SdifFileT* file);
SdifErrorT* SdifFLastError(SdifFileT* file);

std::size_t SdifFReadFrameHeader(SdifFileT* file);
SdifSignature SdifFCurrSignature(SdifFileT* file);
SdifSignature SdifFCurrFrameSignature(SdifFileT* file);
SdifUInt4 SdifFCurrID(SdifFileT* file);
SdifFloat8 SdifFCurrTime(SdifFileT* file);
SdifUInt4 SdifFCurrNbMatrix(SdifFileT* file);
SdifUInt4 SdifFCurrFrameSize(SdifFileT* file);

std::size_t SdifFReadMatrixHeader(SdifFileT* file);
SdifSignature SdifFCurrMatrixSignature(SdifFileT* file);
SdifDataTypeET SdifFCurrDataType(SdifFileT* file);
SdifUInt4 SdifFCurrNbRow(SdifFileT* file);
SdifUInt4 SdifFCurrNbCol(SdifFileT* file);

std::size_t SdifFReadOneRow(SdifFileT* file);
// Columns count from 1.
SdifFloat8 SdifFCurrOneRowCol(SdifFileT* file, SdifUInt4 column);

std::size_t SdifFPaddingCalculate(std::FILE* stream, std::size_t bytes);
// At most 1024 bytes.
std::size_t SdifFReadPadding(SdifFileT* file, std::size_t bytes);
// The rest of the current matrix's data, and its padding.
std::size_t SdifFSkipMatrixData(SdifFileT* file);
// The rest of the current frame.
std::size_t SdifFSkipFrameData(SdifFileT* file);
// Reads the next four bytes as the current signature and adds 4 to *bytesRead
// (which may be null). At the end of the file: eEof, and no report.
SdifSignatureTokenET SdifFGetSignature(SdifFileT* file, std::size_t* bytesRead);

SdifNameValuesLT* SdifFNameValueList(SdifFileT* file);

}  // namespace nolardsp
