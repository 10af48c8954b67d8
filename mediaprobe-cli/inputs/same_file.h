#pragma once

#include <string>
#include <vector>

namespace mediaprobe {

/// Whether the file at `path` is one of `inputs`, as a command line names them: the same by device and inode, whatever
/// the names. Of a sequence the first frame counts; of folders what lies in them does not. False where `path` is empty
/// or no regular file.
bool IsOneOf(const std::string& path, const std::vector<std::string>& inputs);

}  // namespace mediaprobe
