#include "inputs/same_file.h"

#include <sys/stat.h>

#include <algorithm>

#include "probe/input_path.h"
#include "probe/picture_sequence.h"

namespace mediaprobe {

bool IsOneOf(const std::string& path, const std::vector<std::string>& inputs) {
  struct stat file {};
  if (path.empty() || stat(path.c_str(), &file) != 0 || !S_ISREG(file.st_mode)) return false;
  return std::ranges::any_of(inputs, [&](const std::string& name) {
    const InputPath input = ToInputPath(name);
    if (!input.local_path) return false;
    struct stat status {};
    const std::string first = input.is_sequence ? FirstFrame(*input.local_path) : *input.local_path;
    return stat(first.c_str(), &status) == 0 && status.st_dev == file.st_dev && status.st_ino == file.st_ino;
  });
}

}  // namespace mediaprobe
