#include "NolarException.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Exception, PrintsWhereItWasRaisedEvenWhenCaughtAtOnce) {
  testing::internal::CaptureStderr();
  unsigned long line = 0;
  try {
    line = __LINE__ + 1;
    NOLAR_THROW("couldnt open file");
  } catch (nolardsp::Exception const& e) {
    EXPECT_STREQ(e.what(), "couldnt open file");
    EXPECT_EQ(e.GetFileName(), "NolarExceptionTest.cpp");
    EXPECT_EQ(e.GetLineNumber(), line);
  }
  std::string const printed = testing::internal::GetCapturedStderr();
  EXPECT_EQ(printed, "Exception occured in : NolarExceptionTest.cpp at line " +
                         std::to_string(line) + " : \n  couldnt open file\n");
}

TEST(Exception, WithoutLocationPrintsTheMessageOnly) {
  testing::internal::CaptureStderr();
  nolardsp::Exception e("bad value 3", "/some/dir/File.cpp", 12, false, false);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Exception occured : bad value 3\n");
  EXPECT_EQ(e.GetFileName(), "File.cpp");
}

}  // namespace
