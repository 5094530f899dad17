#include "ZorvRenderOutputFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "ZorvRenderError.h"
#include "ZorvRenderInputFile.h"
#include "ZorvRenderTestSupport.h"

namespace zorvrender {
namespace {

using zorvrendertest::TempDir;

std::string firstBytes(std::string const& path, size_t n) {
  std::ifstream file(path, std::ios::binary);
  std::string bytes(n, '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(n));
  return bytes;
}

TEST(OutputFormatTest, TheExtensionChoosesTheContainerAndFloatIsTheDefault) {
  EXPECT_EQ(OutputFormatFor("a.wav", 0, 2, 48000), SF_FORMAT_RF64 | SF_FORMAT_FLOAT);
  EXPECT_EQ(OutputFormatFor("a.WAV", 24, 2, 48000), SF_FORMAT_RF64 | SF_FORMAT_PCM_24);
  EXPECT_EQ(OutputFormatFor("a.rf64", 0, 2, 48000), SF_FORMAT_RF64 | SF_FORMAT_FLOAT);
  EXPECT_EQ(OutputFormatFor("a.aif", 16, 2, 48000), SF_FORMAT_AIFF | SF_FORMAT_PCM_16);
  EXPECT_EQ(OutputFormatFor("dir.x/a.aiff", 0, 2, 48000), SF_FORMAT_AIFF | SF_FORMAT_FLOAT);
  EXPECT_EQ(OutputFormatFor("a.w64", 0, 2, 48000), SF_FORMAT_W64 | SF_FORMAT_FLOAT);
  EXPECT_EQ(OutputFormatFor("a.caf", 0, 2, 48000), SF_FORMAT_CAF | SF_FORMAT_FLOAT);
  // FLAC holds no float samples.
  EXPECT_EQ(OutputFormatFor("a.flac", 0, 2, 48000), SF_FORMAT_FLAC | SF_FORMAT_PCM_24);
  EXPECT_EQ(OutputFormatFor("a.flac", 16, 2, 48000), SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
  for (char const* path : {"a.mp3", "a", "dir.wav/a"}) {
    EXPECT_THROW(OutputFormatFor(path, 0, 2, 48000), RenderError) << path;
  }
  // More channels than FLAC can carry.
  EXPECT_THROW(OutputFormatFor("a.flac", 0, 16, 48000), RenderError);
}

TEST(OutputFileTest, RoundTripIsExactAndTheNameAppearsOnlyAtCommit) {
  TempDir dir;
  std::string const path = dir / "out.wav";
  std::vector<float> left(1000), right(1000);
  for (size_t k = 0; k < left.size(); ++k) {
    left[k] = 0.001f * static_cast<float>(k) - 0.3f;
    right[k] = -2.5f + 0.01f * static_cast<float>(k);  // beyond full scale, kept in float
  }
  {
    OutputFile output(path, 2, 44100., 0, 64);
    float const* channels[] = {left.data(), right.data()};
    output.Write(channels, 700);  // more than a block at once
    float const* rest[] = {left.data() + 700, right.data() + 700};
    output.Write(rest, 300);
    // Unnamed while it is written: nothing in the folder at all.
    EXPECT_TRUE(dir.Names().empty());
    EXPECT_EQ(output.TemporaryPath(), "");
    output.Commit();
  }
  EXPECT_EQ(dir.Names(), (std::set<std::string>{"out.wav"}));
  // Small enough to stay a plain WAV.
  EXPECT_EQ(firstBytes(path, 4), "RIFF");
  auto const audio = zorvrendertest::ReadAudio(path);
  EXPECT_EQ(audio.samplerate, 44100);
  ASSERT_EQ(audio.channels.size(), 2u);
  EXPECT_EQ(audio.channels[0], left);
  EXPECT_EQ(audio.channels[1], right);
}

TEST(OutputFileTest, WithoutCommitNothingIsLeftAndAnOldFileStays) {
  TempDir dir;
  zorvrendertest::WriteText(dir / "out.wav", "old");
  {
    OutputFile output(dir / "out.wav", 1, 48000., 16, 64);
    float const zeros[8] = {};
    float const* channels[] = {zeros};
    output.Write(channels, 8);
  }
  EXPECT_EQ(dir.Names(), (std::set<std::string>{"out.wav"}));
  EXPECT_EQ(firstBytes(dir / "out.wav", 3), "old");
}

TEST(OutputFileTest, CommitReplacesAnOlderFileLeavingNoOtherNameAndRefusesAPipe) {
  TempDir dir;
  zorvrendertest::WriteText(dir / "out.wav", "old");
  {
    OutputFile output(dir / "out.wav", 1, 48000., 0, 64);
    float const ones[8] = {1.f, 1.f, 1.f, 1.f, 1.f, 1.f, 1.f, 1.f};
    float const* channels[] = {ones};
    output.Write(channels, 8);
    EXPECT_EQ(output.Peak(), 1.f);
    EXPECT_EQ(output.Clipped(), 0u);  // full scale is not beyond it
    output.Commit();
  }
  EXPECT_EQ(dir.Names(), (std::set<std::string>{"out.wav"}));
  EXPECT_EQ(zorvrendertest::ReadAudio(dir / "out.wav").channels[0].size(), 8u);

  ASSERT_EQ(mkfifo((dir / "fifo.wav").c_str(), 0644), 0);
  EXPECT_THROW(OutputFile(dir / "fifo.wav", 1, 48000., 0, 64), RenderError);
}

TEST(OutputFileTest, Rf64IsKeptWhenAskedFor) {
  TempDir dir;
  OutputFile output(dir / "out.rf64", 1, 48000., 0, 64);
  output.Commit();
  EXPECT_EQ(firstBytes(dir / "out.rf64", 4), "RF64");
}

TEST(OutputFileTest, AFolderThatIsNotThereIsNamed) {
  TempDir dir;
  try {
    OutputFile output(dir / "none/out.wav", 1, 48000., 0, 64);
    FAIL() << "no error";
  } catch (RenderError const& error) {
    EXPECT_EQ(error.Code(), ExitBadOutput);
    EXPECT_EQ(std::string(error.what()),
              dir / "none/out.wav" + ": cannot write the output: No such file or directory");
  }
}

TEST(InputFileTest, ReadsInBlocksOfAnySize) {
  TempDir dir;
  std::vector<float> a(300), b(300);
  for (size_t k = 0; k < a.size(); ++k) {
    a[k] = static_cast<float>(k) / 512.f;
    b[k] = -a[k];
  }
  zorvrendertest::WriteAudio(dir / "in.wav", {a, b}, 22050);
  InputFile input(dir / "in.wav", 64);
  EXPECT_EQ(input.NumChannels(), 2u);
  EXPECT_EQ(input.Samplerate(), 22050.);
  EXPECT_EQ(input.NumFrames(), 300);
  std::vector<float> x(400, 9.f), y(400, 9.f);
  float* channels[] = {x.data(), y.data()};
  EXPECT_EQ(input.Read(channels, 200), 200u);
  float* more[] = {x.data() + 200, y.data() + 200};
  EXPECT_EQ(input.Read(more, 200), 100u);
  EXPECT_EQ(std::vector<float>(x.begin(), x.begin() + 300), a);
  EXPECT_EQ(std::vector<float>(y.begin(), y.begin() + 300), b);
  EXPECT_EQ(input.Read(channels, 10), 0u);
}

}  // namespace
}  // namespace zorvrender
