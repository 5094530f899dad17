#include "ZorvHrtfHeaderInfos.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(HrtfTypeMaps, TextsAndValuesBothWays) {
  for (uint32_t v = 0; v <= 8; ++v) {
    auto const type = static_cast<Zorv::HrtfType>(v);
    EXPECT_EQ(Zorv::GetHrtfType(Zorv::GetHrtfTypeName(type)), type);
  }
  for (uint32_t v = 0; v <= 5; ++v) {
    auto const type = static_cast<Zorv::HrtfFilterType>(v);
    EXPECT_EQ(Zorv::GetHrtfFilterType(Zorv::GetHrtfFilterTypeName(type)), type);
  }
  for (char const* word : {"Biquads", "Biquad", "BIQUAD"}) {
    EXPECT_EQ(Zorv::GetHrtfFilterType(word), Zorv::BiquadCells) << word;
  }
  EXPECT_EQ(Zorv::GetHrtfTypeName(static_cast<Zorv::HrtfType>(9)), "");
  EXPECT_EQ(Zorv::GetHrtfFilterTypeName(static_cast<Zorv::HrtfFilterType>(6)), "");
}

// A misspelled word means the first row of the table, with one line on the
// error stream and no exception.
TEST(HrtfTypeMaps, UnknownWordsGiveTheFirstValueAndOneLine) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(Zorv::GetHrtfFilterType("fir"), Zorv::BiquadCells);
  std::string const filterLine = testing::internal::GetCapturedStderr();
  EXPECT_EQ(filterLine.rfind("unknown hrtf filter type fir (", 0), 0u) << filterLine;
  EXPECT_NE(filterLine.find(" GetHrtfFilterType)\n"), std::string::npos);

  testing::internal::CaptureStderr();
  EXPECT_EQ(Zorv::GetHrtfType("Transaural"), Zorv::Binaural);
  std::string const typeLine = testing::internal::GetCapturedStderr();
  EXPECT_EQ(typeLine.rfind("unknown hrtf type Transaural (", 0), 0u) << typeLine;
}

}  // namespace
