#pragma once

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace media_server {

/// Path of a file in the samples folder, and its bytes.
inline std::string SamplePath(const std::string& name) { return SAMPLES_FOLDER "/" + name; }

inline std::vector<std::uint8_t> ReadSample(const std::string& name) {
  std::ifstream file(SamplePath(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace media_server
