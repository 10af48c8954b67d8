#include "media-server/codec/profile_names.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

namespace media_server::codec {
namespace {

struct Name {
  int number;
  std::string_view text;
};

constexpr std::array<Name, 21> kH264Profiles = {{
    {66, "Baseline"},
    {66 + 0x200, "Constrained Baseline"},
    {77, "Main"},
    {83, "Scalable Baseline"},
    {86, "Scalable High"},
    {88, "Extended"},
    {100, "High"},
    {110, "High 10"},
    {110 + 0x800, "High 10 Intra"},
    {118, "Multiview High"},
    {122, "High 4:2:2"},
    {122 + 0x800, "High 4:2:2 Intra"},
    {128, "Stereo High"},
    {134, "MFC High"},
    {135, "MFC Depth High"},
    {138, "Multiview Depth High"},
    {139, "Enhanced Multiview Depth High"},
    {144, "High 4:4:4"},
    {244, "High 4:4:4 Predictive"},
    {244 + 0x800, "High 4:4:4 Intra"},
    {44, "CAVLC 4:4:4 Intra"},
}};

constexpr std::array<Name, 11> kHevcProfiles = {{
    {1, "Main"},
    {2, "Main 10"},
    {3, "Main Still Picture"},
    {4, "Format Range"},
    {5, "High Throughput"},
    {6, "Multiview Main"},
    {7, "Scalable Main"},
    {8, "3D Main"},
    {9, "Screen Content"},
    {10, "Scalable Format Range"},
    {11, "High Throughput Screen Content"},
}};

constexpr std::array<Name, 8> kVvcProfiles = {{
    {1, "Main 10"},
    {17, "Multilayer Main 10"},
    {33, "Main 10 4:4:4"},
    {49, "Multilayer Main 10 4:4:4"},
    {65, "Main 10 Still Picture"},
    {97, "Main 10 4:4:4 Still Picture"},
    {2, "Main 12"},
    {34, "Main 12 4:4:4"},
}};

constexpr std::array<Name, 3> kAv1Profiles = {{{0, "Main"}, {1, "High"}, {2, "Professional"}}};

constexpr std::array<Name, 4> kVp9Profiles = {{{0, "Profile 0"}, {1, "Profile 1"}, {2, "Profile 2"}, {3, "Profile 3"}}};

constexpr std::array<Name, 6> kMpeg2Profiles = {{
    {0, "4:2:2"},
    {1, "High"},
    {2, "Spatially Scalable"},
    {3, "SNR Scalable"},
    {4, "Main"},
    {5, "Simple"},
}};

constexpr std::array<Name, 16> kMpeg4VisualProfiles = {{
    {0, "Simple"},
    {1, "Simple Scalable"},
    {2, "Core"},
    {3, "Main"},
    {4, "N-bit"},
    {5, "Scalable Texture"},
    {6, "Simple Face Animation"},
    {7, "Basic Animated Texture"},
    {8, "Hybrid"},
    {9, "Advanced Real Time Simple"},
    {10, "Core Scalable"},
    {11, "Advanced Coding Efficiency"},
    {12, "Advanced Core"},
    {13, "Advanced Scalable Texture"},
    {14, "Simple Studio"},
    {15, "Advanced Simple"},
}};

constexpr std::array<Name, 6> kProResProfiles = {{
    {0, "422 Proxy"},
    {1, "422 LT"},
    {2, "422"},
    {3, "422 HQ"},
    {4, "4444"},
    {5, "4444 XQ"},
}};

constexpr std::array<Name, 4> kVc1Profiles = {{{0, "Simple"}, {1, "Main"}, {2, "Complex"}, {3, "Advanced"}}};

constexpr std::array<Name, 6> kDnxhdProfiles = {{
    {0, "DNXHD"},
    {1, "DNXHR LB"},
    {2, "DNXHR SQ"},
    {3, "DNXHR HQ"},
    {4, "DNXHR HQX"},
    {5, "DNXHR 444"},
}};

// The last byte of the start-of-frame marker.
constexpr std::array<Name, 5> kMjpegProfiles = {{
    {0xC0, "Baseline"},
    {0xC1, "Sequential"},
    {0xC2, "Progressive"},
    {0xC3, "Lossless"},
    {0xF7, "JPEG LS"},
}};

std::string_view Find(std::span<const Name> names, int number) {
  const auto found = std::ranges::find(names, number, &Name::number);
  return found == names.end() ? std::string_view() : found->text;
}

/// "L4" or "L4.1": a minor number of zero is not written.
std::string Dotted(int major, int minor) {
  std::string text = "L" + std::to_string(major);
  if (minor != 0) text += "." + std::to_string(minor);
  return text;
}

std::string H264Level(int level, int) {
  constexpr int kLevel1b = 9;
  constexpr int kLowest = 10;
  constexpr int kHighest = 62;
  if (level == kLevel1b) return "L1b";
  return level >= kLowest && level <= kHighest ? Dotted(level / 10, level % 10) : std::string();
}

/// general_level_idc of HEVC: thirty times the level.
std::string HevcLevel(int level, int) {
  constexpr int kUnlimited = 255;  // level 8.5
  if (level == kUnlimited) return Dotted(8, 5);
  return level >= 30 && level % 3 == 0 ? Dotted(level / 30, level % 30 / 3) : std::string();
}

/// general_level_idc of VVC: sixteen times the major number and three times the minor one.
std::string VvcLevel(int level, int) {
  return level >= 16 && level % 16 % 3 == 0 ? Dotted(level / 16, level % 16 / 3) : std::string();
}

/// seq_level_idx: four steps from level to level, from 2.0 on; 31 is without limits.
std::string Av1Level(int level, int) {
  constexpr int kHighest = 23;
  return level >= 0 && level <= kHighest ? Dotted(2 + level / 4, level % 4) : std::string();
}

std::string Mpeg2Level(int level, int profile) {
  constexpr std::array<Name, 5> kLevels = {{{2, "High P"}, {4, "High"}, {6, "High 1440"}, {8, "Main"}, {10, "Low"}}};
  constexpr std::array<Name, 2> k422Levels = {{{2, "High"}, {5, "Main"}}};
  constexpr int k422Profile = 0;
  return std::string(profile == k422Profile ? Find(k422Levels, level) : Find(kLevels, level));
}

/// Level numbers; those above 7 name variants of one profile (14496-2, table G.1).
std::string Mpeg4VisualLevel(int level, int profile) {
  constexpr int kSimple = 0;
  constexpr int kAdvancedSimple = 15;
  if (profile == kSimple && level == 9) return "L0b";
  if (profile == kSimple && (level == 4 || level == 5 || level == 6)) return level == 4 ? "L4a" : Dotted(level, 0);
  if (profile == kAdvancedSimple && level == 7) return "L3b";
  return level >= 0 && level <= 5 ? Dotted(level, 0) : std::string();
}

// Profiles of MPEG-4 Visual that have the upper levels of another one's number (14496-2, table G.1).
struct UpperProfile {
  int profile;
  int first;  // level of that number
  int last;
  int below_level;  // to be taken off for the level of their own
  std::string_view text;
};

constexpr std::array<UpperProfile, 3> kUpperProfiles = {{
    {6, 3, 4, 2, "Simple FBA"},
    {14, 5, 8, 4, "Core Studio"},
    {15, 8, 13, 8, "Fine Granularity Scalable"},
}};

/// Empty for the profiles that have a number to themselves.
std::string UpperProfileText(int level, int profile) {
  const auto found = std::ranges::find_if(kUpperProfiles, [&](const UpperProfile& upper) {
    return upper.profile == profile && level >= upper.first && level <= upper.last;
  });
  if (found == kUpperProfiles.end()) return {};
  return std::string(found->text) + "@" + Dotted(level - found->below_level, 0);
}

/// Only the Advanced profile of VC-1 numbers its levels.
std::string Vc1Level(int level, int profile) {
  constexpr int kAdvanced = 3;
  return profile == kAdvanced && level >= 0 && level <= 4 ? Dotted(level, 0) : std::string();
}

std::string NoLevel(int, int) { return {}; }

struct Codec {
  ProfiledCodec codec;
  std::span<const Name> profiles;
  std::string (*level)(int level, int profile);
};

constexpr std::array<Codec, 11> kCodecs = {{
    {ProfiledCodec::kH264, kH264Profiles, H264Level},
    {ProfiledCodec::kHevc, kHevcProfiles, HevcLevel},
    {ProfiledCodec::kVvc, kVvcProfiles, VvcLevel},
    {ProfiledCodec::kAv1, kAv1Profiles, Av1Level},
    {ProfiledCodec::kVp9, kVp9Profiles, NoLevel},
    {ProfiledCodec::kMpeg2, kMpeg2Profiles, Mpeg2Level},
    {ProfiledCodec::kMpeg4Visual, kMpeg4VisualProfiles, Mpeg4VisualLevel},
    {ProfiledCodec::kProRes, kProResProfiles, NoLevel},
    {ProfiledCodec::kVc1, kVc1Profiles, Vc1Level},
    {ProfiledCodec::kDnxhd, kDnxhdProfiles, NoLevel},
    {ProfiledCodec::kMjpeg, kMjpegProfiles, NoLevel},
}};

/// AV1's short form leaves the tier out.
bool ShowsTier(ProfiledCodec codec) { return codec == ProfiledCodec::kHevc || codec == ProfiledCodec::kVvc; }

}  // namespace

std::string ProfileText(ProfiledCodec codec, const PictureParameters& picture) {
  const auto entry = std::ranges::find(kCodecs, codec, &Codec::codec);
  if (entry == kCodecs.end() || !picture.profile) return {};
  std::string text(Find(entry->profiles, *picture.profile));
  if (text.empty() || !picture.level) return text;
  if (codec == ProfiledCodec::kMpeg4Visual) {
    if (std::string upper = UpperProfileText(*picture.level, *picture.profile); !upper.empty()) return upper;
  }
  const std::string level = entry->level(*picture.level, *picture.profile);
  if (level.empty()) return text;
  text += "@" + level;
  if (ShowsTier(codec) && picture.high_tier) text += *picture.high_tier ? "@High" : "@Main";
  return text;
}

}  // namespace media_server::codec
