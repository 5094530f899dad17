#include "NolarSdifFile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "NolarException.h"
#include "NolarSdifWriter.h"
#include "ZorvTestFiles.h"

namespace {

using namespace nolardsp;
using zorvtest::Bytes;

SdifSignature sig(char const* s) {
  return SdifStringToSignature(s);
}

class SdifFileTest : public ::testing::Test {
 protected:
  void TearDown() override { std::remove(path.c_str()); }

  // Opens the file quietly; the test owns the result.
  SdifFilePtr open() {
    SdifFilePtr f(SdifFOpen(path.c_str(), eReadFile));
    if (f) SdifFSetErrorOutput(f.get(), false);
    return f;
  }

  std::string lastErrorText(SdifFileT* f) {
    SdifErrorT* e = SdifFLastError(f);
    return e == nullptr ? std::string() : e->text;
  }

  // Reads header and chunks, then every frame; values of every matrix, row
  // after row, keyed by frame index and matrix signature.
  std::map<std::pair<int, std::string>, std::vector<double>> readAll(SdifFileT* f) {
    std::map<std::pair<int, std::string>, std::vector<double>> out;
    EXPECT_GT(SdifFReadGeneralHeader(f), 0u);
    SdifFReadAllASCIIChunks(f);
    int frame = 0;
    std::size_t bytes = 0;
    while (SdifFLastError(f) == nullptr) {
      SdifFReadFrameHeader(f);
      for (SdifUInt4 m = 0; m < SdifFCurrNbMatrix(f); ++m) {
        SdifFReadMatrixHeader(f);
        std::vector<double>& values =
            out[{frame, SdifSignatureToString(SdifFCurrMatrixSignature(f))}];
        std::size_t read = 0;
        for (SdifUInt4 r = 0; r < SdifFCurrNbRow(f); ++r) {
          read += SdifFReadOneRow(f);
          for (SdifUInt4 c = 1; c <= SdifFCurrNbCol(f); ++c) {
            values.push_back(SdifFCurrOneRowCol(f, c));
          }
        }
        SdifFReadPadding(f, SdifFPaddingCalculate(f->stream, read));
      }
      ++frame;
      if (SdifFGetSignature(f, &bytes) == eEof) break;
    }
    return out;
  }

