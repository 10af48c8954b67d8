#pragma once

/// What CoreErrorText says after IMediaServer::GetMediaInfo refused a file. Hosts compare with these texts.
namespace media_server::refusals {

inline constexpr char kNoPermission[] = "no permission";  ///< to open the file

// Another service reads it.
inline constexpr char kNotMedia[] = "not a media file";  ///< nor anything else that is read here
inline constexpr char kStillImage[] = "a still image, not a media file";
inline constexpr char kSvg[] = "an SVG image, not a media file";

}  // namespace media_server::refusals
