#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "NolarAudioBuffer.h"
#include "NolarAudioFileReader.h"
#include "ZorvTestFiles.h"

// Our readers against files written by libsndfile, and libsndfile against
// files written by ours, sample for sample. libsndfile's integer interface
// carries the same left-justified 32-bit samples as ours, so integer files
// compare exactly.
namespace {

using namespace nolardsp;

struct SndfileFormat {
  char const* label;
  char const* extension;
  int format;
  int channels;
};

std::string label(::testing::TestParamInfo<SndfileFormat> const& info) {
  return info.param.label;
}

bool isFloat(int format) {
  return (format & SF_FORMAT_SUBMASK) == SF_FORMAT_FLOAT;
}

int bitsOf(int format) {
  switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
      return 8;
    case SF_FORMAT_PCM_16:
      return 16;
    case SF_FORMAT_PCM_24:
      return 24;
    default:
      return 32;
  }
}

// Samples on the format's grid, as left-justified integers, interleaved.
std::vector<int> gridSamples(int format, int channels, int frames) {
  int const bits = bitsOf(format);
  std::vector<int> v(static_cast<std::size_t>(frames) * channels);
  std::uint32_t state = 12345;
  for (int& s : v) {
    state = state * 1664525u + 1013904223u;
    s = static_cast<int>(state & ~((bits == 32 ? 0u : (1u << (32 - bits))) - 1u));
  }
  v[0] = INT32_MIN;
  v[1 % v.size()] = static_cast<int>(0x7FFFFFFFu & ~((bits == 32 ? 0u : (1u << (32 - bits))) - 1u));
  return v;
}

class SndfileCrossCheck : public ::testing::TestWithParam<SndfileFormat> {
 protected:
  void TearDown() override { std::remove(path.c_str()); }
  std::string path = zorvtest::TempPath(std::string("sndfile") + GetParam().extension);
  int const frames = 777;
};

TEST_P(SndfileCrossCheck, OurReaderReadsWhatLibsndfileWrites) {
  SndfileFormat const f = GetParam();
  SF_INFO info = {};
  info.samplerate = 44100;
  info.channels = f.channels;
  info.format = f.format;
  ASSERT_TRUE(sf_format_check(&info)) << f.label;
  SNDFILE* out = sf_open(path.c_str(), SFM_WRITE, &info);
  ASSERT_NE(out, nullptr) << sf_strerror(nullptr);
  std::vector<int> ints = gridSamples(f.format, f.channels, frames);
  std::vector<float> floats(ints.size());
  for (std::size_t i = 0; i < ints.size(); ++i) {
    floats[i] = static_cast<float>(std::sin(0.001 * static_cast<double>(i)) * 0.9);
  }
  if (isFloat(f.format)) {
    ASSERT_EQ(sf_writef_float(out, floats.data(), frames), frames);
  } else {
    ASSERT_EQ(sf_writef_int(out, ints.data(), frames), frames);
  }
  sf_close(out);

  // libsndfile's own count: it pads an odd 8-bit AIFF to an even length with
  // one more frame, and says so in the header.
  SF_INFO readInfo = {};
  SNDFILE* check = sf_open(path.c_str(), SFM_READ, &readInfo);
  ASSERT_NE(check, nullptr);
  sf_close(check);
  ASSERT_GE(readInfo.frames, frames);

  AudioBuffer b(0, 0, true);
  b.LoadFromAudioFile(path.c_str());
  ASSERT_EQ(b.GetNumChannels(), static_cast<unsigned int>(f.channels));
  ASSERT_EQ(b.GetNumSamples(), static_cast<unsigned long>(readInfo.frames));
  std::unique_ptr<AudioFileReader> r(AudioFileReader::CreateReaderFor(path.c_str()));
  EXPECT_EQ(r->GetSampleRate(), 44100);
  for (int k = 0; k < frames; ++k) {
    for (int c = 0; c < f.channels; ++c) {
      std::size_t const i = static_cast<std::size_t>(k) * f.channels + c;
      float const expected = isFloat(f.format) ? floats[i] : static_cast<float>(ints[i]) * 0x1p-31f;
      ASSERT_EQ(b.GetChannel(c)[k], expected) << f.label << " frame " << k << " channel " << c;
    }
  }
}