  std::string path = zorvtest::TempPath("sdif.sdif");
};

// A well-formed file with every element the writer makes.
void writeExample(std::string const& path) {
  SdifWriter w(path);
  w.WriteGeneralHeader();
  w.WriteTypes("1MTD XFIR {Coefficients}\n1MTD XITD {Delay}\n1FTD HRTF {XFIR Filters; XITD Itd;}");
  w.WriteNameValueTable({{"TableName", "HrtfInfos"}, {"Author", "Someone"}, {"NumPoints", "2"}});
  w.WriteNameValueTable({{"TableName", "Second"}, {"Empty", ""}});
  w.WriteStreamInfo("1 stream;");
  for (int k = 0; k < 2; ++k) {
    w.BeginFrame(sig("HRTF"), 0.5 * k, static_cast<std::uint32_t>(k + 1));
    std::vector<double> fir = {0.25 + k, -1.5, 1e-3};  // 3 float values: 4 pad bytes
    w.WriteMatrix(sig("XFIR"), eFloat4, 1, 3, fir);
    w.WriteMatrix(sig("XITD"), eFloat8, 1, 1, {1.0 / 3.0 + k});
    w.EndFrame();
  }
  w.Close();
}

TEST_F(SdifFileTest, WrittenFileReadsBackExactly) {
  writeExample(path);
  SdifFilePtr f = open();
  ASSERT_TRUE(f);
  auto const values = readAll(f.get());
  EXPECT_EQ(SdifFLastError(f.get()), nullptr) << lastErrorText(f.get());
  EXPECT_EQ(SdifFCurrID(f.get()), 2u);
  EXPECT_DOUBLE_EQ(SdifFCurrTime(f.get()), 0.5);
  EXPECT_EQ(f->formatVersion, 3u);
  ASSERT_EQ(values.size(), 4u);
  for (int k = 0; k < 2; ++k) {
    std::vector<double> const fir = values.at({k, "XFIR"});
    ASSERT_EQ(fir.size(), 3u);
    EXPECT_EQ(fir[0], 0.25 + k);
    EXPECT_EQ(fir[1], -1.5);
    EXPECT_EQ(fir[2], static_cast<double>(1e-3f));
    EXPECT_EQ(values.at({k, "XITD"})[0], 1.0 / 3.0 + k);  // 64-bit values bit for bit
  }
  // Tables numbered from 1, in order, with entries in file order.
  SdifListT* tables = SdifNameValueTableList(SdifFNameValueList(f.get()));
  std::vector<std::string> seen;
  for (SdifListInitLoop(tables); SdifListIsNext(tables);) {
    SdifNameValueTableT* t = SdifListGetNext(tables);
    SdifHashTableIteratorT* it = SdifCreateHashTableIterator(SdifNameValueTableGetHashTable(t));
    for (SdifHashTableIteratorInitLoop(it, SdifNameValueTableGetHashTable(t));
         SdifHashTableIteratorIsNext(it);) {
      SdifNameValueT const* nv = SdifHashTableIteratorGetNext(it);
      seen.push_back(std::to_string(SdifNameValueTableGetNumTable(t)) + ":" +
                     SdifNameValueGetName(nv) + "=" + SdifNameValueGetValue(nv));
    }
    SdifKillHashTableIterator(it);
  }
  EXPECT_EQ(seen, (std::vector<std::string>{"1:TableName=HrtfInfos", "1:Author=Someone",
                                            "1:NumPoints=2", "2:TableName=Second", "2:Empty="}));
}

TEST_F(SdifFileTest, WriterLaysOutHeaderFramesAndPadding) {
  writeExample(path);
  std::vector<unsigned char> const b = zorvtest::ReadFileBytes(path);
  // "SDIF", size 8, version 3, types version 1, then the first chunk at once.
  std::vector<unsigned char> const header = {'S', 'D', 'I', 'F', 0, 0, 0, 8,
                                             0,   0,   0,   3,   0, 0, 0, 1};
  ASSERT_GT(b.size(), 24u);
  EXPECT_EQ(std::vector<unsigned char>(b.begin(), b.begin() + 16), header);
  EXPECT_EQ(std::string(b.begin() + 16, b.begin() + 20), "1TYP");
  // Every chunk and frame starts on a multiple of 8, and its size field
  // counts the bytes behind it.
  std::size_t pos = 16;
  int frames = 0;
  while (pos < b.size()) {
    ASSERT_EQ(pos % 8, 0u);
    std::uint32_t const size =
        (b[pos + 4] << 24) | (b[pos + 5] << 16) | (b[pos + 6] << 8) | b[pos + 7];
    pos += 8 + size;
    ++frames;
  }
  EXPECT_EQ(pos, b.size());
  EXPECT_EQ(frames, 6);
  // Last frame: 24-byte header, XFIR 16 + 12 + 4 pad, XITD 16 + 8 (no pad).
  std::size_t const last = b.size() - (24 + 32 + 24);
  EXPECT_EQ(std::string(b.begin() + last, b.begin() + last + 4), "HRTF");
  EXPECT_EQ(b[last + 7], 16 + 32 + 24);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(b[last + 24 + 28 + i], 0);
}

TEST(SdifPadding, RoundsDataUpToEightBytes) {
  EXPECT_EQ(SdifPaddingCalculate(0), 0u);
  EXPECT_EQ(SdifPaddingCalculate(12), 4u);  // three 32-bit floats
  EXPECT_EQ(SdifPaddingCalculate(24), 0u);  // three 64-bit floats
  EXPECT_EQ(SdifPaddingCalculate(1), 7u);
  EXPECT_EQ(SdifFPaddingCalculate(nullptr, 15), 1u);
}

TEST(SdifSignature, TextAndNumberAgree) {
  EXPECT_EQ(sig("SDIF"), 0x53444946u);
  EXPECT_EQ(sig("1NVT"), 0x314E5654u);
  char const* a = SdifSignatureToString(0x48525446u);
  char const* b = SdifSignatureToString(sig("XFIR"));
  EXPECT_STREQ(a, "HRTF");  // a stays valid beside b
  EXPECT_STREQ(b, "XFIR");
}

// General header as bytes: signature, size, version, types version, padding.
Bytes header(std::int32_t size = 8, std::uint32_t version = 3, char const* s = "SDIF") {
  Bytes b;
  b.Tag(s).U32(static_cast<std::uint32_t>(size)).U32(version).U32(1);
  if (size > 8) b.Zeros(static_cast<std::size_t>(size - 8));
  return b;
}

TEST_F(SdifFileTest, HeaderSizeSetsItsPadding) {
  Bytes b = header(16);
  b.Tag("1NVT")
      .U32(0xFFFFFFFFu)
      .F64(0)
      .U32(0)
      .U32(1)
      .Tag("1NVT")
      .U32(eText)
      .U32(2)
      .U32(1)
      .Text("a\t");
  b.Zeros(6);
  ASSERT_TRUE(b.WriteTo(path));
  SdifFilePtr f = open();
  EXPECT_EQ(SdifFReadGeneralHeader(f.get()), 24u);
  std::size_t bytes = 0;
  EXPECT_EQ(SdifFGetSignature(f.get(), &bytes), eSignatureRead);
  EXPECT_EQ(SdifFCurrSignature(f.get()), e1NVT);  // the 8 padding bytes were skipped
}

TEST_F(SdifFileTest, HeaderFaultsAreReportedWithTheirTexts) {
  struct Case {
    Bytes bytes;
    SdifErrorTagET tag;
    std::string text;
  } const cases[] = {
      {header(8, 3, "SDIG"), eBadHeader, "Bad Sdif Header : SDIF not correctly read\n"},
      {header(8, 2), eBadFormatVersion,
       "Bad Format Version : File is in an old SDIF format version (2).  The library (version "
       "3) is not backwards compatible."},
      {header(8, 4), eBadFormatVersion,
       "Bad Format Version : file is in a newer SDIF format version (4) than the library (3)"},
  };
  for (Case const& c : cases) {
    ASSERT_TRUE(c.bytes.WriteTo(path));
    SdifFilePtr f = open();
    EXPECT_EQ(SdifFReadGeneralHeader(f.get()), 0u);
    ASSERT_NE(SdifFLastError(f.get()), nullptr);
    EXPECT_EQ(SdifFLastError(f.get())->tag, c.tag);
    EXPECT_EQ(SdifFLastError(f.get())->text, c.text);
  }
}

TEST_F(SdifFileTest, EmptyFileEndsAtOnceAndIsNoSdifFile) {
  ASSERT_TRUE(Bytes().WriteTo(path));
  EXPECT_EQ(SdifCheckFileFormat(path.c_str()), 0);
  SdifFilePtr f = open();
  ASSERT_TRUE(f);
  EXPECT_EQ(SdifFGetSignature(f.get(), nullptr), eEof);
  EXPECT_EQ(SdifFLastError(f.get()), nullptr);
  EXPECT_EQ(SdifCheckFileFormat("/nonexistent/file.sdif"), 0);
  EXPECT_EQ(SdifFOpen("/nonexistent/file.sdif", eReadFile), nullptr);
}

// A file of one text chunk of the given signature and text, then one data
// frame "1GAI" with one 1GAI matrix of one float.
Bytes withChunk(char const* chunk, std::string const& text, std::uint32_t columns = 1) {
  Bytes b = header();
  std::size_t const pad = SdifPaddingCalculate(text.size());
  b.Tag(chunk).U32(static_cast<std::uint32_t>(16 + 16 + text.size() + pad)).F64(0).U32(0).U32(1);
  b.Tag(chunk).U32(eText).U32(static_cast<std::uint32_t>(text.size() / columns)).U32(columns);
  b.Text(text).Zeros(pad);
  b.Tag("1GAI").U32(40).F64(0).U32(0).U32(1).Tag("1GAI").U32(eFloat4).U32(1).U32(1).F32(2.f).Zeros(
      4);
  return b;
}

std::vector<SdifNameValueT> firstTable(SdifFileT* f) {
  auto const& tables = SdifFNameValueList(f)->tables;
  return tables.empty() ? std::vector<SdifNameValueT>() : tables.front()->GetEntries();
}

TEST_F(SdifFileTest, NameValueTextRules) {
  {
    // An unfinished last line is dropped; what went before stays.
    ASSERT_TRUE(withChunk("1NVT", "a\t1\nb\t2\nc\t3").WriteTo(path));
    SdifFilePtr f = open();
    SdifFReadGeneralHeader(f.get());
    SdifFReadAllASCIIChunks(f.get());
    EXPECT_EQ(SdifFCurrSignature(f.get()), sig("1GAI"));
    auto const entries = firstTable(f.get());
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[1].name, "b");
    EXPECT_EQ(entries[1].value, "2");
    EXPECT_EQ(SdifFLastError(f.get()), nullptr);
  }
  {
    // A second entry of a name is refused and the first kept.
    ASSERT_TRUE(withChunk("1NVT", "a\t1\na\t2\n").WriteTo(path));
    SdifFilePtr f = open();
    SdifFReadGeneralHeader(f.get());
    SdifFReadAllASCIIChunks(f.get());
    auto const entries = firstTable(f.get());
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].value, "1");
    EXPECT_EQ(lastErrorText(f.get()), "a redefined\n");
    EXPECT_EQ(SdifFLastError(f.get())->level, eError);
  }
  {
    ASSERT_TRUE(withChunk("1NVT", "a\t1\nb\t2\n", 3).WriteTo(path));
    SdifFilePtr f = open();
    SdifFReadGeneralHeader(f.get());
    SdifFReadAllASCIIChunks(f.get());
    EXPECT_EQ(lastErrorText(f.get()),
              "Syntax error: Name-Value Table text matrix must have exactly one column!\n");
    EXPECT_EQ(SdifFCurrSignature(f.get()), sig("1GAI"));  // the chunk was skipped whole
  }
}

