#include "NolarSdifFile.h"

#include <sys/stat.h>

#include <cinttypes>
#include <cstdarg>
#include <cstring>
#include <iostream>

#include "NolarException.h"

namespace nolardsp {

namespace {

constexpr SdifUInt4 unknownSize = 0xFFFFFFFFu;
// Time, stream ID and matrix count: the frame header behind its size field.
constexpr std::uint64_t frameHeaderRest = 16;
constexpr std::uint64_t matrixHeaderSize = 16;
constexpr std::size_t maxPadding = 1024;

std::string format(char const* pattern, ...) {
  char text[512];
  va_list args;
  va_start(args, pattern);
  std::vsnprintf(text, sizeof(text), pattern, args);
  va_end(args);
  return text;
}

char const* levelName(SdifErrorLevelET level) {
  switch (level) {
    case eWarning:
      return "Warning";
    case eError:
      return "Error";
    default:
      return "Fatal";
  }
}

void report(SdifFileT* f, SdifErrorTagET tag, SdifErrorLevelET level, std::string const& text) {
  f->errors.push_back(SdifErrorT{tag, level, text});
  if (f->errorOutput) {
    std::cerr << "*Sdif* " << levelName(level) << " (" << f->name << "): " << text;
    if (text.empty() || text.back() != '\n') std::cerr << '\n';
  }
}

[[noreturn]] void fatal(SdifFileT* f, SdifErrorTagET tag, std::string const& text) {
  report(f, tag, eFatal, text);
  throw Exception(text, __FILE__, __LINE__, true, false);
}

std::uint64_t bytesLeft(SdifFileT const* f) {
  return f->position < f->fileSize ? f->fileSize - f->position : 0;
}

// The file ends before `needed` more bytes: fatal, and said where and for what.
[[noreturn]] void endOfFile(SdifFileT* f, std::uint64_t needed, char const* what) {
  fatal(
      f, eEndOfFile,
      format("End of file : Sdiffread %" PRIu64 " (%s needs %" PRIu64 " bytes, %" PRIu64 " left)\n",
             f->position, what, needed, bytesLeft(f)));
}

void require(SdifFileT* f, std::uint64_t needed, char const* what) {
  if (needed > bytesLeft(f)) endOfFile(f, needed, what);
}

void readBytes(SdifFileT* f, void* destination, std::size_t n, char const* what) {
  require(f, n, what);
  std::size_t const got = n == 0 ? 0 : std::fread(destination, 1, n, f->stream);
  if (got != n) {
    f->position += got;
    endOfFile(f, n - got, what);
  }
  f->position += n;
}

// Skips forward only, and never past the end of the file.
void skipBytes(SdifFileT* f, std::uint64_t n, char const* what) {
  require(f, n, what);
  if (n == 0) return;
  if (std::fseek(f->stream, static_cast<long>(f->position + n), SEEK_SET) != 0) {
    endOfFile(f, n, what);
  }
  f->position += n;
}

std::uint32_t bigEndian32(unsigned char const* b) {
  return (static_cast<std::uint32_t>(b[0]) << 24) | (static_cast<std::uint32_t>(b[1]) << 16) |
         (static_cast<std::uint32_t>(b[2]) << 8) | static_cast<std::uint32_t>(b[3]);
}

std::uint64_t bigEndian64(unsigned char const* b) {
  return (static_cast<std::uint64_t>(bigEndian32(b)) << 32) | bigEndian32(b + 4);
}

std::uint32_t readUInt32(SdifFileT* f, char const* what) {
  unsigned char b[4];
  readBytes(f, b, 4, what);
  return bigEndian32(b);
}

std::int32_t readInt32(SdifFileT* f, char const* what) {
  return static_cast<std::int32_t>(readUInt32(f, what));
}

double readFloat64(SdifFileT* f, char const* what) {
  unsigned char b[8];
  readBytes(f, b, 8, what);
  std::uint64_t const bits = bigEndian64(b);
  double value;
  std::memcpy(&value, &bits, sizeof(value));
  return value;
}

char const* sigText(SdifSignature s) {
  return SdifSignatureToString(s);
}

// Looks a type up in the file's tables, then in the predefined ones; a
// predefined type is copied to the file's on first use.
SdifFrameTypeT const* findFrameType(SdifFileT* f, SdifSignature s) {
  if (SdifFrameTypeT const* t = f->types.FindFrameType(s)) return t;
  if (SdifFrameTypeT const* p = SdifTypeTables::Predefined().FindFrameType(s)) {
    f->types.AddFrameType(*p);
    return f->types.FindFrameType(s);
  }
  return nullptr;
}

SdifMatrixTypeT const* findMatrixType(SdifFileT* f, SdifSignature s) {
  if (SdifMatrixTypeT const* t = f->types.FindMatrixType(s)) return t;
  if (SdifMatrixTypeT const* p = SdifTypeTables::Predefined().FindMatrixType(s)) {
    f->types.AddMatrixType(*p);
    return f->types.FindMatrixType(s);
  }
  return nullptr;
}

// Reads the matrix header and checks its sizes against the file; no type checks.
void readRawMatrixHeader(SdifFileT* f) {
  SdifMatrixHeaderT& m = f->matrixHeader;
  m.signature = readUInt32(f, "matrix header");
  std::uint32_t const dataType = readUInt32(f, "matrix header");
  std::int32_t const rows = readInt32(f, "matrix header");
  std::int32_t const columns = readInt32(f, "matrix header");
  if (rows < 0 || columns < 0) {
    fatal(f, eBadSize,
          format("Bad size : matrix '%s' of %d rows and %d columns at %" PRIu64 "\n",
                 sigText(m.signature), rows, columns, f->position));
  }
  m.dataType = dataType;
  m.numRows = static_cast<SdifUInt4>(rows);
  m.numColumns = static_cast<SdifUInt4>(columns);
  f->rowsRead = 0;
  f->matrixBytesLeft = 0;
}

// Data and padding of the current matrix, checked against what is left of
// the file. Rows and columns are below 2^31 and a value at most 255 bytes,
// so the product fits in 64 bits.
void setMatrixDataSize(SdifFileT* f, std::size_t valueSize) {
  SdifMatrixHeaderT const& m = f->matrixHeader;
  std::uint64_t const data = static_cast<std::uint64_t>(m.numRows) * m.numColumns * valueSize;
  std::uint64_t const total = data + SdifPaddingCalculate(static_cast<std::size_t>(data % 8));
  require(f, total, "matrix data");
  f->matrixBytesLeft = total;
}

std::uint64_t skipMatrixRest(SdifFileT* f) {
  std::uint64_t const n = f->matrixBytesLeft;
  skipBytes(f, n, "matrix data");
  f->matrixBytesLeft = 0;
  f->rowsRead = f->matrixHeader.numRows;
  return n;
}

void readFrameHeaderFields(SdifFileT* f) {
  SdifFrameHeaderT& h = f->frameHeader;
  h.signature = f->currentSignature;
  h.size = readUInt32(f, "frame header");
  h.time = readFloat64(f, "frame header");
  h.streamID = readUInt32(f, "frame header");
  h.numMatrix = readUInt32(f, "frame header");
  if (h.size != unknownSize) {
    if (h.size < frameHeaderRest) {
      fatal(f, eBadSize,
            format("Bad size : frame '%s' of %u bytes, shorter than its header, at %" PRIu64 "\n",
                   sigText(h.signature), h.size, f->position));
    }
    require(f, h.size - frameHeaderRest, "frame");
  }
  require(f, static_cast<std::uint64_t>(h.numMatrix) * matrixHeaderSize, "frame's matrices");
  f->usedMatrices.clear();
  f->matricesRead = 0;
  f->matrixBytesLeft = 0;
  f->rowsRead = 0;
  f->matrixHeader = SdifMatrixHeaderT();
  f->currentRow.numColumns = 0;
}

// Reads the text of an ASCII chunk whose frame header has been read. The
// matrix form holds one text matrix; the older form has the text in braces
// directly behind the frame header.
std::string readChunkText(SdifFileT* f, std::uint64_t& bytesRead) {
  SdifFrameHeaderT const& h = f->frameHeader;
  std::string text;
  if (h.numMatrix == 0) {
    std::cerr << "Warning, this file uses an intermediate format for the Name-Value Table. "
                 "Please convert it to the matrix form ("
              << f->name << ").\n";
    std::uint64_t const limit = h.size == unknownSize ? bytesLeft(f) : h.size - frameHeaderRest;
    int depth = 0;
    while (bytesRead < limit + frameHeaderRest) {
      char c;
      readBytes(f, &c, 1, "text chunk");
      ++bytesRead;
      text.push_back(c);
      if (c == '{') ++depth;
      if (c == '}' && --depth <= 0) break;
    }
    return text;
  }
  readRawMatrixHeader(f);
  bytesRead += matrixHeaderSize;
  ++f->matricesRead;
  SdifMatrixHeaderT const& m = f->matrixHeader;
  std::size_t const valueSize = SdifDataTypeKnown(m.dataType) ? SdifSizeofDataType(m.dataType) : 4;
  setMatrixDataSize(f, valueSize);
  std::uint64_t const data = static_cast<std::uint64_t>(m.numRows) * m.numColumns * valueSize;
  if (m.numColumns == 1 && m.dataType == eText) {
    text.resize(static_cast<std::size_t>(data));
    readBytes(f, text.data(), text.size(), "text chunk");
    bytesRead += data;
    f->matrixBytesLeft -= data;
  } else if (h.signature == e1NVT) {
    report(f, eSyntaxError, eWarning,
           "Syntax error: Name-Value Table text matrix must have exactly one column!\n");
  }
  bytesRead += skipMatrixRest(f);
  // Further matrices in a text chunk carry nothing we read.
  while (f->matricesRead < h.numMatrix) {
    readRawMatrixHeader(f);
    bytesRead += matrixHeaderSize;
    ++f->matricesRead;
    std::uint32_t const type = f->matrixHeader.dataType;
    setMatrixDataSize(f, SdifDataTypeKnown(type) ? SdifSizeofDataType(type) : 4);
    bytesRead += skipMatrixRest(f);
  }
  return text;
}

// name TAB value LF, one entry a line; an unfinished last line is dropped.
void parseNameValueText(SdifFileT* f, SdifNameValueTable& table, std::string const& text) {
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t const end = text.find('\n', start);
    if (end == std::string::npos) break;
    std::string const line = text.substr(start, end - start);
    start = end + 1;
    if (line.empty()) continue;
    std::size_t const tab = line.find('\t');
    if (tab == std::string::npos) {
      report(f, eBadFormattedString, eWarning,
             format("Badly formatted string : '%s'\n", line.c_str()));
      continue;
    }
    std::string const name = line.substr(0, tab);
    if (!table.Add(name, line.substr(tab + 1))) {
      report(f, eReDefined, eError, format("%s redefined\n", name.c_str()));
    }
  }
}

// { name value; name value; } of the older form.
void parseOldNameValueText(SdifFileT* f, SdifNameValueTable& table, std::string const& text) {
  std::size_t const open = text.find('{');
  if (open == std::string::npos) return;
  std::size_t pos = open + 1;
  while (pos < text.size()) {
    std::size_t const end = text.find_first_of(";}", pos);
    if (end == std::string::npos) break;
    std::string entry = text.substr(pos, end - pos);
    bool const last = text[end] == '}';
    pos = end + 1;
    std::size_t const b = entry.find_first_not_of(" \t\r\n");
    if (b != std::string::npos) {
      entry = entry.substr(b);
      std::size_t const space = entry.find_first_of(" \t\r\n");
      std::string const name = entry.substr(0, space);
      std::string value;
      if (space != std::string::npos) {
        std::size_t const v = entry.find_first_not_of(" \t\r\n", space);
        std::size_t const e = entry.find_last_not_of(" \t\r\n");
        if (v != std::string::npos) value = entry.substr(v, e - v + 1);
      }
      if (!table.Add(name, value)) {
        report(f, eReDefined, eError, format("%s redefined\n", name.c_str()));
      }
    }
    if (last) break;
  }
}

void checkChunkSize(SdifFileT* f, char const* which, std::uint64_t bytesRead) {
  SdifUInt4 const size = f->frameHeader.size;
  if (size == unknownSize || size == bytesRead) return;
  if (f->errorOutput) {
    std::cerr << "*Sdif* "
              << format("erreur size %s: lu: %lu  Attendu: %lu\n", which,
                        static_cast<unsigned long>(bytesRead), static_cast<unsigned long>(size))
              << "\n";
  }
}

void readAsciiChunk(SdifFileT* f) {
  SdifSignature const s = f->currentSignature;
  readFrameHeaderFields(f);
  findFrameType(f, s);
  std::uint64_t bytesRead = frameHeaderRest;
  std::string const text = readChunkText(f, bytesRead);
  bool const oldForm = f->frameHeader.numMatrix == 0;
  if (s == e1NVT) {
    auto& tables = f->nameValues.tables;
    tables.push_back(
        std::make_unique<SdifNameValueTable>(static_cast<unsigned int>(tables.size() + 1)));
    if (oldForm) {
      parseOldNameValueText(f, *tables.back(), text);
    } else {
      parseNameValueText(f, *tables.back(), text);
    }
    checkChunkSize(f, "1NVT", bytesRead);
  } else if (s == e1TYP) {
    std::string body = text;
    if (oldForm) {
      std::size_t const open = body.find('{');
      std::size_t const close = body.rfind('}');
      body = (open == std::string::npos || close == std::string::npos || close <= open)
                 ? std::string()
                 : body.substr(open + 1, close - open - 1);
    }
    std::string const problem = f->types.Parse(body);
    if (!problem.empty()) {
      if (problem.compare(0, 15, "bad signature: ") == 0) {
        report(f, eBadFormattedString, eWarning,
               format("Badly formatted string : '%s'\n", problem.c_str() + 15));
      } else {
        report(f, eSyntaxError, eWarning, format("Syntax error: %s\n", problem.c_str()));
      }
    }
    checkChunkSize(f, "1TYP", bytesRead);
  } else {
    checkChunkSize(f, "1IDS", bytesRead);
  }
}

double rowValue(SdifOneRowT const& row, SdifUInt4 index) {
  std::size_t const size = SdifSizeofDataType(row.dataType);
  unsigned char const* b = row.data.data() + static_cast<std::size_t>(index) * size;
  switch (row.dataType) {
    case eFloat8: {
      std::uint64_t const bits = bigEndian64(b);
      double v;
      std::memcpy(&v, &bits, sizeof(v));
      return v;
    }
    case eInt1:
      return static_cast<double>(static_cast<std::int8_t>(b[0]));
    case eInt2:
      return static_cast<double>(static_cast<std::int16_t>(
          static_cast<std::uint16_t>((static_cast<unsigned>(b[0]) << 8) | b[1])));
    case eInt4:
      return static_cast<double>(static_cast<std::int32_t>(bigEndian32(b)));
    case eUInt1:
    case eText:
      return static_cast<double>(b[0]);
    case eUInt2:
      return static_cast<double>((static_cast<unsigned>(b[0]) << 8) | b[1]);
    case eUInt4:
      return static_cast<double>(bigEndian32(b));
    default: {
      std::uint32_t const bits = bigEndian32(b);
      float v;
      std::memcpy(&v, &bits, sizeof(v));
      return static_cast<double>(v);
    }
  }
}

}  // namespace