// The layouts our writers make.
class SndfileReadsOurFiles : public SndfileCrossCheck {};

TEST_P(SndfileReadsOurFiles, LibsndfileReadsWhatOurWriterWrites) {
  SndfileFormat const f = GetParam();
  int const bits = bitsOf(f.format);
  AudioBuffer b(static_cast<unsigned int>(f.channels), static_cast<unsigned long>(frames), true);
  std::vector<int> const ints = gridSamples(f.format, f.channels, frames);
  for (int k = 0; k < frames; ++k) {
    for (int c = 0; c < f.channels; ++c) {
      std::size_t const i = static_cast<std::size_t>(k) * f.channels + c;
      b.GetChannel(c)[k] = isFloat(f.format)
                               ? static_cast<float>(std::cos(0.01 * static_cast<double>(i)))
                               : static_cast<float>(ints[i]) * 0x1p-31f;
    }
  }
  b.SaveAsAudioFile(path.c_str(), 32000, bits, true);

  SF_INFO info = {};
  SNDFILE* in = sf_open(path.c_str(), SFM_READ, &info);
  ASSERT_NE(in, nullptr) << sf_strerror(nullptr);
  EXPECT_EQ(info.samplerate, 32000);
  EXPECT_EQ(info.channels, f.channels);
  ASSERT_EQ(info.frames, frames);
  std::vector<int> readInts(ints.size());
  std::vector<float> readFloats(ints.size());
  if (isFloat(f.format)) {
    ASSERT_EQ(sf_readf_float(in, readFloats.data(), frames), frames);
  } else {
    ASSERT_EQ(sf_readf_int(in, readInts.data(), frames), frames);
  }
  sf_close(in);
  for (int k = 0; k < frames; ++k) {
    for (int c = 0; c < f.channels; ++c) {
      std::size_t const i = static_cast<std::size_t>(k) * f.channels + c;
      if (isFloat(f.format)) {
        ASSERT_EQ(readFloats[i], b.GetChannel(c)[k]) << k;
      } else {
        ASSERT_EQ(readInts[i], ints[i]) << f.label << " frame " << k << " channel " << c;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Formats, SndfileCrossCheck,
    ::testing::Values(
        SndfileFormat{"wav_u8", ".wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 2},
        SndfileFormat{"wav16", ".wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2},
        SndfileFormat{"wav24", ".wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 1},
        SndfileFormat{"wav32", ".wav", SF_FORMAT_WAV | SF_FORMAT_PCM_32, 2},
        SndfileFormat{"wav_float", ".wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 3},
        SndfileFormat{"wavex24_6ch", ".wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_24, 6},
        SndfileFormat{"wavex_float_4ch", ".wav", SF_FORMAT_WAVEX | SF_FORMAT_FLOAT, 4},
        SndfileFormat{"aiff_s8", ".aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_S8, 1},
        SndfileFormat{"aiff16_big", ".aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG, 2},
        SndfileFormat{"aiff24", ".aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_24, 5},
        SndfileFormat{"aiff32", ".aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_32, 2},
        // Little-endian 16 bits is the "sowt" compression type. (libsndfile marks
        // little-endian 24 bits with a type of its own, which our reader refuses
        // like every compression it does not know.)
        SndfileFormat{"aiff16_sowt", ".aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE,
                      3}),
    label);

INSTANTIATE_TEST_SUITE_P(
    Formats, SndfileReadsOurFiles,
    ::testing::Values(SndfileFormat{"wav_u8", ".wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 2},
                      SndfileFormat{"wav16", ".wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2},
                      SndfileFormat{"wav24", ".wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 1},
                      SndfileFormat{"wav_float", ".wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 3},
                      SndfileFormat{"aiff_s8", ".aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_S8, 1},
                      SndfileFormat{"aiff16", ".aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 2},
                      SndfileFormat{"aiff24", ".aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_24, 5}),
    label);

}  // namespace
