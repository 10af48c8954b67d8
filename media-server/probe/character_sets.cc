#include <iconv.h>

#include "core/loading.h"

// Texts of broadcast streams may be in any of a dozen character sets, and the system loads a converter for each. The
// linker hands libav*'s calls to ours (--wrap); the doubled names are the linker's.

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
iconv_t __real_iconv_open(const char* to, const char* from);

iconv_t __wrap_iconv_open(const char* to, const char* from) {
  CoreTellLoading(from);
  return __real_iconv_open(to, from);
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

}  // extern "C"