void SdifFileCloser::operator()(SdifFileT* file) const {
  SdifFClose(file);
}

void SdifGenInitCond(char const*) {
  SdifTypeTables::Predefined();
}

int SdifCheckFileFormat(char const* path) {
  if (path == nullptr) return 0;
  std::FILE* stream = std::fopen(path, "rb");
  if (stream == nullptr) return 0;
  unsigned char b[4];
  std::size_t const got = std::fread(b, 1, 4, stream);
  std::fclose(stream);
  return got == 4 && bigEndian32(b) == eSDIF ? 1 : 0;
}

SdifFileT* SdifFOpen(char const* path, SdifFileModeET mode) {
  char const* name = path == nullptr ? "" : path;
  std::FILE* stream = mode == eReadFile && path != nullptr ? std::fopen(path, "rb") : nullptr;
  struct stat info;
  if (stream != nullptr && (fstat(fileno(stream), &info) != 0 || !S_ISREG(info.st_mode))) {
    std::fclose(stream);
    stream = nullptr;
  }
  if (stream == nullptr) {
    std::cerr << "*Sdif* " << format("File not found or permission denied: \"%s\"\n", name);
    return nullptr;
  }
  SdifFileT* f = new SdifFileT;
  f->stream = stream;
  f->mode = mode;
  f->name = name;
  f->fileSize = static_cast<std::uint64_t>(info.st_size);
  return f;
}

