#pragma once

#include <optional>
#include <string>

#include "mediainfo/imetedata_info.h"
#include "record/metadata.h"

namespace mediaprobe {

/// What a file's store tells, in the order of the interface's keys. Left out are absent keys, empty texts, degrees
/// without a hemisphere, and the numbers that stand for "not told" (VideoKind 1, ContentRating 0, Definition -1,
/// ALPHA_MODE 0, a date of -1). "MediaFile_Metedata_ImageData" is a block of unknown length and not read.
Metadata ReadFileMetadata(service::mediainfo::IMetedataInfo& store);

/// The same of a picture stream's store. Every number in it was told by the file: all of them stay.
Metadata ReadVideoMetadata(service::mediainfo::IMetedataInfo& store);

/// The same of an image's store: all that it holds, save empty texts, numbers that are none, and a date of -1.
Metadata ReadImageMetadata(service::mediainfo::IMetedataInfo& store);

/// A text of read metadata; empty when it is absent or no text.
std::optional<std::string> MetadataText(const Metadata& metadata, std::string_view key);
/// A whole number of read metadata, likewise.
std::optional<std::int64_t> MetadataInteger(const Metadata& metadata, std::string_view key);
/// A number of read metadata that may have a fraction, likewise.
std::optional<double> MetadataNumber(const Metadata& metadata, std::string_view key);
/// Signed degrees from a file's or an image's keys; empty when the file tells no place or one that is not on the globe.
std::optional<Location> MetadataLocation(const Metadata& metadata);

}  // namespace mediaprobe
