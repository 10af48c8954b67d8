#pragma once

#include "probe/input_path.h"
#include "record/record.h"
#include "service/iservice.h"

namespace mediaprobe {

/// Asks the SVG service about inputs, one session each.
class SvgProber {
 public:
  /// Borrows `service`.
  explicit SvgProber(service::IService& service) : service_(service) {}

  /// Never fails: what cannot be answered becomes a record with an error. `path` becomes the one that was found.
  Record Probe(InputPath& path) const;

 private:
  service::IService& service_;
};

}  // namespace mediaprobe
