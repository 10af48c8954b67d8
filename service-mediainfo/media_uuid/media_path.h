#pragma once

#include <string>
#include <string_view>

namespace service::mediainfo::media_uuid::impl {

/// The path that `url` names: a URL with ":/" anywhere in it must have "file:/" anywhere in it, and loses its first six
/// characters, wherever that stands; any other text is a path itself. Empty when there is none.
std::string_view PathOfUrl(std::string_view url);

/// The same as the file system library spells it, when a regular file is there; else empty. Throws std::bad_alloc.
std::string FindRegularFile(std::string_view url);

}  // namespace service::mediainfo::media_uuid::impl
