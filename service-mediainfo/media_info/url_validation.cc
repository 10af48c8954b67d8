#include "service-mediainfo/media_info/url_validation.h"

#include <cstring>
#include <ghc/filesystem.hpp>
#include <string_view>

#include "core/error_text.h"
#include "core/log.h"
#include "media_server/refusals.h"
#include "platform/url_text.h"

namespace service::mediainfo {
namespace {

namespace fs = ghc::filesystem;

constexpr char kFunction[] = "service::mediainfo::IsValidPath";
/// Length of "file:/".
constexpr std::size_t kSkippedPrefix = 6;
constexpr char kNoSuchFile[] = "no such file";

struct FileQuery {
  explicit FileQuery(const char* text) : path(text) {
    path.make_preferred();
    type = fs::status(path, error).type();
  }
  bool IsFile() const { return type == fs::file_type::regular || type == fs::file_type::unknown; }

  fs::path path;
  std::error_code error;
  fs::file_type type = fs::file_type::none;
};

/// ASCII letters only, whatever the locale.
char SwapCase(char letter) {
  const bool is_letter = (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
  return is_letter ? static_cast<char>(letter ^ ('a' ^ 'A')) : letter;
}

void SwapExtensionCase(char* path) {
  char* dot = std::strrchr(path, '.');
  if (dot == nullptr) return;
  for (char* at = dot + 1; *at != '\0'; ++at) *at = SwapCase(*at);
}

/// Why a path is no file.
std::string ReasonOf(const FileQuery& query) {
  std::error_code error = query.error;
  switch (query.type) {
    case fs::file_type::not_found:
      return kNoSuchFile;
    case fs::file_type::directory:
      return "is a folder";
    case fs::file_type::symlink:
      // The status does not tell a link that leads nowhere from one in a circle or one into a closed folder.
      fs::file_size(query.path, error);
      [[fallthrough]];
    case fs::file_type::none:
      if (!error || error == std::errc::no_such_file_or_directory) return kNoSuchFile;
      return error == std::errc::permission_denied ? media_server::refusals::kNoPermission : error.message();
    default:
      return "not a regular file";
  }
}

}  // namespace

bool IsValidPath(char* url, std::string* path_out) {
  const std::string_view text(url);
  if (text.starts_with("http")) {
    *path_out = text;
    return true;
  }

  char* path = url;
  if (text.find(":/") != std::string_view::npos) {
    if (text.find("file:/") == std::string_view::npos) {
      CoreLogPrint("mediainfo", kCoreLogError, "kErrorProtocol: %s  %s %d failed!", kFunction,
                   platform::MaskUrl(url).c_str(), 92);
      CoreSetErrorText("unknown protocol");
      return false;
    }
    path += kSkippedPrefix;
  }

  FileQuery query(path);
  if (!query.IsFile()) {
    const std::string reason = ReasonOf(query);
    SwapExtensionCase(path);
    query = FileQuery(path);
    if (!query.IsFile()) {
      CoreLogPrint("mediainfo", kCoreLogError,
                   "fs::status: %s [url] %s [path] %s [LINE] %d [fs::file_type] %d [std::error_code] %s failed!",
                   kFunction, url, path, 109, static_cast<int>(query.type), query.error.message().c_str());
      CoreSetErrorText(reason == kNoSuchFile ? ReasonOf(query).c_str() : reason.c_str());
      return false;
    }
  }
  *path_out = query.path.string();
  return true;
}

}  // namespace service::mediainfo
