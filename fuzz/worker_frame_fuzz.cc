// What a worker may send its parent, lies included: one byte for the size of the pieces in which it arrives, and the
// stream.
//
// Oracle: the messages are the same however the stream is cut; each is within its bounds and comes out the same once it
// is sent again; a header that claims more than a message may have is no message, before anything of it has arrived; a
// broken stream gives nothing more.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "fuzz/check.h"
#include "worker/frame.h"

namespace {

using mediaprobe::Answer;
using mediaprobe::DigestProgress;
using mediaprobe::FrameDecoder;
using mediaprobe::Input;

std::string Encoded(const Input& input) { return mediaprobe::frame::Request(input); }
std::string Encoded(const Answer& answer) { return mediaprobe::frame::Reply(answer); }
std::string Encoded(const DigestProgress& progress) {
  return mediaprobe::frame::DigestReport(progress.done, progress.total);
}

bool IsWithinBounds(const Input& input) { return input.name.size() <= mediaprobe::frame::kMostInputBytes; }
bool IsWithinBounds(const Answer& answer) {
  return answer.text.size() <= mediaprobe::frame::kMostTextBytes &&
         answer.error.size() <= mediaprobe::frame::kMostErrorBytes;
}
bool IsWithinBounds(const DigestProgress& /*progress*/) { return true; }

std::string Encoded(const FrameDecoder::Message& message) {
  return std::visit([](const auto& value) { return Encoded(value); }, message);
}

/// The messages of a stream that arrives in pieces of `piece` bytes, encoded anew.
std::vector<std::string> Messages(std::span<const char> stream, std::size_t piece) {
  FrameDecoder decoder;
  std::vector<std::string> messages;
  while (!stream.empty()) {
    const std::size_t size = std::min(piece, stream.size());
    const bool is_sound = decoder.Add(stream.first(size));
    stream = stream.subspan(size);
    while (const std::optional<FrameDecoder::Message> message = decoder.Next()) {
      FUZZ_CHECK(is_sound);
      FUZZ_CHECK(std::visit([](const auto& value) { return IsWithinBounds(value); }, *message));
      messages.push_back(Encoded(*message));
    }
    if (!is_sound) {
      FUZZ_CHECK(!decoder.Add(stream) && !decoder.Next());
      break;
    }
  }
  return messages;
}

/// The lengths stand behind the kind: 32 bits for the second text, 64 for the first.
void CheckHeader(std::span<const char> stream) {
  constexpr std::size_t kHeaderBytes = 16;
  if (stream.size() < kHeaderBytes) return;
  std::uint32_t error_size = 0;
  std::uint64_t text_size = 0;
  std::memcpy(&error_size, stream.data() + 4, sizeof error_size);
  std::memcpy(&text_size, stream.data() + 8, sizeof text_size);
  const bool is_sound = FrameDecoder().Add(stream.first(kHeaderBytes));
  FUZZ_CHECK(!is_sound ||
             (text_size <= mediaprobe::frame::kMostTextBytes && error_size <= mediaprobe::frame::kMostErrorBytes));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::span stream(reinterpret_cast<const char*>(data) + 1, size - 1);
  CheckHeader(stream);
  const std::vector<std::string> messages = Messages(stream, std::size_t{1} + data[0]);
  FUZZ_CHECK(Messages(stream, 1) == messages);

  std::string again;
  for (const std::string& message : messages) again += message;
  FUZZ_CHECK(Messages(again, again.size()) == messages);
  return 0;
}
