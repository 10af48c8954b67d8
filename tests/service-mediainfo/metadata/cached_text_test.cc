#include "service-mediainfo/metadata/cached_text.h"

#include "fakes/fixture.h"

namespace service::mediainfo {
namespace {

class CachedTextTest : public fakes::Fixture {
 protected:
  const char* Get() {
    return text_.Get([this] {
      ++questions_;
      return platform::SystemString(fakes::MakeSystemString(answer_));
    });
  }

  CachedText text_;
  std::optional<std::u16string> answer_;
  int questions_ = 0;
};

TEST_F(CachedTextTest, AsksOnceForATextThatComes) {
  answer_ = u"Gr\u00FC\u00DFe \U0001F3AC";
  EXPECT_STREQ(Get(),
               "Gr\xC3\xBC\xC3\x9F"
               "e \xF0\x9F\x8E\xAC");
  answer_ = u"other";
  EXPECT_STREQ(Get(),
               "Gr\xC3\xBC\xC3\x9F"
               "e \xF0\x9F\x8E\xAC");
  EXPECT_EQ(questions_, 1);
}

TEST_F(CachedTextTest, AsksAgainAfterNoAnswerAndAfterAnEmptyOne) {
  EXPECT_STREQ(Get(), "");
  answer_ = u"";
  EXPECT_STREQ(Get(), "");
  answer_ = u"late";
  EXPECT_STREQ(Get(), "late");
  EXPECT_EQ(questions_, 3);
}

TEST_F(CachedTextTest, ReplacesHalfASurrogatePair) {
  answer_ = std::u16string{u'a', char16_t{0xD83C}, u'b'};
  EXPECT_STREQ(Get(),
               "a\xEF\xBF\xBD"
               "b");
}

}  // namespace
}  // namespace service::mediainfo
