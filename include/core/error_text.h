#pragma once

#include "core/log.h"

extern "C" {

/// Why the last operation on this thread failed, in words meant for a person ("not a media file"). Result codes cross
/// the interfaces; the reason travels beside them, like errno: the layer that knows it sets it, the host that wants to
/// show it reads it right after the failure. Static text or a copy of at most 255 bytes; null clears it.
CORE_API void CoreSetErrorText(const char* reason);

/// The text set last on this thread, empty when there is none. Valid until the next call of CoreSetErrorText on this
/// thread.
CORE_API const char* CoreErrorText();

}  // extern "C"
