#include "probe/picture_name.h"

#include <algorithm>
#include <string>

namespace mediaprobe {
namespace {

constexpr std::string_view kExtensions[] = {
    "apng", "arw",  "avif", "bmp", "cr2",  "cr3", "dds", "dng", "exr", "gif",  "heic", "heif", "hif",
    "ico",  "jfif", "jp2",  "jpe", "jpeg", "jpg", "jxl", "nef", "orf", "pam",  "pbm",  "pef",  "pgm",
    "png",  "ppm",  "psd",  "qoi", "raf",  "rw2", "srw", "tga", "tif", "tiff", "webp",
};

/// ASCII only, as extensions are.
char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

bool IsNamedLikeAPicture(std::string_view path) {
  const std::size_t dot = path.rfind('.');
  if (dot == path.npos) return false;
  std::string extension(path.substr(dot + 1));
  std::transform(extension.begin(), extension.end(), extension.begin(), Lower);
  return std::find(std::begin(kExtensions), std::end(kExtensions), extension) != std::end(kExtensions);
}

}  // namespace mediaprobe
