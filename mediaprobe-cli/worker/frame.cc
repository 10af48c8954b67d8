#include "worker/frame.h"

#include <algorithm>
#include <cstring>

namespace mediaprobe {
namespace {

/// In the second text of a request.
constexpr std::string_view kFoundByWalk = "w";

enum class Kind : std::uint32_t { kRequest = 0x4D505251, kReply = 0x4D505250, kDigest = 0x4D504447 };

struct Header {
  Kind kind;
  std::uint32_t error_size;
  std::uint64_t text_size;
};
static_assert(sizeof(Header) == 16);

struct Bounds {
  Kind kind;
  std::size_t most_text;
  std::size_t most_error;
};
constexpr Bounds kBounds[] = {
    {Kind::kRequest, frame::kMostInputBytes, kFoundByWalk.size()},
    {Kind::kReply, frame::kMostTextBytes, frame::kMostErrorBytes},
    {Kind::kDigest, sizeof(DigestProgress), 0},
};

bool IsWithinBounds(const Header& header) {
  return std::ranges::any_of(kBounds, [&](const Bounds& bounds) {
    return header.kind == bounds.kind && header.text_size <= bounds.most_text && header.error_size <= bounds.most_error;
  });
}

Header HeaderOf(std::string_view bytes) {
  Header header;
  std::memcpy(&header, bytes.data(), sizeof header);
  return header;
}

std::string Frame(Kind kind, std::string_view text, std::string_view error) {
  const Header header{kind, static_cast<std::uint32_t>(error.size()), text.size()};
  std::string bytes(sizeof header, '\0');
  std::memcpy(bytes.data(), &header, sizeof header);
  return bytes.append(text).append(error);
}

}  // namespace

std::string frame::Request(const Input& input) {
  return Frame(Kind::kRequest, std::string_view(input.name).substr(0, kMostInputBytes),
               input.found_by_walk ? kFoundByWalk : std::string_view());
}

std::string frame::Reply(const Answer& answer) { return Frame(Kind::kReply, answer.text, answer.error); }

std::string frame::DigestReport(std::uint64_t done, std::uint64_t total) {
  const DigestProgress progress{done, total};
  return Frame(Kind::kDigest, {reinterpret_cast<const char*>(&progress), sizeof progress}, {});
}

bool FrameDecoder::Add(std::span<const char> bytes) {
  if (broken_) return false;
  bytes_.append(bytes.data(), bytes.size());
  return CheckHeader();
}

bool FrameDecoder::CheckHeader() {
  broken_ = bytes_.size() >= sizeof(Header) && !IsWithinBounds(HeaderOf(bytes_));
  return !broken_;
}

std::optional<FrameDecoder::Message> FrameDecoder::Next() {
  if (broken_ || bytes_.size() < sizeof(Header)) return std::nullopt;
  const Header header = HeaderOf(bytes_);
  const std::size_t text_size = header.text_size;
  const std::size_t size = sizeof header + text_size + header.error_size;
  if (bytes_.size() < size) return std::nullopt;

  std::string text = bytes_.substr(sizeof header, text_size);
  std::string error = bytes_.substr(sizeof header + text_size, header.error_size);
  bytes_.erase(0, size);
  CheckHeader();
  switch (header.kind) {
    case Kind::kRequest:
      return Input{std::move(text), error == kFoundByWalk};
    case Kind::kReply:
      return Answer{std::move(text), std::move(error)};
    case Kind::kDigest:
      break;
  }
  DigestProgress progress;
  std::memcpy(&progress, text.data(), std::min(text.size(), sizeof progress));
  return progress;
}

}  // namespace mediaprobe
