#pragma once

#include "media_server/imedia_server.h"

namespace service::mediainfo {

/// Functions of the support libraries; null until found. Once found they stay, and their libraries stay loaded.
struct SupportLibraries {
  media_server::QkCreateInstanceFunction create_instance = nullptr;     ///< QKCreateInstance of COMSupport.dll
  media_server::SetProtectedPathFunction set_protected_path = nullptr;  ///< SetProtectedPath of QK_log.dll
};

/// The process's functions, as load_support_libraries found them.
const SupportLibraries& support_libraries();

/// Looks in `folder` (UTF-8) for the functions that are not known yet, loading their libraries where nobody did. What
/// is missing stays null.
void load_support_libraries(const char* folder);

}  // namespace service::mediainfo