void SdifFClose(SdifFileT* file) {
  if (file == nullptr) return;
  if (file->stream != nullptr) std::fclose(file->stream);
  delete file;
}

void SdifFSetErrorOutput(SdifFileT* file, bool on) {
  file->errorOutput = on;
}

std::size_t SdifFReadGeneralHeader(SdifFileT* f) {
  if (bytesLeft(f) < 4) {
    report(f, eBadHeader, eError, "Bad Sdif Header : SDIF not correctly read\n");
    return 0;
  }
  std::uint32_t const signature = readUInt32(f, "general header");
  if (signature != eSDIF) {
    report(f, eBadHeader, eError, "Bad Sdif Header : SDIF not correctly read\n");
    return 0;
  }
  std::int32_t const size = readInt32(f, "general header");
  if (size < 8) {
    report(f, eBadHeader, eError,
           format("Bad Sdif Header : header size %d is below 8\n", static_cast<int>(size)));
    return 0;
  }
  f->formatVersion = readUInt32(f, "general header");
  f->typesVersion = readUInt32(f, "general header");
  skipBytes(f, static_cast<std::uint64_t>(size) - 8, "general header");
  if (f->formatVersion < 3) {
    report(f, eBadFormatVersion, eError,
           format("Bad Format Version : File is in an old SDIF format version (%u).  The "
                  "library (version %d) is not backwards compatible.",
                  f->formatVersion, 3));
    return 0;
  }
  if (f->formatVersion > 3) {
    report(f, eBadFormatVersion, eError,
           format("Bad Format Version : file is in a newer SDIF format version (%u) than the "
                  "library (%d)",
                  f->formatVersion, 3));
    return 0;
  }
  return 8 + static_cast<std::size_t>(size);
}

