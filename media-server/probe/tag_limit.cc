// Bounds what a file full of tags costs. libavformat keeps tags in lists that it searches from the front for every new
// one, so the time grows with the square of their number: a FLAC file of 16 MB can hold 1.5 million tags and would take
// hours, in a loop that no callback interrupts. The linker hands every call of av_dict_set from the static libav* to
// the function below (--wrap), which drops what goes past a number that no real file comes near, save the few tags that
// we read. The two names are the linker's.

#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/tag_reader.h"

namespace {

constexpr int kMostTags = 512;

}  // namespace

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
int __real_av_dict_set(AVDictionary** dictionary, const char* key, const char* value, int flags);

int __wrap_av_dict_set(AVDictionary** dictionary, const char* key, const char* value, int flags) {
  const bool keep =
      av_dict_count(*dictionary) < kMostTags || (key != nullptr && media_server::probe::IsTagOfInterest(key));
  if (keep) return __real_av_dict_set(dictionary, key, value, flags);
  // What the caller gave away is ours to free.
  if ((flags & AV_DICT_DONT_STRDUP_KEY) != 0) av_free(const_cast<char*>(key));
  if ((flags & AV_DICT_DONT_STRDUP_VAL) != 0) av_free(const_cast<char*>(value));
  return 0;
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

}  // extern "C"
