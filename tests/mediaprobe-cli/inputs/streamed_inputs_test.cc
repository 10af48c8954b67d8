#include "inputs/streamed_inputs.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <vector>

#include "scratch_folder.h"

namespace mediaprobe {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;
using State = InputSource::State;

class StreamedInputsTest : public ::testing::Test {
 protected:
  StreamedInputsTest() { EXPECT_EQ(pipe2(ends_, O_CLOEXEC), 0); }
  ~StreamedInputsTest() override {
    close(ends_[0]);
    End();
  }

  void Write(std::string_view text) {
    ASSERT_EQ(write(ends_[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void End() {
    if (ends_[1] >= 0) close(ends_[1]);
    ends_[1] = -1;
  }
  /// The names that have arrived.
  std::vector<std::string> Arrived(StreamedInputs& source) {
    std::vector<std::string> names;
    Input input;
    while ((state_ = source.Next(&input)) == State::kInput) names.push_back(input.name);
    return names;
  }

  int ends_[2];
  State state_ = State::kInput;
};

TEST_F(StreamedInputsTest, GivesOneInputALine) {
  StreamedInputs source(ends_[0], '\n');
  Write("a b\n\nc\n");
  EXPECT_THAT(Arrived(source), ElementsAre("a b", "c"));
  EXPECT_EQ(state_, State::kWait);
  EXPECT_EQ(source.descriptor(), ends_[0]);
}

TEST_F(StreamedInputsTest, TakesALastNameWithoutASeparator) {
  StreamedInputs source(ends_[0], '\n');
  Write("a\nb");
  EXPECT_THAT(Arrived(source), ElementsAre("a"));
  End();
  EXPECT_THAT(Arrived(source), ElementsAre("b"));
  EXPECT_EQ(state_, State::kEnd);
}

TEST_F(StreamedInputsTest, PutsPiecesOfANameTogether) {
  StreamedInputs source(ends_[0], '\n');
  Write("first na");
  EXPECT_THAT(Arrived(source), SizeIs(0));
  Write("me\nsecond");
  EXPECT_THAT(Arrived(source), ElementsAre("first name"));
  Write("\n");
  EXPECT_THAT(Arrived(source), ElementsAre("second"));
}

TEST_F(StreamedInputsTest, KeepsLineEndsInNamesThatZerosEnd) {
  StreamedInputs source(ends_[0], '\0');
  Write(std::string_view("a\nb\0c\0", 6));
  EXPECT_THAT(Arrived(source), ElementsAre("a\nb", "c"));
}

TEST_F(StreamedInputsTest, KeepsOneNameOfALineWithZeros) {
  StreamedInputs source(ends_[0], '\n');
  Write(std::string_view("a\0b\0c\nd\n\0\n", 10));
  Input input;
  EXPECT_EQ(source.Next(&input), State::kInput);
  EXPECT_EQ(input.name, std::string("a\0", 2));
  EXPECT_EQ(input.failure, "the name holds a NUL (is -0 missing?)");
  EXPECT_EQ(source.Next(&input), State::kInput);
  EXPECT_EQ(input.failure, "");
  EXPECT_THAT(Arrived(source), ElementsAre(std::string(1, '\0')));
}

TEST_F(StreamedInputsTest, CutsAStreamWithoutSeparatorsIntoPieces) {
  const testing::ScratchFolder folder;
  const std::string path = folder.AddFile("names", std::string((std::size_t{1} << 20) + 5, 'n'));
  const int names = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(names, 0);
  StreamedInputs source(names, '\n');
  EXPECT_THAT(Arrived(source), ElementsAre(SizeIs(std::size_t{1} << 20), SizeIs(5)));
  close(names);
}

TEST_F(StreamedInputsTest, EndsWhereTheStreamCannotBeRead) {
  Input input;
  const int folder = open("/", O_RDONLY | O_CLOEXEC);
  StreamedInputs unreadable(folder, '\n');
  EXPECT_EQ(unreadable.Next(&input), State::kEnd);
  EXPECT_EQ(unreadable.error(), EISDIR);
  close(folder);
}

}  // namespace
}  // namespace mediaprobe
