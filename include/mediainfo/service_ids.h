#pragma once

namespace service::mediainfo {

/// Names and UUIDs of the four services of the media information module. The first name is itself a UUID text: hosts
/// find the service by exactly this string.
inline constexpr char kMediaFileInfoServiceName[] = "0CE15DAE-8176-4622-8DA4-A5C5C2E9AC1C";
inline constexpr char kMediaFileInfoServiceUuid[] = "C37973D9-22DC-4DEE-A187-07AB091E1633";
inline constexpr char kImageInfoServiceName[] = "mediainfo/image";
inline constexpr char kImageInfoServiceUuid[] = "70F025AB-9B4F-430B-B3D6-9D02B72A8E62";
inline constexpr char kSvgInfoServiceName[] = "mediainfo/svg";
inline constexpr char kSvgInfoServiceUuid[] = "9C5EA962-3518-4359-957B-DBB19DF79112";
inline constexpr char kMediaUuidServiceName[] = "ZOR MEDIA UUID SERVICE";
inline constexpr char kMediaUuidServiceUuid[] = "7E68ABCF-8A18-4C86-A4BC-F8BAC343C344";

}  // namespace service::mediainfo
