#pragma once

/// Visibility of what a shared library gives to others. Everything else in our libraries is hidden. A library's own
/// headers choose PLATFORM_EXPORT while that library is built and PLATFORM_IMPORT everywhere else; outside Windows the
/// two are one.
#if defined(_WIN32)
#define PLATFORM_EXPORT __declspec(dllexport)
#define PLATFORM_IMPORT __declspec(dllimport)
#else
#define PLATFORM_EXPORT __attribute__((visibility("default")))
#define PLATFORM_IMPORT __attribute__((visibility("default")))
#endif
