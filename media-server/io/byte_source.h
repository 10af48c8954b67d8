#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace media_server {

/// The bytes of one input, wherever they lie. All readers of the media server take their bytes from here, so that
/// budgets and deadlines hold for every one of them. Not thread-safe: one source belongs to one open at a time.
class IByteSource {
 public:
  virtual ~IByteSource() = default;

  /// Reads up to `out.size()` bytes that start at `offset`. Returns how many were read: fewer than asked only at the
  /// end of the input, on a read error, or when the source's budget is spent.
  virtual std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) = 0;

  /// Why bytes that the input has, or should have, could not be read, in words (static text); null when all could. What
  /// was made of the bytes that did come is not to be trusted then: it looks like a shorter input.
  virtual const char* ReadFailure() const { return nullptr; }

  /// Length of the input in bytes; empty when the input does not tell it (a network stream without a length).
  virtual std::optional<std::uint64_t> Size() const = 0;

  /// True when bytes that do not follow those read last cost a request to a server.
  virtual bool IsRemote() const { return false; }

  /// True once bytes were asked for that the input has and that cannot be had: they lie too far behind in what a server
  /// gives from its start on only. That is no failure: what was made of the others holds, but for what the end tells.
  virtual bool LeftOutOfReach() const { return false; }

  /// Tells that these bytes will be wanted soon, so that a source whose bytes lie on a slow disk may fetch them
  /// meanwhile. Changes no answer.
  virtual void WillRead(std::uint64_t /*offset*/, std::uint64_t /*size*/) {}

  /// Tells that no more than `bytes` will be read from now on where reading stands, so that a source that reads ahead
  /// ends there. Changes no answer.
  virtual void WillReadAtMost(std::uint64_t /*bytes*/) {}
};

}  // namespace media_server
