#include <cstdlib>
#include <cstring>
#include <limits>

#include "core/error_text.h"
#include "fakes/image_service.h"

namespace {

using core::ValAny;
using core::ValType;
using imagecore::QkImageInfo;
using service::mediainfo::IImageInfo;
using service::mediainfo::IMetedataInfo;

constexpr std::uint32_t kHasSize = imagecore::kHasWidth | imagecore::kHasHeight;

void FillSize(QkImageInfo& info) {
  info.flags = kHasSize;
  info.width = 640;
  info.height = 480;
}

class ImageSessionTest : public fakes::ImageServiceFixture {
 protected:
  void SetUp() override {
    ImageServiceFixture::SetUp();
    image_ = &CreateSession();
  }

  static ValAny Get(const std::shared_ptr<IMetedataInfo>& store, const char* key) {
    ValAny value;
    if (store) store->GetValue(key, &value);
    return value;
  }
  ValAny Get(const char* key) { return Get(image_->GetMetadata(), key); }
  std::int32_t GetInt(const char* key) { return Get(key).AsInt32(); }
  bool Has(const char* key) { return Get(key).type() != ValType::kEmpty; }
  std::u16string QueriedPath() { return server_.image_paths.empty() ? u"none" : server_.image_paths.back(); }

  IImageInfo* image_ = nullptr;
};

TEST_F(ImageSessionTest, StartsWithNothing) {
  EXPECT_EQ(image_->GetWidth(), 0);
  EXPECT_EQ(image_->GetHeight(), 0);
  EXPECT_EQ(image_->GetDuration(), 0u);
  EXPECT_EQ(image_->GetMetadata().use_count(), 0);
  std::uint32_t numerator = 0;
  std::uint32_t denominator = 0;
  image_->GetFrameRate(&numerator, &denominator);
  EXPECT_EQ(numerator, 25u);
  EXPECT_EQ(denominator, 1u);
}

TEST_F(ImageSessionTest, AnswersTheReservedOperationsWithNothing) {
  Answer(FillSize);
  EXPECT_TRUE(image_->SetPath("file:///a.png"));
  EXPECT_EQ(image_->Reserved10(), 0u);
  EXPECT_EQ(image_->Reserved11(), 0u);
}

TEST_F(ImageSessionTest, TellsTheSizeTwice) {
  Answer(FillSize);
  EXPECT_TRUE(image_->SetPath("file:////a.png"));
  EXPECT_EQ(QueriedPath(), u"//a.png");
  EXPECT_EQ(image_->GetWidth(), 640);
  EXPECT_EQ(image_->GetHeight(), 480);
  EXPECT_EQ(image_->GetWidthSecondEntry(), 640);
  EXPECT_EQ(image_->GetHeightSecondEntry(), 480);
}

TEST_F(ImageSessionTest, RefusesNullAndChangesNothing) {
  Answer(FillSize);
  EXPECT_TRUE(image_->SetPath("file:////a.png"));
  image_->SetDuration(77);
  const auto store = image_->GetMetadata();
  EXPECT_FALSE(image_->SetPath(nullptr));
  EXPECT_EQ(image_->GetDuration(), 77u);
  EXPECT_EQ(image_->GetWidth(), 640);
  EXPECT_EQ(image_->GetHeight(), 480);
  EXPECT_EQ(image_->GetMetadata(), store);
  EXPECT_EQ(server_.image_paths.size(), 1u);
}

TEST_F(ImageSessionTest, KeepsTheDurationThatItIsGiven) {
  image_->SetDuration(std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(image_->GetDuration(), std::numeric_limits<std::uint64_t>::max());
  Answer(FillSize);
  EXPECT_TRUE(image_->SetPath("file:////a.png"));
  EXPECT_EQ(image_->GetDuration(), std::numeric_limits<std::uint64_t>::max());
}

TEST_F(ImageSessionTest, KeepsAnyFrameRateForTheCaller) {
  EXPECT_TRUE(image_->SetFrameRate(30, 0));
  std::uint32_t numerator = 77;
  std::uint32_t denominator = 77;
  image_->GetFrameRate(&numerator, &denominator);
  EXPECT_EQ(numerator, 30u);
  EXPECT_EQ(denominator, 0u);
}

TEST_F(ImageSessionTest, CountsSequencesAtItsOwnFrameRate) {
  Answer(FillSize);
  EXPECT_TRUE(image_->SetFrameRate(30, 1));
  EXPECT_TRUE(image_->SetPath("files://C:/s/a_[1-50].png"));
  EXPECT_EQ(image_->GetDuration(), 20'000'000u);
}

TEST_F(ImageSessionTest, GivesTheMediaServerAnEmptyRecord) {
  server_.query_image = [](QkImageInfo& info) {
    EXPECT_EQ(info.flags, 0u);
    EXPECT_STREQ(info.date, "");
    EXPECT_STREQ(info.camera_maker, "");
    EXPECT_STREQ(info.camera_model, "");
    EXPECT_STREQ(info.gps_latitude_ref, "");
    EXPECT_STREQ(info.gps_longitude_ref, "");
    EXPECT_EQ(info.aigc_size, 0);
    EXPECT_EQ(info.aigc_data, nullptr);
    FillSize(info);
    std::strcpy(info.date, "a date");
    info.aigc_data = strdup("label");
    info.aigc_size = 5;
    return 1;
  };
  EXPECT_TRUE(image_->SetPath("file:////a.png"));
  EXPECT_TRUE(image_->SetPath("file:////b.png"));
  EXPECT_EQ(server_.image_paths, (std::vector<std::u16string>{u"//a.png", u"//b.png"}));
}

TEST_F(ImageSessionTest, ProbesTheSameUrlAnew) {
  Answer(FillSize);
  EXPECT_TRUE(image_->SetPath("file:////a.png"));
  EXPECT_TRUE(image_->SetPath("file:////a.png"));
  EXPECT_EQ(server_.image_paths.size(), 2u);
}

TEST_F(ImageSessionTest, CopiesTheUrl) {
  Answer(FillSize);
  char url[] = "file:////a.png";
  EXPECT_TRUE(image_->SetPath(url));
  std::memset(url, 'x', sizeof(url) - 1);
  EXPECT_EQ(image_->GetWidth(), 640);
}

TEST_F(ImageSessionTest, PassesPathsOnAsUtf16) {
  Answer(FillSize);
  EXPECT_TRUE(
      image_->SetPath("file:////Ren\xC3\xA9"
                      "e/\xF0\x9F\x98\x80.png"));
  EXPECT_EQ(QueriedPath(), u"//Ren\u00E9e/\U0001F600.png");
  // A byte that is no text goes the way of the media server's paths.
  EXPECT_TRUE(image_->SetPath("file:////\xE9.png"));
  EXPECT_EQ(QueriedPath(), std::u16string(u"//") + static_cast<char16_t>(0xDCE9) + u".png");
}

TEST_F(ImageSessionTest, QueriesAnEmptyPathForAnUnknownScheme) {
  Answer(FillSize, /*result=*/0);
  EXPECT_FALSE(image_->SetPath("C:/a.png"));
  EXPECT_EQ(QueriedPath(), u"");
  EXPECT_TRUE(Has("Image_Metedata_Flag"));
  EXPECT_FALSE(Has("Image_Metedata_PicSequenceTotalFrames"));
}

TEST_F(ImageSessionTest, StaysASequenceForAnUnknownScheme) {
  Answer(FillSize);
  EXPECT_TRUE(image_->SetPath("files://C:/s/a_[1-3].png"));
  EXPECT_TRUE(image_->SetPath("a_[1-3].png"));
  EXPECT_EQ(QueriedPath(), u"");
  EXPECT_EQ(GetInt("Image_Metedata_PicSequenceTotalFrames"), 1);
  EXPECT_EQ(image_->GetDuration(), 400'000u);
  EXPECT_TRUE(image_->SetPath("file:////a.png"));
  EXPECT_FALSE(Has("Image_Metedata_PicSequenceTotalFrames"));
  EXPECT_TRUE(image_->SetPath("a.png"));
  EXPECT_FALSE(Has("Image_Metedata_PicSequenceTotalFrames"));
}

TEST_F(ImageSessionTest, TellsAPictureSequence) {
  Answer(FillSize);
  EXPECT_TRUE(image_->SetPath("files://C:/s/a_[1-3].png"));
  EXPECT_EQ(QueriedPath(), u"C:/s/a_1.png");
  EXPECT_EQ(GetInt("Image_Metedata_Flag"), 0x880 | 0xC);
  EXPECT_EQ(Get("Image_Metedata_PicSequenceTotalFrames").type(), ValType::kInt32);
  EXPECT_EQ(GetInt("Image_Metedata_PicSequenceTotalFrames"), 3);
  EXPECT_EQ(Get("Image_Metedata_PicSequenceDuration").AsDouble(), 0.12);
  EXPECT_EQ(image_->GetDuration(), 1'200'000u);
  EXPECT_EQ(image_->GetWidth(), 640);
}

TEST_F(ImageSessionTest, TellsASequenceWithoutFrames) {
  Answer(FillSize);
  image_->SetDuration(5);
  EXPECT_TRUE(image_->SetPath("files://C:/s/a_[].png"));
  EXPECT_EQ(QueriedPath(), u"C:/s/a_.png");
  EXPECT_EQ(GetInt("Image_Metedata_PicSequenceTotalFrames"), 0);
  EXPECT_EQ(image_->GetDuration(), 0u);
}

TEST_F(ImageSessionTest, TellsASequenceWithoutBrackets) {
  Answer(FillSize);
  EXPECT_TRUE(image_->SetPath("files://C:/s/a.png"));
  EXPECT_EQ(QueriedPath(), u"C:/s/a.png");
  EXPECT_EQ(GetInt("Image_Metedata_PicSequenceTotalFrames"), 1);
  EXPECT_EQ(Get("Image_Metedata_PicSequenceDuration").AsDouble(), 0.04);
  EXPECT_EQ(image_->GetDuration(), 400'000u);
}

TEST_F(ImageSessionTest, LeavesBracketsOfAFileAlone) {
  Answer(FillSize);
  EXPECT_TRUE(image_->SetPath("file://C:/s/a_[1-3].png"));
  EXPECT_EQ(QueriedPath(), u"C:/s/a_[1-3].png");
  EXPECT_FALSE(Has("Image_Metedata_PicSequenceTotalFrames"));
  EXPECT_FALSE(Has("Image_Metedata_PicSequenceDuration"));
  EXPECT_EQ(image_->GetDuration(), 0u);
}

TEST_F(ImageSessionTest, ReplacesWhatTheMediaServerToldOfASequence) {
  Answer([](QkImageInfo& info) {
    FillSize(info);
    info.flags |= imagecore::kHasSequenceTotalFrames | imagecore::kHasSequenceDuration;
    info.sequence_total_frames = 99;
    info.sequence_duration_s = 99;
  });
  EXPECT_TRUE(image_->SetPath("files://C:/s/a_[1-3].png"));
  EXPECT_EQ(GetInt("Image_Metedata_PicSequenceTotalFrames"), 3);
  EXPECT_EQ(image_->GetDuration(), 1'200'000u);
  EXPECT_TRUE(image_->SetPath("file://C:/s/a_1.png"));
  EXPECT_EQ(GetInt("Image_Metedata_PicSequenceTotalFrames"), 99);
  EXPECT_EQ(image_->GetDuration(), 990'000'000u);
}

// The number of frames is unsigned and so is the duration; the key's own type shows the upper half as negative.
TEST_F(ImageSessionTest, CountsBillionsOfFrames) {
  Answer(FillSize);
  EXPECT_TRUE(image_->SetPath("files://a_[0000000001-3000000000].png"));
  EXPECT_EQ(QueriedPath(), u"a_0000000001.png");
  EXPECT_EQ(GetInt("Image_Metedata_PicSequenceTotalFrames"), -1'294'967'296);
  EXPECT_EQ(Get("Image_Metedata_PicSequenceDuration").AsDouble(), 120'000'000.0);
  EXPECT_EQ(image_->GetDuration(), 1'200'000'000'000'000u);
}

TEST_F(ImageSessionTest, TellsWhatAFailedQueryFound) {
  Answer(FillSize);
  EXPECT_TRUE(image_->SetPath("file:////a.png"));
  Answer(
      [](QkImageInfo& info) {
        info.flags = kHasSize | imagecore::kHasGifDuration;
        info.width = 1;
        info.height = 2;
        info.gif_duration_s = 0.5;
      },
      /*result=*/0);
  EXPECT_FALSE(image_->SetPath("file:////b.gif"));
  EXPECT_EQ(image_->GetWidth(), 640);
  EXPECT_EQ(image_->GetHeight(), 480);
  EXPECT_EQ(GetInt("Image_Metedata_Width"), 1);
  EXPECT_EQ(image_->GetDuration(), 5'000'000u);
}

TEST_F(ImageSessionTest, TellsASequenceThoughItsQueryFailed) {
  EXPECT_FALSE(image_->SetPath("files://C:/s/a_[1-3].png"));
  EXPECT_EQ(GetInt("Image_Metedata_Flag"), 0x880);
  EXPECT_EQ(GetInt("Image_Metedata_PicSequenceTotalFrames"), 3);
  EXPECT_EQ(GetInt("MediaFile_Metedata_ALPHA_MODE"), 0);
  EXPECT_EQ(image_->GetDuration(), 1'200'000u);
}

TEST_F(ImageSessionTest, TakesAnyResultButZeroForSuccess) {
  Answer(FillSize, /*result=*/std::numeric_limits<std::int64_t>::min());
  EXPECT_TRUE(image_->SetPath("file:////a.png"));
  EXPECT_EQ(image_->GetWidth(), 640);
}

TEST_F(ImageSessionTest, KeepsWhatTheNewImageDoesNotTell) {
  Answer([](QkImageInfo& info) {
    FillSize(info);
    info.flags |= imagecore::kHasAvifDuration;
    info.avif_duration_s = 2;
  });
  EXPECT_TRUE(image_->SetPath("file:////a.avif"));
  Answer([](QkImageInfo& info) {
    info.flags = imagecore::kHasHeight;
    info.width = 1;
    info.height = 2;
  });
  EXPECT_TRUE(image_->SetPath("file:////b.png"));
  EXPECT_EQ(image_->GetWidth(), 640);
  EXPECT_EQ(image_->GetHeight(), 2);
  EXPECT_EQ(image_->GetDuration(), 20'000'000u);
}

TEST_F(ImageSessionTest, GivesEveryImageAStoreOfItsOwn) {
  Answer(FillSize);
  EXPECT_TRUE(image_->SetPath("file:////a.png"));
  const auto first = image_->GetMetadata();
  EXPECT_EQ(image_->GetMetadata(), first);
  EXPECT_EQ(first.use_count(), 2);
  Answer([](QkImageInfo& info) {
    info.flags = imagecore::kHasWidth;
    info.width = 320;
  });
  EXPECT_TRUE(image_->SetPath("file:////b.png"));
  EXPECT_NE(image_->GetMetadata(), first);
  EXPECT_EQ(first.use_count(), 1);
  EXPECT_EQ(Get(first, "Image_Metedata_Width").AsInt32(), 640);
  EXPECT_EQ(GetInt("Image_Metedata_Width"), 320);
}

TEST_F(ImageSessionTest, LeavesAStoreThatOutlivesItsSession) {
  Answer([](QkImageInfo& info) {
    info.flags = imagecore::kHasAigcData;
    info.aigc_data = strdup("label");
  });
  EXPECT_TRUE(image_->SetPath("file:////a.png"));
  const auto store = image_->GetMetadata();
  EXPECT_EQ(service_->DestroySession(session_), 1u);
  session_ = nullptr;
  EXPECT_STREQ(Get(store, "Image_Metedata_AIGCMetaData").AsBuffer(), "label");
}

TEST_F(ImageSessionTest, AnswersDatesFromTheDateText) {
  Answer([](QkImageInfo& info) {
    info.flags = imagecore::kHasDate;
    std::strcpy(info.date, "2023:5:17:10:20:30,2023:5:17:10:21:40");
  });
  EXPECT_TRUE(image_->SetPath("file:////a.jpg"));
  const ValAny creation = Get("Image_Metedata_CreateDate");
  const ValAny modification = Get("Image_Metedata_ModifyDate");
  EXPECT_EQ(creation.type(), ValType::kInt64);
  EXPECT_EQ(modification.AsInt64() - creation.AsInt64(), 70);
}

struct DurationCase {
  std::uint32_t flags;
  std::uint64_t duration_100ns;
};

TEST_F(ImageSessionTest, TakesTheFirstDurationThatThereIs) {
  constexpr std::uint32_t kWebP = 0x1000;
  constexpr std::uint32_t kGif = 0x2000;
  constexpr std::uint32_t kSequence = 0x800;
  constexpr std::uint32_t kAvif = 0x200000;
  for (const DurationCase& row : {
           DurationCase{kWebP | kGif | kSequence | kAvif, 10'000'000},
           DurationCase{kWebP | kAvif, 10'000'000},
           DurationCase{kGif | kSequence | kAvif, 20'000'000},
           DurationCase{kSequence | kAvif, 30'000'000},
           DurationCase{kAvif, 40'000'000},
           DurationCase{0, 77},
       }) {
    Answer([&](QkImageInfo& info) {
      info.flags = row.flags;
      info.webp_duration_s = 1;
      info.gif_duration_s = 2;
      info.sequence_duration_s = 3;
      info.avif_duration_s = 4;
    });
    image_->SetDuration(77);
    EXPECT_TRUE(image_->SetPath("file:////a"));
    EXPECT_EQ(image_->GetDuration(), row.duration_100ns) << row.flags;
  }
}

TEST_F(ImageSessionTest, CutsDurationsToTheRangeOfTheirUnit) {
  constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  for (const auto& [seconds, ticks] : {
           std::pair(0.12, std::uint64_t{1'200'000}),
           std::pair(0.00000019, std::uint64_t{1}),
           std::pair(0.0, std::uint64_t{0}),
           std::pair(-1.0, std::uint64_t{0}),
           std::pair(kNotANumber, std::uint64_t{0}),
           std::pair(-kInfinity, std::uint64_t{0}),
           std::pair(kInfinity, kMost),
           std::pair(1e300, kMost),
       }) {
    Answer([seconds = seconds](QkImageInfo& info) {
      info.flags = imagecore::kHasGifDuration;
      info.gif_duration_s = seconds;
    });
    image_->SetDuration(77);
    EXPECT_TRUE(image_->SetPath("file:////a.gif"));
    EXPECT_EQ(image_->GetDuration(), ticks) << seconds;
  }
}

TEST_F(ImageSessionTest, LeavesTheMediaServersReasonForAFailure) {
  server_.query_image = [](QkImageInfo&) {
    CoreSetErrorText("no such file");
    return 0;
  };
  EXPECT_FALSE(image_->SetPath("file:////a.png"));
  EXPECT_STREQ(CoreErrorText(), "no such file");
  Answer(FillSize);
  EXPECT_TRUE(image_->SetPath("file:////a.png"));
  EXPECT_STREQ(CoreErrorText(), "");
}

}  // namespace
