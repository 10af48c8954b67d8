#include "checks/areas.h"

#include <array>

namespace module_check {

std::span<const Area> Areas() {
  static const std::array<Area, 16> kAreas{{
      {nullptr, FileChecks()},
      {"file.shared-object", LoadChecks()},
      {kLoads, TableChecks()},
      {kTableTold, ServiceChecks()},
      {kServiceCreate, InitChecks()},
      {kServiceCreate, SessionChecks()},
      {kSessionCreate, SharedSessionChecks()},
      {kSessionCreate, ProcessChecks()},
      {kSessionCreate, UnloadChecks()},
      {kSessionCreate, MediaChecks()},
      {kMediaInterface, MediaFileChecks()},
      {kSessionCreate, MetadataStoreChecks()},
      {kSessionCreate, ImageChecks()},
      {kSessionCreate, SvgChecks()},
      {kSessionCreate, UuidChecks()},
      {kSessionCreate, SvgDecoderChecks()},
  }};
  return kAreas;
}

}  // namespace module_check
