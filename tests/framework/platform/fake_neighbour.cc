#include "platform/export.h"

extern "C" PLATFORM_EXPORT int NeighbourAnswer() { return 42; }
