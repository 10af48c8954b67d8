#pragma once

#include <span>

#include "check.h"

namespace module_check {

/// All checks, in the order in which they are run and told.
std::span<const Area> Areas();

/// Ids of the gates that other areas lie behind.
inline constexpr char kLoads[] = "file.loads";
inline constexpr char kTableTold[] = "table.told";
inline constexpr char kServiceCreate[] = "service.create";
inline constexpr char kSessionCreate[] = "session.create";
inline constexpr char kMediaInterface[] = "media.interface";

/// Checks of each area, gate first.
std::span<const Check> FileChecks();
std::span<const Check> LoadChecks();
std::span<const Check> TableChecks();
std::span<const Check> InitChecks();
std::span<const Check> ServiceChecks();
std::span<const Check> SessionChecks();
std::span<const Check> SharedSessionChecks();
std::span<const Check> ProcessChecks();
std::span<const Check> UnloadChecks();
std::span<const Check> MediaChecks();
std::span<const Check> MediaFileChecks();
std::span<const Check> MetadataStoreChecks();
std::span<const Check> ImageChecks();
std::span<const Check> SvgChecks();
std::span<const Check> UuidChecks();
std::span<const Check> SvgDecoderChecks();

}  // namespace module_check
