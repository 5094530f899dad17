#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "NolarAiffFileReader.h"
#include "NolarAiffFileWriter.h"
#include "NolarAudioBuffer.h"
#include "NolarAudioFileReader.h"
#include "NolarAudioFileWriter.h"
#include "NolarException.h"
#include "NolarFile.h"
#include "NolarWavFileReader.h"
#include "ZorvFuzzHarness.h"
#include "ZorvTestFiles.h"

namespace {

using namespace nolardsp;
using zorvtest::Bytes;

struct Format {
  char const* extension;
  int bits;
};

std::string name(::testing::TestParamInfo<Format> const& info) {
  return std::string(info.param.extension + 1) + std::to_string(info.param.bits);
}

class AudioFileRoundTrip : public ::testing::TestWithParam<Format> {
 protected:
  void TearDown() override { std::remove(path.c_str()); }
  std::string path = zorvtest::TempPath(std::string("roundtrip") + GetParam().extension);
};

// Values on the grid of the file's depth come back bit for bit; float files
// give back every float, and values between grid points land within one step
// below them.
TEST_P(AudioFileRoundTrip, WrittenSamplesReadBackExactly) {
  Format const f = GetParam();
  unsigned int const channels = 3;
  unsigned long const frames = 1001;  // odd: an 8-bit mono AIFF would need its pad byte
  AudioBuffer out(channels, frames, true);
  double const step = f.bits == 32 ? 0.0 : std::ldexp(1.0, 1 - f.bits);
  for (unsigned int c = 0; c < channels; ++c) {
    for (unsigned long k = 0; k < frames; ++k) {
      double x;
      if (c == 0) {
        // The grid, both extremes included.
        x = f.bits == 32 ? std::sin(0.01 * k) : -1.0 + step * ((k * 977) % (2u << (f.bits - 1)));
        if (k == 0) x = -1.0;
        if (k == 1 && f.bits != 32) x = 1.0 - step;
      } else {
        x = 0.999 * std::sin(0.37 * k + c);  // between grid points
      }
      out.GetChannel(c)[k] = static_cast<float>(x);
    }
  }
  out.SaveAsAudioFile(path.c_str(), 48000, f.bits, true);

  std::unique_ptr<AudioFileReader> reader(AudioFileReader::CreateReaderFor(path.c_str()));
  ASSERT_TRUE(reader && reader->IsUsable());
  EXPECT_EQ(reader->GetSampleRate(), 48000);
  EXPECT_EQ(reader->GetNumChannels(), 3);
  EXPECT_EQ(reader->GetBitsPerSample(), f.bits);
  EXPECT_EQ(reader->UsesFloatingPointData(), f.bits == 32);

  AudioBuffer in(0, 0, true);
  in.LoadFromAudioFile(path.c_str());
  ASSERT_EQ(in.GetNumChannels(), channels);
  ASSERT_EQ(in.GetNumSamples(), frames);
  for (unsigned long k = 0; k < frames; ++k) {
    ASSERT_EQ(in.GetChannel(0)[k], out.GetChannel(0)[k]) << k;
    for (unsigned int c = 1; c < channels; ++c) {
      float const written = out.GetChannel(c)[k], read = in.GetChannel(c)[k];
      if (f.bits == 32) {
        ASSERT_EQ(read, written);
      } else {
        ASSERT_LE(read, written + 1e-7);
        ASSERT_GT(read, written - step - 1e-7);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, AudioFileRoundTrip,
                         ::testing::Values(Format{".wav", 8}, Format{".wav", 16},
                                           Format{".wav", 24}, Format{".wav", 32},
                                           Format{".aiff", 8}, Format{".aiff", 16},
                                           Format{".aiff", 24}),
                         name);

class AudioFileLayout : public ::testing::Test {
 protected:
  void TearDown() override {
    std::remove(wav.c_str());
    std::remove(aiff.c_str());
  }
  std::string wav = zorvtest::TempPath("layout.wav");
  std::string aiff = zorvtest::TempPath("layout.aiff");
};

TEST_F(AudioFileLayout, HeadersAreTheCanonicalOnes) {
  AudioBuffer b(2, 3, true);
  float const left[] = {1.0f, -1.0f, 0.5f}, right[] = {0.0f, -0.5f, 0.25f};
  b.CopyFrom(0, 0, left, 3, 1.f);
  b.CopyFrom(1, 0, right, 3, 1.f);

  b.SaveAsAudioFile(wav.c_str(), 44100, 16, true);
  Bytes w(false);
  w.Tag("RIFF").U32(12 + 36).Tag("WAVE");
  w.Tag("fmt ").U32(16).U16(1).U16(2).U32(44100).U32(44100 * 4).U16(4).U16(16);
  w.Tag("data").U32(12);
  w.U16(0x7FFF).U16(0).U16(0x8000).U16(0xC000).U16(0x4000).U16(0x2000);  // 1.0 gives 0x7FFF
  EXPECT_EQ(zorvtest::ReadFileBytes(wav), w.Get());

  b.SaveAsAudioFile(aiff.c_str(), 44100, 24, true);
  Bytes a(true);
  a.Tag("FORM").U32(18 + 46).Tag("AIFF");
  a.Tag("COMM").U32(18).U16(2).U32(3).U16(24);
  a.U8(0x40).U8(0x0E).U8(0xAC).U8(0x44).Zeros(6);  // 44100 as an 80-bit float
  a.Tag("SSND").U32(18 + 8).U32(0).U32(0);
  a.U24(0x7FFFFF).U24(0).U24(0x800000).U24(0xC00000).U24(0x400000).U24(0x200000);
  EXPECT_EQ(zorvtest::ReadFileBytes(aiff), a.Get());

  // 32-bit WAV: format tag 3, the floats as they are.
  b.SaveAsAudioFile(wav.c_str(), 96000, 32, true);
  std::vector<unsigned char> const f = zorvtest::ReadFileBytes(wav);
  ASSERT_EQ(f.size(), 44u + 24u);
  EXPECT_EQ(f[20], 3);
  EXPECT_EQ(f[34], 32);
  EXPECT_EQ(f[44 + 3], 0x3F);  // 1.0f = 0x3F800000, little-endian
}

TEST(AiffRate, EightyBitFloatOfIntegerRates) {
  struct Case {
    double rate;
    std::vector<unsigned char> bytes;
  } const cases[] = {
      {44100, {0x40, 0x0E, 0xAC, 0x44, 0, 0, 0, 0, 0, 0}},
      {48000, {0x40, 0x0E, 0xBB, 0x80, 0, 0, 0, 0, 0, 0}},
      {2, {0x40, 0x00, 0x80, 0, 0, 0, 0, 0, 0, 0}},
      {0.5, {0x3F, 0xFF, 0x80, 0, 0, 0, 0, 0, 0, 0}},
      {1073741823, {0x40, 0x1C, 0xFF, 0xFF, 0xFF, 0xFC, 0, 0, 0, 0}},
  };
  for (Case const& c : cases) {
    unsigned char b[10];
    AiffFileWriter::RateToExtended(c.rate, b);
    EXPECT_EQ(std::vector<unsigned char>(b, b + 10), c.bytes) << c.rate;
  }
}

TEST(AudioFileWriterCreation, RefusesWithItsTexts) {
  std::string const path = zorvtest::TempPath("creation.aiff");
  std::string const wav = zorvtest::TempPath("creation.wav");
  auto message = [](auto&& make) {
    try {
      std::unique_ptr<AudioFileWriter> w(make());
    } catch (Exception const& e) {
      return std::string(e.what());
    }
    return std::string("no exception");
  };
  EXPECT_EQ(
      message([&] { return AudioFileWriter::CreateWriterFor(path.c_str(), 44100, 1, 32, true); }),
      "Invalid bits depth : 32");
  EXPECT_EQ(message([&] { return AudioFileWriter::CreateWriterFor(wav.c_str(), 0, 1, 16, true); }),
            "Invalid samplerate : 0.00");
  EXPECT_EQ(
      message([&] { return AudioFileWriter::CreateWriterFor(wav.c_str(), 44100, 1, 12, true); }),
      "Invalid bits depth : 12");
  ASSERT_TRUE(zorvtest::WriteFileBytes(wav, {1, 2, 3}));
  EXPECT_EQ(
      message([&] { return AudioFileWriter::CreateWriterFor(wav.c_str(), 44100, 1, 16, false); }),
      "File already exists : " + wav);
  EXPECT_EQ(zorvtest::ReadFileBytes(wav).size(), 3u);  // left alone
  EXPECT_EQ(AudioFileWriter::CreateWriterFor("", 44100, 1, 16, true), nullptr);
  EXPECT_EQ(
      AudioFileWriter::CreateWriterFor(zorvtest::TempPath("x.flac").c_str(), 44100, 1, 16, true),
      nullptr);
  std::remove(wav.c_str());
  std::remove(path.c_str());
}

// The header is rewritten after each call: the file is whole after every one.
TEST(AudioFileWriterCreation, FileIsValidAfterEveryWrite) {
  std::string const path = zorvtest::TempPath("growing.aiff");
  std::unique_ptr<AudioFileWriter> w(
      AudioFileWriter::CreateWriterFor(path.c_str(), 22050, 1, 8, true));
  AudioBuffer b(1, 5, true);
  b.Fill(0.5f);
  for (int round = 1; round <= 3; ++round) {
    ASSERT_TRUE(w->WriteSamples(b, 0, 5));
    AiffFileReader r(path.c_str());
    EXPECT_EQ(r.GetLengthInSamples(), 5u * round);
    EXPECT_EQ(File::GetSize(path.c_str()), 54u + 5u * round + (round % 2));  // pad byte when odd
  }
  w.reset();
  std::remove(path.c_str());
}

class AudioFileReading : public ::testing::Test {
 protected:
  void TearDown() override { std::remove(path.c_str()); }

  // A WAV of the given fmt fields and data bytes.
  static Bytes wavFile(std::uint16_t tag, std::uint16_t channels, std::uint32_t rate,
                       std::uint16_t bits, std::vector<unsigned char> const& data) {
    Bytes b(false);
    std::uint16_t const align = static_cast<std::uint16_t>(channels * (bits / 8));
    b.Tag("RIFF").U32(static_cast<std::uint32_t>(36 + data.size())).Tag("WAVE");
    b.Tag("fmt ").U32(16).U16(tag).U16(channels).U32(rate).U32(rate * align).U16(align).U16(bits);
    b.Tag("data").U32(static_cast<std::uint32_t>(data.size())).Append(data);
    return b;
  }

  // The loaded buffer, and whether its shape was as expected.
  std::vector<float> load(unsigned int channel = 0) {
    AudioBuffer b(0, 0, true);
    b.LoadFromAudioFile(path.c_str());
    loadedChannels = b.GetNumChannels();
    if (channel >= b.GetNumChannels()) return {};
    return std::vector<float>(b.GetChannel(channel), b.GetChannel(channel) + b.GetNumSamples());
  }

  std::string path = zorvtest::TempPath("reading.wav");
  unsigned int loadedChannels = 0;
};

TEST_F(AudioFileReading, SampleValuesOfEachDepth) {
  ASSERT_TRUE(wavFile(1, 1, 8000, 16, {0xFF, 0x7F, 0x00, 0x80}).WriteTo(path));
  std::vector<float> v = load();
  ASSERT_EQ(v.size(), 2u);
  EXPECT_FLOAT_EQ(v[0], 32767.f / 32768.f);  // about 0.99997
  EXPECT_EQ(v[1], -1.f);

  ASSERT_TRUE(wavFile(1, 1, 8000, 8, {128, 0, 255}).WriteTo(path));
  v = load();
  EXPECT_EQ(v, (std::vector<float>{0.f, -1.f, 127.f / 128.f}));

  ASSERT_TRUE(wavFile(1, 1, 8000, 24, {0x00, 0x00, 0x80, 0x01, 0x00, 0x00}).WriteTo(path));
  v = load();
  EXPECT_EQ(v, (std::vector<float>{-1.f, 1.f / 8388608.f}));

  ASSERT_TRUE(wavFile(1, 1, 8000, 32, {0x00, 0x00, 0x00, 0x80}).WriteTo(path));  // 32-bit PCM
  EXPECT_EQ(load(), (std::vector<float>{-1.f}));

  // 20 valid bits in a 24-bit container read as 24.
  Bytes twenty = wavFile(1, 1, 8000, 24, {0x00, 0x00, 0x40});
  std::vector<unsigned char> bytes = twenty.Get();
  bytes[34] = 20;
  ASSERT_TRUE(zorvtest::WriteFileBytes(path, bytes));
  EXPECT_EQ(load(), (std::vector<float>{0.5f}));
}

TEST_F(AudioFileReading, ExtensibleHeaderReadsThroughItsSubFormat) {
  for (std::uint16_t sub : {1, 3}) {
    std::uint16_t const bits = sub == 1 ? 24 : 32;
    std::uint16_t const align = 2 * bits / 8;
    Bytes b(false);
    b.Tag("RIFF").U32(0).Tag("WAVE");
    b.Tag("fmt ").U32(40).U16(0xFFFE).U16(2).U32(44100).U32(44100 * align).U16(align).U16(bits);
    b.U16(22).U16(bits).U32(3).U16(sub).Text(
        std::string("\x00\x00\x00\x00\x10\x00\x80\x00\x00\xAA\x00\x38\x9B\x71", 14));
    Bytes data(false);
    if (sub == 1) {
      data.U24(0x400000).U24(0xC00000);
    } else {
      data.F32(0.25f).F32(-0.75f);
    }
    b.Tag("data").U32(static_cast<std::uint32_t>(data.Size())).Append(data.Get());
    ASSERT_TRUE(b.WriteTo(path));
    EXPECT_EQ(load(0), (std::vector<float>{sub == 1 ? 0.5f : 0.25f}));
    EXPECT_EQ(load(1), (std::vector<float>{sub == 1 ? -0.5f : -0.75f}));
  }
}

TEST_F(AudioFileReading, OddChunksArePaddedAndForeignChunksSkipped) {
  Bytes b(false);
  b.Tag("RIFF").U32(0).Tag("WAVE");
  b.Tag("bext").U32(3).Text("abc").U8(0);  // odd size: one pad byte follows
  b.Tag("fmt ").U32(16).U16(1).U16(1).U32(8000).U32(16000).U16(2).U16(16);
  b.Tag("LIST").U32(4).Text("INFO");
  b.Tag("data").U32(2).U16(0x4000);
  ASSERT_TRUE(b.WriteTo(path));
  EXPECT_EQ(load(), (std::vector<float>{0.5f}));
}

TEST_F(AudioFileReading, SowtAiffIsLittleEndian) {
  path = zorvtest::TempPath("reading.aiff");
  for (bool sowt : {false, true}) {
    Bytes b(true);
    b.Tag("FORM").U32(0).Tag("AIFC");
    b.Tag("FVER").U32(4).U32(0xA2805140u);
    b.Tag("COMM").U32(24).U16(1).U32(2).U16(16).U8(0x40).U8(0x0E).U8(0xAC).U8(0x44).Zeros(6);
    b.Tag(sowt ? "sowt" : "NONE").U16(0);
    b.Tag("SSND").U32(8 + 4).U32(0).U32(0).U8(0x40).U8(0x00).U8(0xC0).U8(0x00);
    ASSERT_TRUE(b.WriteTo(path));
    std::unique_ptr<AudioFileReader> r(AudioFileReader::CreateReaderFor(path.c_str()));
    EXPECT_EQ(r->GetSampleRate(), 44100);
    std::vector<float> const expected = sowt ? std::vector<float>{64.f / 32768.f, 192.f / 32768.f}
                                             : std::vector<float>{0.5f, -0.5f};
    EXPECT_EQ(load(), expected);
  }
}

// Each of these files is unusable: the reader is empty and the buffer too.
TEST_F(AudioFileReading, UnusableFilesGiveEmptyReaders) {
  std::vector<unsigned char> const two = {1, 0, 2, 0};
  Bytes longData = wavFile(1, 1, 8000, 16, two);
  std::vector<unsigned char> bytes = longData.Get();
  bytes[40] = 200;  // the data chunk declares more than the file holds
  Bytes aifc(true);
  aifc.Tag("FORM").U32(0).Tag("AIFC").Tag("FVER").U32(4).U32(0xA2805140u);
  aifc.Tag("COMM").U32(24).U16(1).U32(1).U16(32).U8(0x40).U8(0x0E).U8(0xAC).U8(0x44).Zeros(6);
  aifc.Tag("fl32").U16(0).Tag("SSND").U32(12).U32(0).U32(0).U32(0);
  Bytes slowAiff(true);
  slowAiff.Tag("FORM").U32(0).Tag("AIFF");
  slowAiff.Tag("COMM").U32(18).U16(1).U32(1).U16(16).U8(0x3F).U8(0xFF).U8(0x80).Zeros(7);
  slowAiff.Tag("SSND").U32(10).U32(0).U32(0).U16(0);

  struct Case {
    char const* what;
    std::vector<unsigned char> bytes;
    char const* extension;
  } const cases[] = {
      {"rate 0", wavFile(1, 1, 0, 16, two).Get(), ".wav"},
      {"no channels", wavFile(1, 0, 8000, 16, two).Get(), ".wav"},
      {"12 bits", wavFile(1, 1, 8000, 12, two).Get(), ".wav"},
      {"64-bit float", wavFile(3, 1, 8000, 64, std::vector<unsigned char>(16, 0)).Get(), ".wav"},
      {"16-bit float", wavFile(3, 1, 8000, 16, two).Get(), ".wav"},
      {"A-law", wavFile(6, 1, 8000, 8, two).Get(), ".wav"},
      {"2000 channels", wavFile(1, 2000, 8000, 8, std::vector<unsigned char>(4000, 0)).Get(),
       ".wav"},
      {"data beyond the file", bytes, ".wav"},
      {"not RIFF", std::vector<unsigned char>(64, 'x'), ".wav"},
      {"AIFC compression fl32", aifc.Get(), ".aiff"},
      {"AIFF rate 1", slowAiff.Get(), ".aiff"},
      {"empty", {}, ".aiff"},
  };
  for (Case const& c : cases) {
    path = zorvtest::TempPath(std::string("unusable") + c.extension);
    ASSERT_TRUE(zorvtest::WriteFileBytes(path, c.bytes));
    std::unique_ptr<AudioFileReader> r(AudioFileReader::CreateReaderFor(path.c_str()));
    ASSERT_TRUE(r) << c.what;
    EXPECT_EQ(r->GetSampleRate(), 0.0) << c.what;
    EXPECT_EQ(r->GetLengthInSamples(), 0u) << c.what;
    EXPECT_TRUE(load().empty()) << c.what;
    EXPECT_EQ(loadedChannels, 0u) << c.what;
    std::remove(path.c_str());
  }
  AudioBuffer b(2, 10, true);
  b.LoadFromAudioFile("/nonexistent/file.wav");
  EXPECT_EQ(b.GetNumChannels(), 0u);
}

TEST_F(AudioFileReading, FramesPastTheEndReadAsSilence) {
  ASSERT_TRUE(wavFile(1, 2, 8000, 16, {0, 0x40, 0, 0xC0}).WriteTo(path));
  std::unique_ptr<AudioFileReader> r(AudioFileReader::CreateReaderFor(path.c_str()));
  AudioBuffer b(2, 4, true);
  b.Fill(9.f);
  r->ReadSamples(b, 1, 3, 0);
  EXPECT_EQ(std::vector<float>(b.GetChannel(0), b.GetChannel(0) + 4),
            (std::vector<float>{9.f, 0.5f, 0.f, 0.f}));
  EXPECT_EQ(b.GetChannel(1)[1], -0.5f);
  r->ReadSamples(b, 0, 4, 1ull << 60);  // far beyond: silence, no seek error
  EXPECT_EQ(b.GetChannel(1)[0], 0.f);
}

TEST_F(AudioFileReading, RefusedLoadsCloseTheirFiles) {
  ASSERT_TRUE(wavFile(1, 0, 8000, 16, {1, 2}).WriteTo(path));
  std::string const sdifLike = zorvtest::TempPath("refused.aiff");
  ASSERT_TRUE(zorvtest::WriteFileBytes(sdifLike, {'F', 'O', 'R', 'M', 0, 0}));
  std::size_t const before = zorvtest::CountOpenDescriptors();
  for (int i = 0; i < 500; ++i) {
    AudioBuffer b(0, 0, true);
    b.LoadFromAudioFile(path.c_str());
    b.LoadFromAudioFile(sdifLike.c_str());
  }
  EXPECT_EQ(zorvtest::CountOpenDescriptors(), before);
  std::remove(sdifLike.c_str());
}

TEST(FileHelpers, NamesAndExtensions) {
  EXPECT_EQ(File::GetFileName("/a/b/c.wav"), "c.wav");
  EXPECT_EQ(File::GetFileName("c:\\x\\y.AIF"), "y.AIF");
  EXPECT_EQ(File::GetExtension("/a.b/c"), "");
  EXPECT_TRUE(AudioFilesManager::HasAiffExtension("/x/y.AIF"));
  EXPECT_TRUE(AudioFilesManager::HasWavExtension("y.bwf"));
  EXPECT_FALSE(AudioFilesManager::HasWavExtension("y.wave"));
  EXPECT_EQ(AudioFilesManager::ChunkName("RIFF"), 0x46464952u);
  std::string const path = zorvtest::TempPath("noextension");
  ASSERT_TRUE(zorvtest::WriteFileBytes(path, {'F', 'O', 'R', 'M'}));
  EXPECT_EQ(AudioFilesManager::TryToDetermineFileType(path.c_str()), AudioFilesManager::AiffType);
  ASSERT_TRUE(zorvtest::WriteFileBytes(path, {'R', 'I', 'F'}));
  EXPECT_EQ(AudioFilesManager::TryToDetermineFileType(path.c_str()),
            AudioFilesManager::UnknownType);
  std::remove(path.c_str());
}

}  // namespace
