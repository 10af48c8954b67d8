#pragma once

#include <string>

#if defined(_WIN32)
#include <windows.h>
#else

/// Run-time loading of shared libraries with its Windows meaning. File names are the same on every platform: a library
/// named "COMSupport.dll" is an ELF shared object of that name. All functions return null on failure.
using HMODULE = void*;

/// Loads the library at `path`, or adds a reference when it is loaded already. Here and below, wide paths are those of
/// platform::PathToUtf16.
HMODULE LoadLibraryW(const char16_t* path);
/// As LoadLibraryW, from UTF-8 text. A bare file name is looked for in the folder of the calling module first, then in
/// the loader's usual places.
HMODULE LoadLibraryA(const char* path);
/// The library at `path` if it is loaded already; never loads, adds no reference.
HMODULE GetModuleHandleW(const char16_t* path);
/// Address of an exported symbol.
void* GetProcAddress(HMODULE library, const char* name);
#endif

namespace platform {

/// Why the last call of LoadLibraryW, LoadLibraryA or GetProcAddress on this thread failed, in words for people; tells
/// it once.
std::string LibraryErrorText();

}  // namespace platform
