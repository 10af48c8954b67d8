#include "platform/export.h"

extern "C" PLATFORM_EXPORT int NotAModule() { return 1; }
