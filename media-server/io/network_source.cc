#include "media-server/io/network_source.h"

#include "media-server/io/sibling_library.h"
#include "media-server/network/network_library.h"

namespace media_server {
namespace {

constexpr int kTimeoutSeconds = 15;

}  // namespace

bool IsNetworkUrl(std::string_view path) { return path.starts_with("http://") || path.starts_with("https://"); }

std::unique_ptr<IByteSource> OpenNetworkSource(const std::string& url, const std::string& proxy, std::string* reason) {
  static const auto open = LoadSiblingFunction<OpenNetworkSourceFunction>(kNetworkLibraryName, kOpenNetworkSource);
  if (open == nullptr) {
    *reason = "the network library is missing";
    return nullptr;
  }
  const char* words = "cannot be reached";
  std::unique_ptr<IByteSource> source(open(url.c_str(), proxy.c_str(), kTimeoutSeconds, &words));
  if (!source) *reason = words;
  return source;
}

}  // namespace media_server
