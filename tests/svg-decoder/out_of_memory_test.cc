#include <gtest/gtest.h>

#include "core/error_text.h"
#include "fakes/failing_allocations.h"
#include "svg-decoder/decoder_session.h"
#include "temp_file.h"

namespace {

using fakes::allocations_left;

class SvgDecoderOutOfMemoryTest : public testing::Test {
 protected:
  TempFolder folder_;
  const std::string path_ = folder_.Make("a name that does not fit into a string itself.svg", "<svg/>");
  svg_decoder::DecoderSession session_;
  fakes::AllocationsSucceedAgain succeed_again_;
};

TEST_F(SvgDecoderOutOfMemoryTest, TellsWhenItLoadsThatThereWasNoRoomForTheSource) {
  allocations_left = 0;
  EXPECT_NO_THROW(session_.SetSource(path_.c_str()));
  allocations_left = -1;
  EXPECT_NE(session_.Load(0, 0), 1u);
  EXPECT_STREQ(CoreErrorText(), "out of memory");
  session_.Reset();
  EXPECT_NE(session_.Load(0, 0), 1u);
  EXPECT_STREQ(CoreErrorText(), "No such file or directory");
}

TEST_F(SvgDecoderOutOfMemoryTest, LoadsNothingAndLoadsAfterwards) {
  const auto loads = [this] {
    session_.SetSource(path_.c_str());
    return session_.Load(0, 0) == 1;
  };
  const int failures = fakes::CountFailures(loads, [] { EXPECT_STREQ(CoreErrorText(), "out of memory"); });
  // The URL, what it is loaded from, the file and its first bytes.
  EXPECT_GE(failures, 4);
}

}  // namespace
