// The URL and path rules of the four services, through the module's exported function, with a scripted server behind
// it: a byte for the service, a byte for what the script answers, the URL with its terminator, and the answers.
//
// Oracle: nothing is asked for that the rules do not allow, and what is asked for is the path that they give; only
// documented results; what the module took is given back.

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/log.h"
#include "fuzz/check.h"
#include "fuzz/loaded_module.h"
#include "fuzz/scripted_answers.h"
#include "fuzz/session_oracle.h"
#include "mediainfo/imedia_file_info.h"
#include "mediainfo/isvg_info.h"
#include "mediainfo/result.h"
#include "mediauuid/imedia_uuid.h"

namespace fuzz {
namespace {

using service::mediainfo::kFailed;
using service::mediainfo::kNoOutput;
using service::mediainfo::kSuccess;

/// The current folder of the process, with a few files that relative paths may name.
class Folder {
 public:
  Folder() : path_((std::filesystem::temp_directory_path() / "service-rules-XXXXXX").string()) {
    FUZZ_CHECK(mkdtemp(path_.data()) != nullptr && chdir(path_.c_str()) == 0);
    for (const char* name : {"a.mp4", "B.MOV", "c", "d.Png", "\xFF.mp4"}) std::ofstream{name};
    std::filesystem::create_directory("folder.mp4");
    std::filesystem::create_symlink("nowhere", "link.mp4");
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() { std::filesystem::remove_all(path_); }

 private:
  std::string path_;
};

bool Contains(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

bool IsFile(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::string WithOtherCase(std::string path) {
  const std::size_t dot = path.rfind('.');
  if (dot == std::string::npos) return path;
  for (std::size_t i = dot + 1; i < path.size(); ++i) {
    if (std::isalpha(static_cast<unsigned char>(path[i])) != 0) path[i] = static_cast<char>(path[i] ^ 0x20);
  }
  return path;
}

/// Separators in a row are told as one, but for just two at the start, which may mean something to a system.
std::string AsTold(std::string path) {
  const bool keeps_two = path.starts_with("//") && path.size() > 2 && path[2] != '/';
  const auto repeated = std::unique(path.begin() + (keeps_two ? 1 : 0), path.end(),
                                    [](char left, char right) { return left == '/' && right == '/'; });
  path.erase(repeated, path.end());
  return path;
}

/// What the media file and SVG services open for a URL.
std::optional<std::string> OpenedPath(const std::string& url) {
  if (url.starts_with("http")) return url;
  if (Contains(url, ":/") && !Contains(url, "file:/")) return std::nullopt;
  const std::string path = Contains(url, ":/") ? url.substr(6) : url;
  for (const std::string& spelling : {path, WithOtherCase(path)}) {
    if (IsFile(spelling)) return AsTold(spelling);
  }
  return std::nullopt;
}

/// The URL in memory of its own, which ends where the text ends.
std::vector<char> Buffer(const std::string& url) { return {url.c_str(), url.c_str() + url.size() + 1}; }

void CheckMediaFile(const std::string& url) {
  const Session<service::mediainfo::IMediaFileInfo> session(kMediaFileService);
  std::vector<char> buffer = Buffer(url);
  const std::uint32_t result = session->SetURL(buffer.data());
  const std::optional<std::string> path = OpenedPath(url);
  FUZZ_CHECK(script().paths.size() == (path ? 1 : 0));
  if (path) FUZZ_CHECK(script().paths.front() == *path);
  FUZZ_CHECK(result == kFailed || result == kSuccess);
  FUZZ_CHECK(result == kFailed || (path && script().opens));
  if (result != kSuccess) return;

  FUZZ_CHECK(session->SetURL(nullptr) == kSuccess && script().paths.size() == 1);
  ReadWholeMediaFile(*session);
  session->SetEncryptKey(url.c_str());
  FUZZ_CHECK(session->Clone(nullptr) == kNoOutput);
  service::mediainfo::IMediaFileInfo* clone = nullptr;
  const std::uint32_t cloned = session->Clone(&clone);
  FUZZ_CHECK(cloned == (clone != nullptr ? kSuccess : kNoOutput));
  FUZZ_CHECK(script().paths.size() == 2 && script().paths.back() == *path);
  if (clone == nullptr) return;
  ReadWholeMediaFile(*clone);
  session.Destroy(dynamic_cast<service::ISession*>(clone));
}

/// What the server is asked for when the URL has no bracket part: the URL without its scheme, or nothing.
void CheckImagePath(const std::string& url, const std::string& path) {
  if (Contains(url, "[") || Contains(url, "]") || path.empty()) return;
  bool fits = false;
  for (const std::string scheme : {"file://", "files://", "file:/", "files:/"}) fits = fits || scheme + path == url;
  FUZZ_CHECK(fits);
}

void CheckImage(const std::string& url) {
  const Session<service::mediainfo::IImageInfo> session(kImageService);
  FUZZ_CHECK(!session->SetPath(nullptr) && session->GetMetadata() == nullptr);
  for (std::size_t asked = 1; asked <= 2; ++asked) {
    FUZZ_CHECK(session->SetPath(url.c_str()) == script().opens);
    FUZZ_CHECK(script().paths.size() == asked);
    CheckImagePath(url, script().paths.back());
    ReadWholeImage(*session);
  }
  FUZZ_CHECK(script().paths.front() == script().paths.back());
}

void CheckSvg(const std::string& url) {
  const Session<service::mediainfo::ISvgInfo> session(kSvgService);
  std::vector<char> buffer = Buffer(url);
  const bool loaded = session->SetPath(buffer.data());
  const bool is_valid = OpenedPath(url).has_value() && !url.empty();
  FUZZ_CHECK(script().paths.size() == (is_valid ? 1 : 0));
  if (is_valid) FUZZ_CHECK(script().paths.front() == buffer.data());
  FUZZ_CHECK(loaded == (is_valid && script().decoder_answer == 1));
  FUZZ_CHECK(!session->SetPath(buffer.data()) && script().paths.size() == (is_valid ? 1 : 0));

  std::uint32_t width = 0;
  std::uint32_t height = 0;
  const bool tells = session->GetSize(&width, &height);
  FUZZ_CHECK(tells == (script().decoder_answer == 0) && tells == (width == 7 && height == 7));
  FUZZ_CHECK(session->GetViewSize(&width, &height) == tells);
  FUZZ_CHECK(session->Render(0, 1, 1) == script().decoder_answer);
}

struct Digested {
  std::string path;
  bool is_sequence;
};

/// What is digested for a URL.
std::optional<Digested> DigestedFor(const std::string& url) {
  const bool has_scheme = Contains(url, ":/");
  if (!has_scheme || Contains(url, "file:/")) {
    const std::string path = has_scheme ? url.substr(6) : url;
    if (IsFile(path)) return Digested{AsTold(path), false};
  }
  if (Contains(url, "files://")) return Digested{url.substr(8), true};
  return std::nullopt;
}

void CheckUuid(const std::string& url) {
  const Session<service::mediauuid::IMediaUuid> session(kUuidService);
  const std::optional<Digested> digested = DigestedFor(url);
  core::Uuid uuid;
  FUZZ_CHECK(!session->GetUuid(url.c_str(), &uuid) || script().digests);
  FUZZ_CHECK(script().paths.size() == (digested ? 1 : 0));
  const char* text = session->GetUuidText(url.c_str());
  FUZZ_CHECK((text != nullptr) == (digested && (script().digests || digested->is_sequence)));
  if (text != nullptr) FUZZ_CHECK(std::strlen(text) <= 32);
  for (const std::string& asked : script().paths) FUZZ_CHECK(asked == digested->path);
}

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  static const fuzz::Folder folder;
  CoreLogSetFile("/dev/null");
  fuzz::RegisterScriptedDecoder();
  fuzz::ModuleTable();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kMostUrlBytes = 4096;
  if (size < 2) return 0;
  const auto* text = reinterpret_cast<const char*>(data) + 2;
  const std::string url(text, strnlen(text, std::min(size - 2, kMostUrlBytes)));
  const std::size_t answers = std::min(2 + url.size() + 1, size);
  FuzzedDataProvider bytes(data + answers, size - answers);
  fuzz::script() = {.bytes = &bytes,
                    .opens = (data[1] & 1) != 0,
                    .digests = (data[1] & 2) != 0,
                    .decoder_answer = (data[1] >> 2) % 3U};
  constexpr void (*kChecks[])(const std::string&) = {fuzz::CheckMediaFile, fuzz::CheckImage, fuzz::CheckSvg,
                                                     fuzz::CheckUuid};
  kChecks[data[0] % 4](url);
  FUZZ_CHECK(fuzz::script().live_objects == 0);
  return 0;
}