TEST_F(SdifFileTest, OlderNameValueFormIsRead) {
  Bytes b = header();
  std::string const text = "{\n  TableName Infos;\n  Author  Some One ;\n}";
  b.Tag("1NVT").U32(static_cast<std::uint32_t>(16 + text.size())).F64(0).U32(0).U32(0).Text(text);
  b.Tag("1GAI").U32(40).F64(0).U32(0).U32(1).Tag("1GAI").U32(eFloat4).U32(1).U32(1).F32(2.f).Zeros(
      4);
  ASSERT_TRUE(b.WriteTo(path));
  SdifFilePtr f = open();
  SdifFReadGeneralHeader(f.get());
  SdifFReadAllASCIIChunks(f.get());
  auto const entries = firstTable(f.get());
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[1].name, "Author");
  EXPECT_EQ(entries[1].value, "Some One");
  EXPECT_EQ(SdifFCurrSignature(f.get()), sig("1GAI"));
}

// One data frame after a 1TYP chunk: frame "FRAM" with the given matrices.
struct MatrixSpec {
  char const* signature;
  std::uint32_t dataType;
  std::uint32_t rows, columns;
};

// The general header and one 1TYP chunk.
Bytes typesFile(std::string const& types) {
  Bytes b = header();
  std::size_t const pad = SdifPaddingCalculate(types.size());
  b.Tag("1TYP").U32(static_cast<std::uint32_t>(32 + types.size() + pad)).F64(0).U32(0).U32(1);
  b.Tag("1TYP")
      .U32(eText)
      .U32(static_cast<std::uint32_t>(types.size()))
      .U32(1)
      .Text(types)
      .Zeros(pad);
  return b;
}

