#include "inputs/listed_inputs.h"

#include <gtest/gtest.h>

namespace mediaprobe {
namespace {

TEST(ListedInputs, GivesTheNamesInTheirOrder) {
  ListedInputs source({"b", "a", "b"});
  EXPECT_EQ(source.total(), 3u);
  Input input;
  for (const char* name : {"b", "a", "b"}) {
    ASSERT_EQ(source.Next(&input), InputSource::State::kInput);
    EXPECT_EQ(input.name, name);
    EXPECT_FALSE(input.found_by_walk);
  }
  EXPECT_EQ(source.Next(&input), InputSource::State::kEnd);
  EXPECT_LT(source.descriptor(), 0);
  EXPECT_EQ(source.error(), 0);
}

}  // namespace
}  // namespace mediaprobe
