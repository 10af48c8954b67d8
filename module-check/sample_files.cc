#include "sample_files.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <string_view>
#include <system_error>

namespace module_check {
namespace {

constexpr char kTextContent[] = "module-check\n";
constexpr char kOtherTextContent[] = "another text\n";
constexpr char kDrawingContent[] =
    "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"120\" height=\"80\" viewBox=\"0 0 24 16\"/>\n";

/// Grey, 8 bits.
constexpr std::array<unsigned char, 71> kPictureContent{
    0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A, 0x00, 0x00, 0x00, 0x0D, 0x49, 0x48, 0x44, 0x52, 0x00, 0x00,
    0x00, 0x03, 0x00, 0x00, 0x00, 0x02, 0x08, 0x00, 0x00, 0x00, 0x00, 0xB8, 0x1F, 0x39, 0xC6, 0x00, 0x00, 0x00,
    0x0E, 0x49, 0x44, 0x41, 0x54, 0x78, 0xDA, 0x63, 0x50, 0x70, 0x48, 0x60, 0x00, 0x62, 0x00, 0x05, 0x88, 0x01,
    0x81, 0xBF, 0x5B, 0xAB, 0xBE, 0x00, 0x00, 0x00, 0x00, 0x49, 0x45, 0x4E, 0x44, 0xAE, 0x42, 0x60, 0x82};

std::filesystem::path MakeFolder() {
  std::string name = std::filesystem::temp_directory_path() / "module-check-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) throw std::system_error(errno, std::generic_category(), name);
  return name;
}

void Write(const std::filesystem::path& path, std::string_view content) {
  std::ofstream file(path, std::ios::binary);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  file.close();
  if (!file) throw std::system_error(errno, std::generic_category(), path.string());
}

void AppendNumber(std::string& out, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out += static_cast<char>(value >> (8 * i) & 0xFFU);
}

/// PCM of 8 bits, whose silence is 128.
std::string SoundContent() {
  constexpr std::uint32_t kSamples = sample_facts::kSoundRateHz;
  std::string content = "RIFF";
  AppendNumber(content, 36 + kSamples, 4);
  content += "WAVEfmt ";
  AppendNumber(content, 16, 4);
  AppendNumber(content, 1, 2);
  AppendNumber(content, sample_facts::kSoundChannels, 2);
  AppendNumber(content, sample_facts::kSoundRateHz, 4);
  AppendNumber(content, sample_facts::kSoundRateHz, 4);  // bytes a second
  AppendNumber(content, 1, 2);                           // bytes a frame
  AppendNumber(content, 8, 2);
  content += "data";
  AppendNumber(content, kSamples, 4);
  content.append(kSamples, '\x80');
  return content;
}

}  // namespace

SampleFiles::SampleFiles() : folder_(MakeFolder()) {
  const std::string_view picture(reinterpret_cast<const char*>(kPictureContent.data()), kPictureContent.size());
  Write(folder_ / sample_names::kSound, SoundContent());
  Write(folder_ / sample_names::kPicture, picture);
  for (const char* frame : {"frame_1.png", "frame_2.png", "frame_3.png"}) Write(folder_ / frame, picture);
  Write(folder_ / sample_names::kDrawing, kDrawingContent);
  Write(folder_ / sample_names::kText, kTextContent);
  Write(folder_ / sample_names::kOtherText, kOtherTextContent);
  Write(folder_ / "part_1.txt", kTextContent);
  Write(folder_ / "part_2.txt", kOtherTextContent);
  Write(folder_ / sample_names::kEmpty, "");
  std::filesystem::create_directory(folder_ / sample_names::kSubfolder);
}

SampleFiles::~SampleFiles() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

}  // namespace module_check
