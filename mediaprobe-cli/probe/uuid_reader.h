#pragma once

#include <string>

#include "probe/input_path.h"
#include "service/iservice.h"

namespace mediaprobe {

/// Asks the media UUID service for the identifier of an input's content.
class UuidReader {
 public:
  /// Borrows `service`.
  explicit UuidReader(service::IService& service) : service_(service) {}

  struct Answer {
    std::string uuid;   ///< 32 hexadecimal digits, empty when there is none
    std::string error;  ///< why not, in words
  };
  /// Reads the whole file, or all frames of a sequence.
  Answer Read(const InputPath& path) const;

 private:
  service::IService& service_;
};

}  // namespace mediaprobe