Bytes frameFile(std::string const& types, char const* frame, std::vector<MatrixSpec> const& ms) {
  Bytes b = typesFile(types);
  Bytes body;
  for (MatrixSpec const& m : ms) {
    std::size_t const size = SdifDataTypeKnown(m.dataType) ? SdifSizeofDataType(m.dataType) : 4;
    std::size_t const n = std::size_t(m.rows) * m.columns * size;
    body.Tag(m.signature).U32(m.dataType).U32(m.rows).U32(m.columns);
    for (std::size_t i = 0; i < n; ++i) body.U8(static_cast<unsigned>(i + 1));
    body.Zeros(SdifPaddingCalculate(n));
  }
  b.Tag(frame)
      .U32(static_cast<std::uint32_t>(16 + body.Size()))
      .F64(1)
      .U32(7)
      .U32(static_cast<std::uint32_t>(ms.size()));
  return b.Append(body.Get());
}

TEST_F(SdifFileTest, TypeChecksOfFramesAndMatrices) {
  std::string const types = "1MTD MATA {a, b}\n1MTD MATB {c}\n1FTD FRAM {MATA first; MATB second;}";
  struct Case {
    char const* frame;
    std::vector<MatrixSpec> matrices;
    char const* lastText;
  } const cases[] = {
      {"FRAM", {{"MATA", eFloat4, 1, 2}, {"MATB", eFloat8, 2, 1}}, nullptr},
      {"FRAX", {{"MATA", eFloat4, 1, 2}}, "Frame Type 'FRAX' (0x46524158) undefined\n"},
      {"FRAM",
       {{"MATX", eFloat4, 1, 1}},
       "Matrix is not in frames components : 'MATX' in frame 'FRAM'\n"},
      {"FRAM",
       {{"MATA", eFloat4, 1, 1}, {"MATA", eFloat4, 1, 1}},
       "Matrix has been used in this frame yet : MATA\n"},
      {"FRAM",
       {{"MATB", 0x0777, 1, 3}},
       "Type of data not actualy supported :  0x0777, then Float4 used\n"},
  };
  for (Case const& c : cases) {
    ASSERT_TRUE(frameFile(types, c.frame, c.matrices).WriteTo(path));
    SdifFilePtr f = open();
    SdifFReadGeneralHeader(f.get());
    SdifFReadAllASCIIChunks(f.get());
    SdifFReadFrameHeader(f.get());
    EXPECT_EQ(SdifFCurrID(f.get()), 7u);
    EXPECT_EQ(SdifFCurrNbMatrix(f.get()), c.matrices.size());
    for (std::size_t m = 0; m < c.matrices.size(); ++m) {
      EXPECT_EQ(SdifFReadMatrixHeader(f.get()), 16u);
      EXPECT_EQ(SdifFCurrNbCol(f.get()), c.matrices[m].columns);
      SdifFSkipMatrixData(f.get());
    }
    EXPECT_EQ(SdifFGetSignature(f.get(), nullptr), eEof) << c.frame;
    if (c.lastText == nullptr) {
      EXPECT_EQ(SdifFLastError(f.get()), nullptr) << lastErrorText(f.get());
    } else {
      EXPECT_EQ(lastErrorText(f.get()), c.lastText);
    }
  }
  // An unknown data type reads as 32-bit floats: 3 values, 12 bytes, 4 of padding.
  ASSERT_TRUE(frameFile(types, "FRAM", {{"MATB", 0x0777, 1, 3}}).WriteTo(path));
  SdifFilePtr f = open();
  SdifFReadGeneralHeader(f.get());
  SdifFReadAllASCIIChunks(f.get());
  SdifFReadFrameHeader(f.get());
  SdifFReadMatrixHeader(f.get());
  EXPECT_EQ(SdifFCurrDataType(f.get()), eFloat4);
  EXPECT_EQ(SdifFReadOneRow(f.get()), 12u);
  EXPECT_EQ(SdifFReadPadding(f.get(), SdifPaddingCalculate(12)), 4u);
  EXPECT_EQ(SdifFGetSignature(f.get(), nullptr), eEof);
}

