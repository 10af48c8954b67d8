#include "worker/frame.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace mediaprobe {
namespace {

std::span<const char> Bytes(const std::string& text) { return {text.data(), text.size()}; }

TEST(Frame, CarriesARequest) {
  FrameDecoder decoder;
  ASSERT_TRUE(decoder.Add(Bytes(frame::Request({"a\nb\xff", false}) + frame::Request({"c", true}))));
  const auto message = decoder.Next();
  ASSERT_TRUE(message);
  EXPECT_EQ(std::get<Input>(*message).name, "a\nb\xff");
  EXPECT_FALSE(std::get<Input>(*message).found_by_walk);
  const auto second = decoder.Next();
  ASSERT_TRUE(second);
  EXPECT_EQ(std::get<Input>(*second).name, "c");
  EXPECT_TRUE(std::get<Input>(*second).found_by_walk);
  EXPECT_FALSE(decoder.Next());
}

TEST(Frame, CarriesAReplyThatArrivesByteByByte) {
  FrameDecoder decoder;
  const std::string bytes = frame::Reply({"{}\n", "file ends early"});
  for (const char& byte : bytes) {
    EXPECT_FALSE(decoder.Next());
    ASSERT_TRUE(decoder.Add({&byte, 1}));
  }
  const auto message = decoder.Next();
  ASSERT_TRUE(message);
  EXPECT_EQ(std::get<Answer>(*message).text, "{}\n");
  EXPECT_EQ(std::get<Answer>(*message).error, "file ends early");
}

TEST(Frame, TellsSeveralMessagesInARowApart) {
  FrameDecoder decoder;
  ASSERT_TRUE(decoder.Add(Bytes(frame::DigestReport(5, 9) + frame::Reply({"first", ""}) + frame::Reply({"", ""}))));
  EXPECT_EQ(std::get<DigestProgress>(*decoder.Next()).done, 5u);
  EXPECT_EQ(std::get<Answer>(*decoder.Next()).text, "first");
  EXPECT_EQ(std::get<Answer>(*decoder.Next()).text, "");
  EXPECT_FALSE(decoder.Next());
}

TEST(Frame, TellsWhetherAMessageHasBegun) {
  FrameDecoder decoder;
  EXPECT_FALSE(decoder.has_begun());
  const std::string bytes = frame::Reply({"text", ""});
  decoder.Add(Bytes(bytes + bytes.substr(0, 1)));
  decoder.Next();
  EXPECT_TRUE(decoder.has_begun());
  decoder.Add(Bytes(bytes.substr(1)));
  decoder.Next();
  EXPECT_FALSE(decoder.has_begun());
}

TEST(Frame, CutsNothing) {
  FrameDecoder decoder;
  const Answer longest{std::string(frame::kMostTextBytes, 't'), std::string(frame::kMostErrorBytes, 'e')};
  ASSERT_TRUE(decoder.Add(Bytes(frame::Reply(longest))));
  const Answer answer = std::get<Answer>(*decoder.Next());
  EXPECT_EQ(answer.text.size(), frame::kMostTextBytes);
  EXPECT_EQ(answer.error.size(), frame::kMostErrorBytes);
  EXPECT_FALSE(FrameDecoder().Add(Bytes(frame::Reply({longest.text + "t", ""})))) << "and half an answer is none";
}

/// A reply whose header claims other lengths: kind at 0, length of the error at 4, of the text at 8.
std::string Claiming(std::uint32_t error_size, std::uint64_t text_size) {
  std::string bytes = frame::Reply({"", ""});
  std::memcpy(bytes.data() + 4, &error_size, sizeof error_size);
  std::memcpy(bytes.data() + 8, &text_size, sizeof text_size);
  return bytes;
}

TEST(Frame, RefusesLengthsPastTheBoundsAtOnce) {
  for (const std::string& bytes : {Claiming(0, frame::kMostTextBytes + 1), Claiming(frame::kMostErrorBytes + 1, 0),
                                   Claiming(0, std::numeric_limits<std::uint64_t>::max())}) {
    FrameDecoder decoder;
    EXPECT_FALSE(decoder.Add(Bytes(bytes)));
    EXPECT_FALSE(decoder.Next());
    EXPECT_FALSE(decoder.Add(Bytes(frame::Reply({"", ""})))) << "and goes on refusing";
  }
}

TEST(Frame, RefusesOtherBytes) {
  FrameDecoder decoder;
  EXPECT_FALSE(decoder.Add(Bytes("mediaprobe: no such file")));
}

TEST(Frame, RefusesOtherBytesBehindAMessage) {
  FrameDecoder decoder;
  ASSERT_TRUE(decoder.Add(Bytes(frame::Reply({"text", ""}) + "something else behind it")));
  EXPECT_FALSE(decoder.is_broken());
  EXPECT_TRUE(decoder.Next());
  EXPECT_TRUE(decoder.is_broken());
  EXPECT_FALSE(decoder.Next());
  EXPECT_FALSE(decoder.Add({}));
}

}  // namespace
}  // namespace mediaprobe
