#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "media-server/container/mp4_boxes.h"
#include "media-server/container/mp4_movie.h"

namespace media_server {

/// Collects the metadata of `meta`, `udta` and XMP boxes into one list, each `meta` with its own `keys` table. Stops
/// taking entries when one of the kMp4... bounds is reached.
class Mp4MetadataReader {
 public:
  /// Both are borrowed for the reader's life.
  Mp4MetadataReader(Mp4BoxReader& boxes, std::vector<Mp4MetaEntry>& entries);

  void ReadMeta(const Mp4Box& meta);
  void ReadUserData(const Mp4Box& user_data);
  void ReadXmp(const Mp4Box& box);

  /// Whether something was left out because of a bound.
  bool BoundReached() const { return bound_reached_; }

 private:
  void ReadItem(const Mp4Box& item, const std::vector<std::string>& keys);
  void ReadTextAtom(const Mp4Box& atom);
  void ReadInternationalTexts(const Mp4Box& atom);
  std::vector<std::string> ReadKeys(const Mp4Box& keys);
  std::vector<std::uint8_t> ReadValue(const Mp4Box& box, std::uint64_t skip = 0);
  void Add(Mp4MetaEntry entry);

  Mp4BoxReader& boxes_;
  std::vector<Mp4MetaEntry>& entries_;
  std::size_t text_bytes_ = 0;
  bool bound_reached_ = false;
};

}  // namespace media_server
