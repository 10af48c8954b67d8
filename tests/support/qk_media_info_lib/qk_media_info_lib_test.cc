#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "core/error_text.h"
#include "media_server/image_library.h"
#include "platform/library.h"
#include "service/module_descriptor.h"

namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;

std::string BigEndian(std::uint32_t number) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift);
  return bytes;
}

/// The whole header of a QOI picture: magic, width, height, channels and colour space.
std::string QoiHeader(std::uint32_t width, std::uint32_t height) {
  return "qoif" + BigEndian(width) + BigEndian(height) + std::string("\x04\x00", 2);
}

struct Answer {
  bool answered;
  std::int32_t width = -1;
  std::int32_t height = -1;
  std::uint32_t frame_count = 77;

  friend bool operator==(const Answer&, const Answer&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Answer& answer) {
    return out << answer.answered << ' ' << answer.width << 'x' << answer.height << ' ' << answer.frame_count;
  }
};

constexpr Answer kRefused{.answered = false};

class QkMediaInfoLibTest : public testing::Test {
 protected:
  void SetUp() override {
    HMODULE library = LoadLibraryA(QK_MEDIA_INFO_LIB_PATH);
    ASSERT_NE(library, nullptr) << platform::LibraryErrorText();
    get_size_ = reinterpret_cast<media_server::GetImageSizeFunction>(GetProcAddress(library, "GetImageSize"));
    get_sequence_size_ =
        reinterpret_cast<media_server::GetImageSequenceSizeFunction>(GetProcAddress(library, "GetImageSequenceSize"));
    ASSERT_NE(get_size_, nullptr);
    ASSERT_NE(get_sequence_size_, nullptr);
    std::string name = (fs::temp_directory_path() / "qk-media-info-lib-XXXXXX").string();
    folder_ = mkdtemp(name.data());
  }
  void TearDown() override { fs::remove_all(folder_); }

  std::string Path(const std::string& name) const { return (folder_ / name).string(); }
  void Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(folder_ / name, std::ios::binary) << bytes;
  }
  Answer Size(const std::string& name) const {
    Answer answer{};
    answer.answered = get_size_(Path(name).c_str(), &answer.width, &answer.height);
    return answer;
  }
  Answer SequenceSize(const std::string& pattern) const {
    Answer answer{};
    answer.answered = get_sequence_size_(Path(pattern).c_str(), &answer.width, &answer.height, &answer.frame_count);
    return answer;
  }

  fs::path folder_;
  media_server::GetImageSizeFunction get_size_ = nullptr;
  media_server::GetImageSequenceSizeFunction get_sequence_size_ = nullptr;
};

TEST_F(QkMediaInfoLibTest, TellsTheSizeOfAPicture) {
  Write("a \xC3\xA9.qoi", QoiHeader(640, 480));
  EXPECT_EQ(Size("a \xC3\xA9.qoi"), (Answer{true, 640, 480}));
  EXPECT_STREQ(CoreErrorText(), "");
}

TEST_F(QkMediaInfoLibTest, TellsWhyItHasNoSize) {
  EXPECT_EQ(Size("missing.qoi"), kRefused);
  EXPECT_STREQ(CoreErrorText(), "no such file");
  EXPECT_EQ(Size(""), kRefused);
  EXPECT_THAT(CoreErrorText(), HasSubstr("folder"));
  Write("empty.qoi", "");
  EXPECT_EQ(Size("empty.qoi"), kRefused);
  EXPECT_STREQ(CoreErrorText(), "empty file");
  Write("text.qoi", "no picture at all");
  EXPECT_EQ(Size("text.qoi"), kRefused);
  EXPECT_STREQ(CoreErrorText(), "not an image");
  Write("large.qoi", QoiHeader(0x80000000, 1));
  EXPECT_EQ(Size("large.qoi"), kRefused);
  EXPECT_STRNE(CoreErrorText(), "");
}

