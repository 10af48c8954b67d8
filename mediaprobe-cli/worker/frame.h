#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "worker/answer.h"

namespace mediaprobe {

/// What a worker and its parent say to each other through a stream socket. Each message is a header of 16 bytes, kind
/// and two lengths, and the two texts; numbers are the machine's own, since both ends are one program.
namespace frame {

inline constexpr std::size_t kMostInputBytes = 64 * 1024;
inline constexpr std::size_t kMostTextBytes = 16 * 1024 * 1024;
/// Twice the longest name, each byte written as four, and a reason.
inline constexpr std::size_t kMostErrorBytes = 1024 * 1024;

/// The parent asks for one input, whose name has at most kMostInputBytes.
std::string Request(const Input& input);
/// The worker answers, with texts within the bounds above: no other reply is taken.
std::string Reply(const Answer& answer);
/// The worker has finished the probe and digests.
std::string DigestReport(std::uint64_t done, std::uint64_t total);

}  // namespace frame

struct DigestProgress {
  std::uint64_t done = 0;
  std::uint64_t total = 0;
};

/// Takes messages out of a stream that arrives in pieces. The other end is not trusted: lengths are checked before
/// anything is kept, and no more is kept than has arrived.
class FrameDecoder {
 public:
  using Message = std::variant<Input, Answer, DigestProgress>;  ///< a request, a reply, a report

  /// Adds what has arrived. False when it is no message: the stream is of no use from then on.
  bool Add(std::span<const char> bytes);
  /// The next whole message; empty when it has not arrived yet.
  std::optional<Message> Next();
  /// Whether what stands behind the messages that Next gave is none: Add will take no more.
  bool is_broken() const { return broken_; }
  /// Whether a part of the next message has arrived.
  bool has_begun() const { return !bytes_.empty(); }

 private:
  bool CheckHeader();

  std::string bytes_;
  bool broken_ = false;
};

}  // namespace mediaprobe
