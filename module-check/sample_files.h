#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace module_check {

/// Files that checks are made with, in a temporary folder that goes with the object. What stands in them is told below.
class SampleFiles {
 public:
  /// Throws std::filesystem::filesystem_error or std::system_error when they cannot be written.
  SampleFiles();
  ~SampleFiles();
  SampleFiles(const SampleFiles&) = delete;
  SampleFiles& operator=(const SampleFiles&) = delete;

  std::string folder() const { return folder_; }

 private:
  std::filesystem::path folder_;
};

/// Names below the folder.
namespace sample_names {
/// One second of silence.
inline constexpr char kSound[] = "sound.wav";
/// 3 by 2 pixels; the same three times as frames of a sequence.
inline constexpr char kPicture[] = "picture.png";
inline constexpr char kFrames[] = "frame_[1-3].png";
inline constexpr char kDrawing[] = "drawing.svg";
/// "module-check" and "another text", a line each.
inline constexpr char kText[] = "text.txt";
inline constexpr char kOtherText[] = "other_text.txt";
inline constexpr char kTexts[] = "part_[1-2].txt";  ///< the two, one after another
inline constexpr char kEmpty[] = "empty";
inline constexpr char kSubfolder[] = "folder";
inline constexpr char kMissing[] = "missing.wav";  ///< is not there
}  // namespace sample_names

/// What a right answer is.
namespace sample_facts {
inline constexpr std::uint32_t kSoundRateHz = 8000;
inline constexpr std::uint32_t kSoundChannels = 1;
inline constexpr std::uint64_t kSoundDuration100ns = 10'000'000;
inline constexpr std::int32_t kPictureWidth = 3;
inline constexpr std::int32_t kPictureHeight = 2;
inline constexpr std::uint64_t kFramesDuration100ns = 1'200'000;  ///< three at 25 a second
inline constexpr std::uint32_t kDrawingWidth = 120;
inline constexpr std::uint32_t kDrawingHeight = 80;
inline constexpr std::uint32_t kDrawingViewWidth = 24;
inline constexpr std::uint32_t kDrawingViewHeight = 16;
/// As md5sum tells them.
inline constexpr char kTextMd5[] = "6adbfd2d9427978120a8d7a5ae575ec0";
inline constexpr char kTextsMd5[] = "748473be5ee3ed99738a066ac2a60741";
inline constexpr char kEmptyMd5[] = "d41d8cd98f00b204e9800998ecf8427e";
}  // namespace sample_facts

}  // namespace module_check
