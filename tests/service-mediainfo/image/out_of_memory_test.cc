#include <cstring>

#include "core/error_text.h"
#include "fakes/failing_allocations.h"
#include "fakes/image_service.h"

namespace {

using fakes::allocations_left;
using imagecore::QkImageInfo;
using service::mediainfo::IImageInfo;

class ImageOutOfMemoryTest : public fakes::ImageServiceFixture {
 protected:
  fakes::AllocationsSucceedAgain succeed_again_;
};

TEST_F(ImageOutOfMemoryTest, CreatesNoService) {
  allocations_left = 0;
  EXPECT_EQ(descriptor(1).create(), nullptr);
  EXPECT_TRUE(fakes::host().server_settings.empty());
}

TEST_F(ImageOutOfMemoryTest, CreatesNoSession) {
  CreateService();
  allocations_left = 0;
  EXPECT_EQ(service_->CreateSession(), nullptr);
}

// A failing probe never tells the image's size, and the session takes a path afterwards.
TEST_F(ImageOutOfMemoryTest, FailsToTakeAPath) {
  IImageInfo& image = CreateSession();
  Answer([](QkImageInfo& info) {
    info.flags = imagecore::kHasWidth | imagecore::kHasHeight | imagecore::kHasCameraMaker | imagecore::kHasAigcData |
                 imagecore::kHasFourCC;
    info.width = 640;
    info.height = 480;
    std::strcpy(info.camera_maker, "Maker");
    info.aigc_data = strdup("label");
  });
  const int failures = fakes::CountFailures([&] { return image.SetPath("files:////folder/frame_[0001-0003].png"); },
                                            [&] {
                                              EXPECT_STREQ(CoreErrorText(), "out of memory");
                                              EXPECT_EQ(image.GetWidth(), 0);
                                              EXPECT_EQ(image.GetHeight(), 0);
                                              EXPECT_EQ(image.GetDuration(), 0u);
                                            });
  // At least the URL, its two forms, the record, and the store with its entries, keys and buffers.
  EXPECT_GE(failures, 8);
  EXPECT_EQ(image.GetWidth(), 640);
  EXPECT_EQ(image.GetHeight(), 480);
  EXPECT_EQ(image.GetDuration(), 1'200'000u);
}

TEST_F(ImageOutOfMemoryTest, KeepsTheSizeOfTheImageBefore) {
  IImageInfo& image = CreateSession();
  Answer([](QkImageInfo& info) {
    info.flags = imagecore::kHasWidth;
    info.width = 640;
  });
  ASSERT_TRUE(image.SetPath("file:////a.png"));
  const auto store = image.GetMetadata();
  allocations_left = 0;
  EXPECT_FALSE(image.SetPath("file:////a name that does not fit into a string itself.png"));
  allocations_left = -1;
  EXPECT_EQ(image.GetWidth(), 640);
  EXPECT_EQ(image.GetMetadata(), store);
}

}  // namespace