TEST_F(SdifFileTest, ValuesOfEveryDataTypeAndColumnIndices) {
  Bytes body;
  body.Tag("MATB").U32(eInt1).U32(1).U32(2).U8(0xFF).U8(0x7F).Zeros(6);
  body.Tag("MATC").U32(eUInt2).U32(1).U32(1).U16(0xFFFE).Zeros(6);
  body.Tag("MATD").U32(eInt4).U32(1).U32(1).U32(0xFFFFFFFEu).Zeros(4);
  body.Tag("MATE").U32(eUInt4).U32(1).U32(1).U32(0xFFFFFFFEu).Zeros(4);
  body.Tag("MATA").U32(eInt2).U32(1).U32(1).U16(0x8000).Zeros(6);
  Bytes file = typesFile(
      "1MTD MATA {a} 1MTD MATB {a} 1MTD MATC {a} 1MTD MATD {a} 1MTD MATE {a}\n"
      "1FTD FRAM {MATA a; MATB b; MATC c; MATD d; MATE e;}");
  file.Tag("FRAM").U32(static_cast<std::uint32_t>(16 + body.Size())).F64(0).U32(1).U32(5);
  ASSERT_TRUE(file.Append(body.Get()).WriteTo(path));

  SdifFilePtr f = open();
  SdifFReadGeneralHeader(f.get());
  SdifFReadAllASCIIChunks(f.get());
  SdifFReadFrameHeader(f.get());
  std::vector<double> values;
  for (int m = 0; m < 5; ++m) {
    SdifFReadMatrixHeader(f.get());
    SdifFReadOneRow(f.get());
    for (SdifUInt4 c = 1; c <= SdifFCurrNbCol(f.get()); ++c) {
      values.push_back(SdifFCurrOneRowCol(f.get(), c));
    }
    SdifFSkipMatrixData(f.get());  // the padding
  }
  EXPECT_EQ(values, (std::vector<double>{-1, 127, 65534, -2, 4294967294.0, -32768}));
  EXPECT_EQ(SdifFLastError(f.get()), nullptr) << lastErrorText(f.get());
  EXPECT_EQ(SdifFCurrOneRowCol(f.get(), 0), 0.0);
  EXPECT_EQ(SdifFLastError(f.get())->tag, eBadColumn);
  EXPECT_EQ(SdifFCurrOneRowCol(f.get(), 2), 0.0);
  EXPECT_EQ(SdifFGetSignature(f.get(), nullptr), eEof);
}

TEST_F(SdifFileTest, SkippingAFrameLandsOnTheNext) {
  writeExample(path);
  SdifFilePtr f = open();
  SdifFReadGeneralHeader(f.get());
  SdifFReadAllASCIIChunks(f.get());
  SdifFReadFrameHeader(f.get());
  SdifFReadMatrixHeader(f.get());  // half-read: the rest is skipped
  EXPECT_EQ(SdifFSkipFrameData(f.get()), (12u + 4u) + (16u + 8u));
  ASSERT_EQ(SdifFGetSignature(f.get(), nullptr), eSignatureRead);
  SdifFReadFrameHeader(f.get());
  EXPECT_EQ(SdifFCurrID(f.get()), 2u);
  EXPECT_EQ(SdifFSkipFrameData(f.get()), (16u + 16u) + (16u + 8u));
  EXPECT_EQ(SdifFGetSignature(f.get(), nullptr), eEof);
  EXPECT_EQ(SdifFLastError(f.get()), nullptr);
}

}  // namespace
