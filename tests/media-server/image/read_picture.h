#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "media-server/image/exif_values.h"
#include "media-server/image/image_reader.h"
#include "tests/media-server/codec/bit_writer.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server::image {

inline std::optional<PictureHeaders> ReadPicture(std::string_view bytes) {
  MemorySource source(bytes);
  std::string reason;
  auto headers = ReadPictureHeaders(source, &reason);
  EXPECT_EQ(headers.has_value(), reason.empty()) << reason;
  return headers;
}

/// The bytes of hexadecimal digits, blanks ignored.
inline std::string FromHex(const std::string& digits) {
  const std::vector<std::uint8_t> bytes = codec::Hex(digits.c_str());
  return {bytes.begin(), bytes.end()};
}

inline std::string Text(const std::vector<std::uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

/// Exif as one format's reader cuts it out of its carrier.
inline std::string ExifOf(bool (*read)(IByteSource& source, PictureHeaders& headers), std::string_view bytes) {
  MemorySource source(bytes);
  PictureHeaders headers;
  EXPECT_TRUE(read(source, headers));
  return Text(headers.metadata.exif);
}

/// What is wanted of a TIFF structure.
inline ExifValues ExifIn(std::string_view tiff) {
  MemorySource source(tiff);
  return ReadExifValues(source, 0);
}

inline bool HasPayload(const EmbeddedMetadata& metadata) {
  return !metadata.exif.empty() || !metadata.exif_values.empty() || !metadata.xmp.empty() || !metadata.iptc.empty();
}

inline void ExpectSize(const std::optional<PictureHeaders>& headers, std::uint32_t width, std::uint32_t height) {
  ASSERT_TRUE(headers);
  EXPECT_EQ(headers->size->width, width);
  EXPECT_EQ(headers->size->height, height);
}

/// However early the file ends, it is refused or told with the size of the whole.
inline void ExpectSameSizeOfEveryPrefix(const std::string& file, std::size_t shortest_with_size) {
  const auto whole = ReadPicture(file);
  ASSERT_TRUE(whole);
  for (std::size_t size = 0; size < file.size(); ++size) {
    SCOPED_TRACE(size);
    const auto part = ReadPicture(file.substr(0, size));
    ASSERT_EQ(part.has_value(), size >= shortest_with_size);
    if (!part) continue;
    EXPECT_EQ(part->size, whole->size);
  }
}

/// Content of any length, all zeros but for pieces put in it. Counts what is read from it.
class SparseSource : public IByteSource {
 public:
  explicit SparseSource(std::uint64_t size) : size_(size) {}

  void Put(std::uint64_t offset, std::string piece) { pieces_.push_back({offset, std::move(piece)}); }

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    ++reads_;
    if (offset >= size_) return 0;
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(out.size(), size_ - offset));
    std::fill_n(out.begin(), count, std::uint8_t{0});
    for (const Piece& piece : pieces_) {
      const std::uint64_t first = std::max(offset, piece.offset);
      const std::uint64_t last = std::min(offset + count, piece.offset + piece.bytes.size());
      for (std::uint64_t at = first; at < last; ++at) {
        out[static_cast<std::size_t>(at - offset)] =
            static_cast<std::uint8_t>(piece.bytes[static_cast<std::size_t>(at - piece.offset)]);
      }
    }
    bytes_read_ += count;
    return count;
  }
  std::optional<std::uint64_t> Size() const override { return size_; }

  std::uint64_t BytesRead() const { return bytes_read_; }
  std::uint64_t Reads() const { return reads_; }

 private:
  struct Piece {
    std::uint64_t offset;
    std::string bytes;
  };
  std::uint64_t size_;
  std::vector<Piece> pieces_;
  std::uint64_t bytes_read_ = 0;
  std::uint64_t reads_ = 0;
};

/// The same `unit` over and over, `count` times, between `head` and `tail`. Counts what is read from it.
class RepeatingSource : public IByteSource {
 public:
  RepeatingSource(std::string head, std::string unit, std::uint64_t count, std::string tail = {})
      : head_(std::move(head)), unit_(std::move(unit)), units_size_(unit_.size() * count), tail_(std::move(tail)) {}

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    std::size_t done = 0;
    while (done < out.size()) {
      const std::string_view run = RunAt(offset + done).substr(0, out.size() - done);
      if (run.empty()) break;
      std::ranges::copy(run, out.begin() + static_cast<std::ptrdiff_t>(done));
      done += run.size();
    }
    bytes_read_ += done;
    return done;
  }
  std::optional<std::uint64_t> Size() const override { return head_.size() + units_size_ + tail_.size(); }

  std::uint64_t BytesRead() const { return bytes_read_; }

 private:
  /// From `offset` to the end of the head, of a unit or of the tail.
  std::string_view RunAt(std::uint64_t offset) const {
    const auto from = [](std::string_view text, std::uint64_t start) {
      return text.substr(static_cast<std::size_t>(std::min<std::uint64_t>(start, text.size())));
    };
    if (offset < head_.size()) return from(head_, offset);
    offset -= head_.size();
    if (offset < units_size_) return from(unit_, offset % unit_.size());
    return from(tail_, offset - units_size_);
  }

  std::string head_;
  std::string unit_;
  std::uint64_t units_size_;
  std::string tail_;
  std::uint64_t bytes_read_ = 0;
};

}  // namespace media_server::image
