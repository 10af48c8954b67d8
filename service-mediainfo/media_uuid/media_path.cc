#include "service-mediainfo/media_uuid/media_path.h"

#include <ghc/filesystem.hpp>
#include <system_error>

namespace service::mediainfo::media_uuid::impl {
namespace {

namespace fs = ghc::filesystem;

constexpr std::string_view kFileScheme = "file:/";

bool Contains(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

}  // namespace

std::string_view PathOfUrl(std::string_view url) {
  if (!Contains(url, ":/")) return url;
  if (!Contains(url, kFileScheme)) return {};
  return url.substr(kFileScheme.size());
}

std::string FindRegularFile(std::string_view url) {
  const fs::path path(PathOfUrl(url));
  std::error_code error;
  return fs::is_regular_file(fs::status(path, error)) ? path.string() : std::string();
}

}  // namespace service::mediainfo::media_uuid::impl
