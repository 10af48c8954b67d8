#include "listings.h"

#include "media_server/formats.h"
#include "platform/library.h"
#include "platform/text.h"

namespace mediaprobe {

std::string FormatList(const Host& host) {
  // The media server came with the module: it is found, not loaded.
  const HMODULE library =
      GetModuleHandleW(platform::PathToUtf16(host.library_folder() + "/" + media_server::kLibraryName).c_str());
  const auto list =
      reinterpret_cast<media_server::GetFormatListFunction>(GetProcAddress(library, media_server::kGetFormatList));
  return list ? list() : "";
}

std::string ServiceList(const Host& host) {
  std::string list;
  for (const service::ServiceDescriptor* row : host.Services()) {
    list.append(row->uuid).append("  ").append(row->name).append("  ").append(row->description) += '\n';
  }
  return list;
}

}  // namespace mediaprobe
