#pragma once

#include <string>

#include "probe/input_path.h"
#include "record/record.h"
#include "service/iservice.h"

namespace mediaprobe {

/// Asks the media file service about inputs, one session each.
class MediaProber {
 public:
  /// Borrows `service`. `key` is the hex key for protected files, empty for none.
  MediaProber(service::IService& service, std::string key);

  /// Never fails: what cannot be answered becomes a record with an error. `path` becomes the one that was found.
  Record Probe(InputPath& path) const;

 private:
  service::IService& service_;
  std::string key_;
};

}  // namespace mediaprobe