std::size_t SdifFReadAllASCIIChunks(SdifFileT* f) {
  std::uint64_t const start = f->position;
  std::size_t bytes = 0;
  while (SdifFGetSignature(f, &bytes) != eEof) {
    SdifSignature const s = f->currentSignature;
    if (s != e1NVT && s != e1TYP && s != e1IDS) {
      // The first data frame's signature stays current; it is counted there.
      return static_cast<std::size_t>(f->position - start - 4);
    }
    readAsciiChunk(f);
  }
  return static_cast<std::size_t>(f->position - start);
}

SdifErrorT* SdifFLastError(SdifFileT* file) {
  if (file == nullptr || file->errors.empty()) return nullptr;
  return &file->errors.back();
}

std::size_t SdifFReadFrameHeader(SdifFileT* f) {
  readFrameHeaderFields(f);
  SdifSignature const s = f->frameHeader.signature;
  f->frameType = findFrameType(f, s);
  if (f->frameType == nullptr) {
    report(f, eUnDefined, eError,
           format("%s undefined\n", format("Frame Type '%s' (0x%08x)", sigText(s), s).c_str()));
  }
  return 20;
}

SdifSignature SdifFCurrSignature(SdifFileT* file) {
  return file->currentSignature;
}
SdifSignature SdifFCurrFrameSignature(SdifFileT* file) {
  return file->frameHeader.signature;
}
SdifUInt4 SdifFCurrID(SdifFileT* file) {
  return file->frameHeader.streamID;
}
SdifFloat8 SdifFCurrTime(SdifFileT* file) {
  return file->frameHeader.time;
}
SdifUInt4 SdifFCurrNbMatrix(SdifFileT* file) {
  return file->frameHeader.numMatrix;
}
SdifUInt4 SdifFCurrFrameSize(SdifFileT* file) {
  return file->frameHeader.size;
}

