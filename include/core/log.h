#pragma once

#include "platform/export.h"

#if defined(CORE_LIBRARY)
#define CORE_API PLATFORM_EXPORT
#else
#define CORE_API PLATFORM_IMPORT
#endif

/// Log levels as callers pass them. What is below the threshold is dropped before it is formatted.
enum CoreLogLevel : int {
  kCoreLogTrace = 2,
  kCoreLogDebug = 3,
  kCoreLogInfo = 4,
  kCoreLogWarning = 5,
  kCoreLogError = 6,
  kCoreLogFatal = 7,
  kCoreLogOff = 8,
};

extern "C" {

/// Writes one line: `tag` names the module, `level` is a CoreLogLevel, the rest is as for printf (UTF-8). Never fails;
/// safe to call from any thread. Protected texts are masked. It is not declared as printf-like to the compiler because
/// two of its callers pass fewer or more values than their format names, on purpose.
CORE_API void CoreLogPrint(const char* tag, int level, const char* format, ...);

/// Lines below `level` are dropped from now on. At start the threshold is kCoreLogWarning.
CORE_API void CoreLogSetLevel(int level);

/// From now on lines go to the file "mediainfo.log" in `folder` (UTF-8; created if missing) as well as to standard
/// error; null or an empty text closes the file. Returns false, and logs to standard error only, when the file cannot
/// be opened.
CORE_API bool CoreLogSetFolder(const char* folder);

/// From now on lines go to the end of the file at `path` (UTF-8) instead of standard error; null or an empty text
/// brings standard error back. Returns false, with the reason in CoreErrorText, and changes nothing, when the file
/// cannot be opened.
CORE_API bool CoreLogSetFile(const char* path);

/// From now on every occurrence of `text` (UTF-8) in a line is written as "***". Null and empty texts are ignored.
CORE_API void CoreLogProtect(const char* text);

}  // extern "C"