TEST_F(QkMediaInfoLibTest, RefusesNull) {
  Write("a.qoi", QoiHeader(640, 480));
  const std::string path = Path("a.qoi");
  std::int32_t number = 77;
  std::uint32_t count = 77;
  EXPECT_FALSE(get_size_(nullptr, &number, &number));
  EXPECT_FALSE(get_size_(path.c_str(), nullptr, &number));
  EXPECT_FALSE(get_size_(path.c_str(), &number, nullptr));
  EXPECT_FALSE(get_sequence_size_(nullptr, &number, &number, &count));
  EXPECT_FALSE(get_sequence_size_(path.c_str(), nullptr, &number, &count));
  EXPECT_FALSE(get_sequence_size_(path.c_str(), &number, nullptr, &count));
  EXPECT_FALSE(get_sequence_size_(path.c_str(), &number, &number, nullptr));
  EXPECT_EQ(number, 77);
  EXPECT_EQ(count, 77u);
}

TEST_F(QkMediaInfoLibTest, TellsTheFirstFrameAndTheNumberOfFrames) {
  Write("f_0008.qoi", QoiHeader(8, 80));
  Write("f_0001.qoi", QoiHeader(1, 10));
  EXPECT_EQ(SequenceSize("f_[0008-0012].qoi"), (Answer{true, 8, 80, 5}));
  EXPECT_EQ(SequenceSize("f_[0008,1-3,0010-0012].qoi"), (Answer{true, 8, 80, 7}));
  EXPECT_EQ(SequenceSize("f_[9-8,0001-3].qoi"), (Answer{true, 1, 10, 3}));
}

TEST_F(QkMediaInfoLibTest, OpensNoFrameButTheFirst) {
  Write("f_1.qoi", QoiHeader(8, 80));
  // With every frame opened, this would not end before the test's time is up.
  EXPECT_EQ(SequenceSize("f_[1-4294967295].qoi"), (Answer{true, 8, 80, 4'294'967'295}));
}

TEST_F(QkMediaInfoLibTest, TakesAFileForASequenceOfOne) {
  Write("a.qoi", QoiHeader(640, 480));
  Write("b_[1-3].qoi", QoiHeader(320, 240));
  Write("b_1.qoi", QoiHeader(1, 1));
  EXPECT_EQ(SequenceSize("a.qoi"), (Answer{true, 640, 480, 1}));
  EXPECT_EQ(SequenceSize("b_[1-3].qoi"), (Answer{true, 320, 240, 1}));
  EXPECT_EQ(Size("b_[1-3].qoi"), (Answer{true, 320, 240}));
}

TEST_F(QkMediaInfoLibTest, TellsWhyASequenceHasNoSize) {
  Write("f_2.qoi", QoiHeader(8, 80));
  EXPECT_EQ(SequenceSize("f_[1-3].qoi"), kRefused);
  EXPECT_STREQ(CoreErrorText(), "no such file");
  EXPECT_EQ(SequenceSize("f_[].qoi"), kRefused);
  EXPECT_STREQ(CoreErrorText(), "a sequence without frames");
  EXPECT_EQ(SequenceSize("f_[3-1].qoi"), kRefused);
  EXPECT_EQ(SequenceSize("f_[2-4294967297].qoi"), kRefused);
  EXPECT_STREQ(CoreErrorText(), "a sequence of too many frames");
  EXPECT_EQ(SequenceSize("f_[a].qoi"), kRefused);
  EXPECT_STREQ(CoreErrorText(), "no such file");
}

// The bare name is enough for the module, whatever the current folder: the library lies beside it.
TEST_F(QkMediaInfoLibTest, LiesWhereTheModuleFindsIt) {
  EXPECT_EQ(fs::path(QK_MEDIA_INFO_LIB_PATH).filename(), media_server::kImageLibraryName);
  fs::current_path("/");
  HMODULE module = LoadLibraryA(MODULE_PATH);
  ASSERT_NE(module, nullptr) << platform::LibraryErrorText();
  const auto get_module_info =
      reinterpret_cast<service::GetServiceModuleInfoFunction>(GetProcAddress(module, service::kGetServiceModuleInfo));
  const service::ServiceDescriptor* table = nullptr;
  std::uint32_t count = 0;
  get_module_info(&table, &count);
  ASSERT_EQ(count, 4u);
  service::IService* created = table[1].create();
  EXPECT_NE(created, nullptr);
  table[1].release(created);
}

}  // namespace