std::size_t SdifFReadMatrixHeader(SdifFileT* f) {
  // A matrix whose data were not all read is skipped first, so that the
  // next header is read where it stands.
  if (f->matrixBytesLeft > 0) skipMatrixRest(f);
  unsigned char b[4];
  readBytes(f, b, 4, "matrix header");
  SdifSignature const s = bigEndian32(b);
  if (s == 0) return 0;
  std::uint32_t const dataType = readUInt32(f, "matrix header");
  std::int32_t const rows = readInt32(f, "matrix header");
  std::int32_t const columns = readInt32(f, "matrix header");
  if (rows < 0 || columns < 0) {
    fatal(f, eBadSize,
          format("Bad size : matrix '%s' of %d rows and %d columns at %" PRIu64 "\n", sigText(s),
                 rows, columns, f->position));
  }
  SdifMatrixHeaderT& m = f->matrixHeader;
  m.signature = s;
  m.dataType = dataType;
  m.numRows = static_cast<SdifUInt4>(rows);
  m.numColumns = static_cast<SdifUInt4>(columns);
  f->rowsRead = 0;
  ++f->matricesRead;

  if (findMatrixType(f, s) == nullptr) {
    report(f, eUnDefined, eError,
           format("%s undefined\n", format("Matrix Type : '%s' (0x%08x)", sigText(s), s).c_str()));
  }
  if (f->frameType != nullptr) {
    if (!f->frameType->HasComponent(s)) {
      report(
          f, eMtrxNotInFrame, eWarning,
          format(
              "Matrix is not in frames components : %s\n",
              format("'%s' in frame '%s'", sigText(s), sigText(f->frameType->signature)).c_str()));
    }
    for (SdifSignature used : f->usedMatrices) {
      if (used == s) {
        report(f, eMtrxUsedYet, eWarning,
               format("Matrix has been used in this frame yet : %s\n", sigText(s)));
        break;
      }
    }
  }
  f->usedMatrices.push_back(s);
  if (!SdifDataTypeKnown(m.dataType)) {
    report(f, eTypeDataNotSupported, eWarning,
           format("Type of data not actualy supported : %s\n",
                  format(" 0x%04x, then Float4 used", m.dataType).c_str()));
    m.dataType = eFloat4;
  }
  std::size_t const valueSize = SdifSizeofDataType(m.dataType);
  setMatrixDataSize(f, valueSize);
  f->currentRow.dataType = m.dataType;
  f->currentRow.numColumns = m.numColumns;
  // Bounded by the file: setMatrixDataSize checked rows x columns against it.
  f->currentRow.data.assign(static_cast<std::size_t>(m.numColumns) * valueSize, 0);
  return 16;
}

