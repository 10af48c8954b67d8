#pragma once

#include "probe/input_path.h"
#include "record/record.h"
#include "service/iservice.h"

namespace mediaprobe {

/// Asks the image service about still images, animations and picture sequences, one session each.
class ImageProber {
 public:
  /// Borrows `service`.
  explicit ImageProber(service::IService& service) : service_(service) {}

  /// Never fails: what cannot be answered becomes a record with an error.
  Record Probe(const InputPath& path) const;

 private:
  service::IService& service_;
};

}  // namespace mediaprobe
