#include "output.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace mediaprobe {
namespace {

class PlainFormatter final : public RecordFormatter {
 public:
  std::string Format(const Record& record) override { return record.input + "\n"; }
  std::string End() override { return "end\n"; }
};

class OutputTest : public ::testing::Test {
 protected:
  ~OutputTest() override {
    std::fclose(file_);
    std::free(text_);
  }
  std::string Written() {
    std::fflush(file_);
    return {text_, length_};
  }
  static Record RecordOf(const std::string& input) {
    Record record;
    record.input = input;
    return record;
  }

  char* text_ = nullptr;
  std::size_t length_ = 0;
  std::FILE* file_ = open_memstream(&text_, &length_);
};

TEST_F(OutputTest, RecordsAndThenTheEnd) {
  Output output(std::make_unique<PlainFormatter>(), file_);
  output.Add(RecordOf("a"));
  output.Add(RecordOf("b"));
  EXPECT_TRUE(output.End());
  EXPECT_EQ(Written(), "a\nb\nend\n");
}

TEST_F(OutputTest, EndsOnceAndTakesNothingAfterIt) {
  Output output(std::make_unique<PlainFormatter>(), file_);
  EXPECT_TRUE(output.End());
  output.Add(RecordOf("late"));
  EXPECT_TRUE(output.End());
  EXPECT_EQ(Written(), "end\n");
}

TEST_F(OutputTest, RecordsOfSeveralThreadsStayWhole) {
  Output output(std::make_unique<PlainFormatter>(), file_);
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&output] {
        for (int k = 0; k < 1'000; ++k) output.Add(RecordOf("record"));
      });
    }
  }
  EXPECT_EQ(Written().size(), 4'000 * std::string("record\n").size());
}

TEST(Output, WhatCannotBeWrittenIsToldAtTheEnd) {
  std::FILE* full = std::fopen("/dev/full", "w");
  ASSERT_NE(full, nullptr);
  Output output(std::make_unique<PlainFormatter>(), full);
  output.Add({});
  EXPECT_FALSE(output.End());
  EXPECT_EQ(errno, ENOSPC);
  std::fclose(full);
}

/// A reader that does not read keeps a record from being written, but not the process from ending.
TEST(Output, EndGivesUpOnAnOutputThatNobodyReads) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  std::FILE* file = fdopen(ends[1], "w");
  Output output(std::make_unique<PlainFormatter>(), file);
  std::jthread writer([&output] {
    Record record;
    record.input = std::string(1'000'000, 'x');
    output.Add(record);
  });
  std::string buffer(4096, '\0');
  ASSERT_EQ(read(ends[0], buffer.data(), 1), 1);
  EXPECT_FALSE(output.End());

  const std::jthread reader([&] {
    while (read(ends[0], buffer.data(), buffer.size()) > 0) continue;
  });
  writer.join();
  std::fclose(file);
}

}  // namespace
}  // namespace mediaprobe