SdifSignature SdifFCurrMatrixSignature(SdifFileT* file) {
  return file->matrixHeader.signature;
}
SdifDataTypeET SdifFCurrDataType(SdifFileT* file) {
  return static_cast<SdifDataTypeET>(file->matrixHeader.dataType);
}
SdifUInt4 SdifFCurrNbRow(SdifFileT* file) {
  return file->matrixHeader.numRows;
}
SdifUInt4 SdifFCurrNbCol(SdifFileT* file) {
  return file->matrixHeader.numColumns;
}

std::size_t SdifFReadOneRow(SdifFileT* f) {
  if (f->rowsRead >= f->matrixHeader.numRows) {
    report(f, eNoRowLeft, eError,
           format("No row left : matrix '%s' has %u rows\n", sigText(f->matrixHeader.signature),
                  f->matrixHeader.numRows));
    return 0;
  }
  std::size_t const n = f->currentRow.data.size();
  readBytes(f, f->currentRow.data.data(), n, "matrix row");
  f->matrixBytesLeft -= n;
  ++f->rowsRead;
  return n;
}

SdifFloat8 SdifFCurrOneRowCol(SdifFileT* f, SdifUInt4 column) {
  if (column == 0 || column > f->currentRow.numColumns) {
    report(f, eBadColumn, eError,
           format("Bad column : %u of a row of %u columns\n", column, f->currentRow.numColumns));
    return 0.0;
  }
  return rowValue(f->currentRow, column - 1);
}

std::size_t SdifFPaddingCalculate(std::FILE*, std::size_t bytes) {
  return SdifPaddingCalculate(bytes);
}

std::size_t SdifFReadPadding(SdifFileT* f, std::size_t bytes) {
  if (bytes > maxPadding) {
    fatal(f, eBadSize,
          format("Bad size : padding of %zu bytes at %" PRIu64 "\n", bytes, f->position));
  }
  skipBytes(f, bytes, "padding");
  f->matrixBytesLeft = bytes >= f->matrixBytesLeft ? 0 : f->matrixBytesLeft - bytes;
  return bytes;
}

std::size_t SdifFSkipMatrixData(SdifFileT* f) {
  return static_cast<std::size_t>(skipMatrixRest(f));
}

std::size_t SdifFSkipFrameData(SdifFileT* f) {
  std::uint64_t skipped = skipMatrixRest(f);
  while (f->matricesRead < f->frameHeader.numMatrix) {
    readRawMatrixHeader(f);
    ++f->matricesRead;
    skipped += matrixHeaderSize;
    std::size_t valueSize = SdifSizeofDataType(f->matrixHeader.dataType);
    if (!SdifDataTypeKnown(f->matrixHeader.dataType)) valueSize = 4;
    setMatrixDataSize(f, valueSize);
    skipped += skipMatrixRest(f);
  }
  return static_cast<std::size_t>(skipped);
}

SdifSignatureTokenET SdifFGetSignature(SdifFileT* f, std::size_t* bytesRead) {
  if (bytesLeft(f) == 0) return eEof;
  f->currentSignature = readUInt32(f, "signature");
  if (bytesRead != nullptr) *bytesRead += 4;
  return eSignatureRead;
}

SdifNameValuesLT* SdifFNameValueList(SdifFileT* file) {
  return &file->nameValues;
}

}  // namespace nolardsp
