#include "platform/export.h"
#include "platform/library.h"

/// LoadLibraryA as a library of its own folder calls it.
extern "C" PLATFORM_EXPORT HMODULE LoadFromHere(const char* path) { return LoadLibraryA(path); }
