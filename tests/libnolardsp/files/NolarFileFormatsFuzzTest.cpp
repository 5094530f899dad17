#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "NolarAudioBuffer.h"
#include "NolarAudioFileReader.h"
#include "NolarFile.h"
#include "NolarSdifFile.h"
#include "NolarSdifWriter.h"
#include "ZorvFuzzHarness.h"
#include "ZorvTestFiles.h"

// Malformed files of every format this library reads: each variant must load
// or be refused cleanly. `make fuzz` runs many more mutations (ZORV_FUZZ_MUTATIONS).
namespace {

using namespace nolardsp;

constexpr std::size_t defaultMutations = 5000;

std::vector<unsigned char> savedBytes(std::string const& path) {
  std::vector<unsigned char> b = zorvtest::ReadFileBytes(path);
  std::remove(path.c_str());
  return b;
}

// Walks a whole SDIF file the way a loader does, reading every value; reports
// in the file's list do not stop it, so that the walk reaches as deep as the
// bytes allow.
bool walkSdif(std::string const& path) {
  SdifGenInitCond("");
  if (!SdifCheckFileFormat(path.c_str())) return false;
  SdifFilePtr f(SdifFOpen(path.c_str(), eReadFile));
  if (!f) return false;
  SdifFSetErrorOutput(f.get(), false);
  if (SdifFReadGeneralHeader(f.get()) == 0) return false;
  SdifFReadAllASCIIChunks(f.get());
  std::size_t bytes = 0;
  if (SdifFCurrSignature(f.get()) == 0) return true;  // no frames
  for (;;) {
    SdifFReadFrameHeader(f.get());
    SdifUInt4 const n = SdifFCurrNbMatrix(f.get());
    if (SdifFCurrID(f.get()) % 4 == 3) {
      SdifFSkipFrameData(f.get());
    } else {
      for (SdifUInt4 m = 0; m < n; ++m) {
        if (SdifFReadMatrixHeader(f.get()) == 0) break;
        std::size_t read = 0;
        for (SdifUInt4 r = 0; r < SdifFCurrNbRow(f.get()); ++r) {
          read += SdifFReadOneRow(f.get());
          double sum = 0;
          for (SdifUInt4 c = 1; c <= SdifFCurrNbCol(f.get()); ++c) {
            sum += SdifFCurrOneRowCol(f.get(), c);
          }
          (void)sum;
        }
        SdifFReadPadding(f.get(), SdifFPaddingCalculate(nullptr, read));
      }
    }
    if (SdifFGetSignature(f.get(), &bytes) == eEof) break;
  }
  return SdifFLastError(f.get()) == nullptr;
}

// Loads the file into a buffer; what a load may allocate is bounded by the
// file: at most one float per byte of samples.
bool loadAudio(std::string const& path) {
  AudioBuffer b(0, 0, true);
  b.LoadFromAudioFile(path.c_str());
  std::uint64_t const fileSize = File::GetSize(path.c_str());
  EXPECT_LE(static_cast<std::uint64_t>(b.GetNumChannels()) * b.GetNumSamples(), fileSize);
  // A read far past the end must stay silent and cheap.
  std::unique_ptr<AudioFileReader> r(AudioFileReader::CreateReaderFor(path.c_str()));
  if (r && r->IsUsable()) {
    AudioBuffer tail(static_cast<unsigned int>(r->GetNumChannels()), 8, true);
    r->ReadSamples(tail, 0, 8, r->GetLengthInSamples() - 1);
  }
  return b.GetNumChannels() > 0;
}

std::vector<std::vector<unsigned char>> sdifSeeds() {
  std::string const path = zorvtest::TempPath("seed.sdif");
  std::vector<std::vector<unsigned char>> seeds;
  {
    SdifWriter w(path);
    w.WriteGeneralHeader();
    w.WriteTypes("1MTD XFIR {Coefficients}\n1MTD XAED {A, E, D}\n1FTD HRTF {XAED Pos; XFIR Fir;}");
    w.WriteNameValueTable({{"TableName", "HrtfInfos"}, {"NumPoints", "2"}});
    for (std::uint32_t k = 1; k <= 3; ++k) {
      w.BeginFrame(SdifStringToSignature("HRTF"), 0.0, k);
      w.WriteMatrix(SdifStringToSignature("XAED"), eFloat8, 1, 3, {30.0 * k, 0.0, 1.0});
      w.WriteMatrix(SdifStringToSignature("XFIR"), eFloat4, 2, 3, {1, 0.5, 0.25, -1, -0.5, 0.125});
      w.EndFrame();
    }
    w.Close();
    seeds.push_back(savedBytes(path));
  }
  {
    // Header padding, a stream chunk, several tables, a 1GAI frame.
    SdifWriter w(path);
    w.WriteGeneralHeader(1, 8);
    w.WriteStreamInfo("{ 1 s; }");
    w.WriteNameValueTable({{"a", "1"}, {"b", "2"}});
    w.WriteNameValueTable({{"a", "3"}});
    w.BeginFrame(SdifStringToSignature("1GAI"), 1.5, 0);
    w.WriteMatrix(SdifStringToSignature("1GAI"), eFloat4, 1, 1, {0.5});
    w.EndFrame();
    w.Close();
    seeds.push_back(savedBytes(path));
  }
  return seeds;
}

std::vector<std::vector<unsigned char>> audioSeeds(char const* extension,
                                                   std::vector<int> const& depths) {
  std::string const path = zorvtest::TempPath(std::string("seed") + extension);
  std::vector<std::vector<unsigned char>> seeds;
  unsigned int channels = 1;
  for (int bits : depths) {
    AudioBuffer b(channels, 11, true);
    for (unsigned int c = 0; c < channels; ++c) {
      for (unsigned long k = 0; k < 11; ++k) {
        b.GetChannel(c)[k] = static_cast<float>(std::sin(0.3 * (k + 5.0 * c)));
      }
    }
    b.SaveAsAudioFile(path.c_str(), 44100, bits, true);
    seeds.push_back(savedBytes(path));
    channels = channels % 3 + 1;
  }
  return seeds;
}

// A WAV with the extensible header and a foreign chunk before the data.
std::vector<unsigned char> extensibleWav() {
  zorvtest::Bytes b(false);
  b.Tag("RIFF").U32(0).Tag("WAVE");
  b.Tag("fmt ").U32(40).U16(0xFFFE).U16(2).U32(48000).U32(48000 * 6).U16(6).U16(24);
  b.U16(22).U16(24).U32(3).U16(1).Zeros(14);
  b.Tag("LIST").U32(5).Text("INFOx").U8(0);
  b.Tag("data").U32(24);
  for (int i = 0; i < 8; ++i) b.U24(static_cast<std::uint32_t>(i * 0x111111));
  return b.Get();
}

// An AIFC with the little-endian compression type.
std::vector<unsigned char> sowtAiff() {
  zorvtest::Bytes b(true);
  b.Tag("FORM").U32(0).Tag("AIFC").Tag("FVER").U32(4).U32(0xA2805140u);
  b.Tag("COMM").U32(24).U16(2).U32(3).U16(16).U8(0x40).U8(0x0E).U8(0xAC).U8(0x44).Zeros(6);
  b.Tag("sowt").U16(0);
  b.Tag("SSND").U32(8 + 12).U32(0).U32(0);
  for (int i = 0; i < 6; ++i) b.U16(static_cast<std::uint32_t>(i * 1000));
  return b.Get();
}

zorvtest::FuzzOptions options(char const* extension) {
  zorvtest::FuzzOptions o;
  o.extension = extension;
  o.mutations = zorvtest::FuzzMutationsFromEnvironment(defaultMutations);
  return o;
}

void expectBoth(zorvtest::FuzzResult const& r) {
  EXPECT_EQ(r.failures, 0u);
  // Both outcomes occur: the seeds load, most mutations are refused or load.
  EXPECT_GT(r.accepted, 0u);
  EXPECT_GT(r.refused, 0u);
  std::cout << "[ fuzz     ] " << r.loads << " loads: " << r.accepted << " clean, " << r.refused
            << " refused\n";
}

TEST(FileFormatsFuzz, SdifFilesLoadOrAreRefused) {
  zorvtest::FuzzResult const r = zorvtest::FuzzLoads(sdifSeeds(), walkSdif, options(".sdif"));
  expectBoth(r);
}

TEST(FileFormatsFuzz, WavFilesLoadOrAreRefused) {
  std::vector<std::vector<unsigned char>> seeds = audioSeeds(".wav", {8, 16, 24, 32});
  seeds.push_back(extensibleWav());
  expectBoth(zorvtest::FuzzLoads(seeds, loadAudio, options(".wav")));
}

TEST(FileFormatsFuzz, AiffFilesLoadOrAreRefused) {
  std::vector<std::vector<unsigned char>> seeds = audioSeeds(".aiff", {8, 16, 24});
  seeds.push_back(sowtAiff());
  expectBoth(zorvtest::FuzzLoads(seeds, loadAudio, options(".aiff")));
}

// The harness itself: the same seed gives the same mutations, so a failure
// can be replayed.
TEST(FuzzHarness, MutationsAreReproducible) {
  std::vector<unsigned char> const bytes(100, 7);
  std::uint64_t a = 42, b = 42;
  for (int i = 0; i < 50; ++i)
    EXPECT_EQ(zorvtest::MutateBytes(bytes, a), zorvtest::MutateBytes(bytes, b));
}

}  // namespace
