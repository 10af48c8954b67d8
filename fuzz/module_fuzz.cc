// The built module with the real media server and SVG decoder, as a host has them: one file, given to all four
// services.
//
// Oracle: only documented results; what opens is what the session oracles accept, from a clone as well; what does not
// has a reason; every session, service and reference is given back.

#include <cstdint>
#include <string>
#include <vector>

#include "core/error_text.h"
#include "core/log.h"
#include "fuzz/check.h"
#include "fuzz/loaded_module.h"
#include "fuzz/memory_file.h"
#include "fuzz/session_oracle.h"
#include "mediainfo/isvg_info.h"
#include "mediainfo/result.h"
#include "mediauuid/imedia_uuid.h"
#include "service/iservice_manager.h"

namespace fuzz {
namespace {

using service::mediainfo::kFailed;
using service::mediainfo::kSuccess;

/// Whether the thread has a reason for what it was refused, or none for what it got.
bool IsExplained(bool succeeded) { return succeeded == (*CoreErrorText() == '\0'); }

void CheckMediaFile(const std::string& path) {
  const Session<service::mediainfo::IMediaFileInfo> session(kMediaFileService);
  std::string url = path;
  const std::uint32_t result = session->SetURL(url.data());
  FUZZ_CHECK((result == kSuccess || result == kFailed) && IsExplained(result == kSuccess) && url == path);
  if (result != kSuccess) return;
  ReadWholeMediaFile(*session);
  service::mediainfo::IMediaFileInfo* clone = nullptr;
  FUZZ_CHECK(session->Clone(&clone) == kSuccess && clone != nullptr);
  FUZZ_CHECK(clone->GetDuration() == session->GetDuration() && clone->GetBitRate() == session->GetBitRate());
  FUZZ_CHECK(clone->GetFormatFourCC() == session->GetFormatFourCC());
  session.Destroy(dynamic_cast<service::ISession*>(clone));
}

void CheckImage(const std::string& path) {
  const Session<service::mediainfo::IImageInfo> session(kImageService);
  const bool was_read = session->SetPath(("file:/" + path).c_str());
  FUZZ_CHECK(IsExplained(was_read));
  if (was_read) FUZZ_CHECK(session->GetWidth() >= 1 && session->GetHeight() >= 1);
  ReadWholeImage(*session);
}

void CheckSvg(const std::string& path) {
  const Session<service::mediainfo::ISvgInfo> session(kSvgService);
  std::string url = path;
  const bool loaded = session->SetPath(url.data());
  FUZZ_CHECK(IsExplained(loaded));
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  FUZZ_CHECK(session->GetSize(&width, &height) == loaded && (width >= 1) == loaded && (height >= 1) == loaded);
  width = height = 0;
  FUZZ_CHECK(session->GetViewSize(&width, &height) == loaded && (width >= 1) == loaded && (height >= 1) == loaded);
}

void CheckUuid(const std::string& path) {
  const Session<service::mediauuid::IMediaUuid> session(kUuidService);
  core::Uuid uuid;
  FUZZ_CHECK(session->GetUuid(path.c_str(), &uuid));
  const char* text = session->GetUuidText(path.c_str());
  FUZZ_CHECK(text != nullptr);
  const std::string digits(text);
  FUZZ_CHECK(digits.size() == 32);
  core::Uuid again;
  FUZZ_CHECK(again.FromString((digits.substr(0, 8) + "-" + digits.substr(8, 4) + "-" + digits.substr(12, 4) + "-" +
                               digits.substr(16, 4) + "-" + digits.substr(20))
                                  .c_str()));
  FUZZ_CHECK(again == uuid);
}

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  CoreLogSetFile("/dev/null");
  FUZZ_CHECK(ZORServiceMrgAcqire(0)->LoadModule(SVG_DECODER_PATH, nullptr));
  fuzz::ModuleTable();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::MemoryFile file(data, size);
  fuzz::CheckMediaFile(file.path());
  fuzz::CheckImage(file.path());
  fuzz::CheckSvg(file.path());
  fuzz::CheckUuid(file.path());
  return 0;
}
