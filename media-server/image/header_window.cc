#include "media-server/image/header_window.h"

#include <algorithm>

#include "media-server/container/byte_reader.h"
#include "media-server/image/picture_headers.h"

namespace media_server::image {

std::span<const std::uint8_t> HeaderWindow::View(std::uint64_t offset, std::size_t size, std::size_t ahead) {
  size = std::min(size, kLongestView);
  const bool inside = offset >= start_ && offset - start_ <= bytes_.size() && bytes_.size() - (offset - start_) >= size;
  if (!inside) Fill(offset, size, ahead);
  const auto from_offset = std::span<const std::uint8_t>(bytes_).subspan(static_cast<std::size_t>(offset - start_));
  return from_offset.first(std::min(size, from_offset.size()));
}

std::vector<std::uint8_t> HeaderWindow::Copy(std::uint64_t offset, std::uint64_t size) {
  // Metadata that the budget does not cover do not end the walk, so Spent stays as it is.
  if (size > kMostMetadataBytes || size > bytes_left_) return {};
  auto bytes = ReadBytes(source_, offset, static_cast<std::size_t>(size));
  bytes_left_ -= bytes.size();
  if (bytes.size() < size) bytes.clear();
  return bytes;
}

void HeaderWindow::Fill(std::uint64_t offset, std::size_t size, std::size_t ahead) {
  const std::uint64_t end = start_ + bytes_.size();
  const bool is_near = offset >= start_ && offset <= end + kLongestView;
  std::uint64_t wanted = is_near ? kLongestView : std::max(size, ahead);
  // A look ahead past the end would make a damaged file seem cut short.
  if (const auto source_size = source_.Size(); source_size && wanted > size) {
    const std::uint64_t left = *source_size > offset ? *source_size - offset : 0;
    wanted = std::clamp<std::uint64_t>(left, size, wanted);
  }
  if (wanted > bytes_left_) wanted = size;
  bytes_.clear();
  start_ = offset;
  if (wanted > bytes_left_) {
    spent_ = true;
    return;
  }
  bytes_ = ReadBytes(source_, offset, static_cast<std::size_t>(wanted));
  bytes_left_ -= bytes_.size();
}

}  // namespace media_server::image
