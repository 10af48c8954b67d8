#pragma once

#include <cstdint>

namespace service {

/// The host's configuration, asked once per key while a service is initialised.
class IConfig {
 public:
  virtual ~IConfig() = default;
  virtual void Reserved1() = 0;
  virtual void Reserved2() = 0;
  virtual void Reserved3() = 0;
  /// The value (UTF-8, valid as long as the configuration), or null when the key is absent.
  virtual const char* GetString(const char* key, std::uintptr_t reserved) = 0;
};

/// Keys that a media information module asks for.
namespace config_keys {
inline constexpr char kMediaInfoPath[] = "MediaInfoPath";
/// HTTP proxy for network URLs ("http://host:port"); empty for none.
inline constexpr char kMediaProxyPath[] = "MediaProxyPath";
/// Folder of the application; support libraries lie in its subfolder "userepace".
inline constexpr char kSetAppPath[] = "SetAppPath";
inline constexpr char kSetAppResPath[] = "SetAppResPath";
/// Folder of the log file; empty for standard error only.
inline constexpr char kSetLogPath[] = "SetLogPath";
}  // namespace config_keys

}  // namespace service
