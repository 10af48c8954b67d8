#include "probe/input_path.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

#include "probe/picture_sequence.h"

namespace mediaprobe {
namespace {

constexpr std::array<std::string_view, 2> kNetworkSchemes = {"http://", "https://"};
constexpr std::string_view kFileScheme = "file:";
constexpr std::string_view kSequenceScheme = "files:";
constexpr std::string_view kLocalHost = "//localhost/";

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

/// "%20" becomes a blank; what is no escape, or would be a NUL, stays as it is.
std::string DecodePercent(std::string_view text) {
  std::string decoded;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const int high = text[at] == '%' && at + 2 < text.size() ? HexDigit(text[at + 1]) : -1;
    const int low = high >= 0 ? HexDigit(text[at + 2]) : -1;
    const int byte = low >= 0 ? high * 16 + low : 0;
    if (byte == 0) {
      decoded += text[at];
      continue;
    }
    decoded += static_cast<char>(byte);
    at += 2;
  }
  return decoded;
}

bool Exists(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0;
}

/// The path that the part of a file URL after its scheme names.
std::string PathOfFileUrl(std::string_view rest) {
  if (rest.starts_with(kLocalHost)) rest.remove_prefix(kLocalHost.size() - 1);
  while (rest.starts_with("//")) rest.remove_prefix(1);
  std::string path(rest);
  return Exists(path) || Exists(FirstFrame(path)) ? path : DecodePercent(path);
}

std::string Absolute(const std::string& path) {
  if (path.starts_with('/') || path.empty()) return path;
  std::error_code no_current_folder;
  const std::filesystem::path folder = std::filesystem::current_path(no_current_folder);
  return no_current_folder ? path : (folder / path).native();
}

/// What the services of single files are given: they drop the first six characters of what has a protocol in it,
/// whatever these are, and keep the path's own slash.
std::string FileUrl(const std::string& path) {
  const bool looks_like_url = path.find(":/") != std::string::npos;
  return looks_like_url ? "file:/" + path : path;
}

}  // namespace

bool IsNetworkUrl(std::string_view input) {
  return std::ranges::any_of(kNetworkSchemes, [input](std::string_view scheme) { return input.starts_with(scheme); });
}

InputPath ToInputPath(std::string_view input) {
  if (IsNetworkUrl(input)) return {std::string(input), std::nullopt};
  const bool is_sequence_url = input.starts_with(kSequenceScheme);
  std::string path(input);
  if (is_sequence_url) path = PathOfFileUrl(input.substr(kSequenceScheme.size()));
  if (input.starts_with(kFileScheme)) path = PathOfFileUrl(input.substr(kFileScheme.size()));
  path = Absolute(path);

  const bool is_sequence = (is_sequence_url || IsSequencePattern(path)) && !Exists(path);
  return {FileUrl(path), path, is_sequence};
}

std::string ImageUrl(const InputPath& path) {
  // The image service takes "file:///a" for "//a", which is the same file, and "file:////a" for "//a" too.
  return (path.is_sequence ? "files://" : "file://") + *path.local_path;
}

std::string UuidUrl(const InputPath& path) { return path.is_sequence ? "files://" + *path.local_path : path.url; }

void FollowService(InputPath& path, const std::string& url) {
  if (!path.local_path || url == path.url) return;
  std::string changed = url.substr(url.size() - path.local_path->size());
  if (!Exists(changed)) return;
  path.url = url;
  path.local_path = std::move(changed);
}

}  // namespace mediaprobe
