#include "record/metadata.h"

#include <gtest/gtest.h>

namespace mediaprobe {
namespace {

TEST(Metadata, IsFoundByItsWholeKey) {
  const Metadata metadata = {{"first", std::int64_t{1}}, {"second", std::string("two")}};
  ASSERT_NE(FindMetadata(metadata, "second"), nullptr);
  EXPECT_EQ(std::get<std::string>(*FindMetadata(metadata, "second")), "two");
  EXPECT_EQ(FindMetadata(metadata, "sec"), nullptr);
  EXPECT_EQ(FindMetadata({}, "first"), nullptr);
}

}  // namespace
}  // namespace mediaprobe
