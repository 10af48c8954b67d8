#include "service-mediainfo/metadata/metadata_store.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "core/rational.h"
#include "mediainfo/aigc_meta.h"

namespace service::mediainfo {
namespace {

using core::ValAny;
using core::ValType;

/// A boxed value that counts its living copies.
class Counted {
 public:
  explicit Counted(int* living) : living_(living) { ++*living_; }
  Counted(const Counted& other) : Counted(other.living_) {}
  Counted& operator=(const Counted&) = delete;
  ~Counted() { --*living_; }

 private:
  int* living_;
};

ValAny MallocedText(const char* text) { return ValAny::FromBuffer(strdup(text)); }

class MetadataStoreTest : public testing::Test {
 protected:
  bool Set(const char* key, const ValAny& value) { return store_.SetValue(key, &value); }
  ValAny Get(const char* key) {
    ValAny value;
    EXPECT_TRUE(store_.GetValue(key, &value)) << key;
    return value;
  }
  bool Has(const char* key) {
    ValAny value;
    return store_.GetValue(key, &value);
  }

  MetadataInfoMPL store_;
};

TEST_F(MetadataStoreTest, GivesBackWhatWasSet) {
  ASSERT_TRUE(Set("a", ValAny::FromInt32(-5)));
  ASSERT_TRUE(Set("b", ValAny::FromDouble(0.5)));
  ASSERT_TRUE(Set("c", MallocedText("text")));
  EXPECT_EQ(Get("a").type(), ValType::kInt32);
  EXPECT_EQ(Get("a").AsInt32(), -5);
  EXPECT_EQ(Get("b").type(), ValType::kDouble);
  EXPECT_EQ(Get("b").AsDouble(), 0.5);
  EXPECT_STREQ(Get("c").AsBuffer(), "text");
}

TEST_F(MetadataStoreTest, KeepsTheLaterOfTwoValues) {
  ASSERT_TRUE(Set("key", ValAny::FromInt32(1)));
  ASSERT_TRUE(Set("key", ValAny::FromUInt64(2)));
  EXPECT_EQ(Get("key").type(), ValType::kUInt64);
  EXPECT_EQ(Get("key").AsInt32(), 2);
}

TEST_F(MetadataStoreTest, TellsKeysApartByEveryByte) {
  ASSERT_TRUE(Set("key", ValAny::FromInt32(1)));
  ASSERT_TRUE(Set("Key", ValAny::FromInt32(2)));
  ASSERT_TRUE(Set("key\xFF", ValAny::FromInt32(3)));
  EXPECT_EQ(Get("key").AsInt32(), 1);
  EXPECT_EQ(Get("Key").AsInt32(), 2);
  EXPECT_EQ(Get("key\xFF").AsInt32(), 3);
  EXPECT_FALSE(Has("ke"));
}

TEST_F(MetadataStoreTest, CopiesTheKey) {
  char key[] = "key";
  ASSERT_TRUE(Set(key, ValAny::FromInt32(1)));
  key[0] = 'x';
  EXPECT_TRUE(Has("key"));
}

TEST_F(MetadataStoreTest, TellsKeysApartThatEndAlike) {
  ASSERT_TRUE(Set("GPSLatitudeRef", ValAny::FromInt32(1)));
  ASSERT_TRUE(Set("GPSLongitudeRef", ValAny::FromInt32(2)));
  ASSERT_TRUE(Set("eRef", ValAny::FromInt32(3)));
  ASSERT_TRUE(Set("Ref", ValAny::FromInt32(4)));
  EXPECT_EQ(Get("GPSLatitudeRef").AsInt32(), 1);
  EXPECT_EQ(Get("GPSLongitudeRef").AsInt32(), 2);
  EXPECT_EQ(Get("eRef").AsInt32(), 3);
  EXPECT_EQ(Get("Ref").AsInt32(), 4);
  EXPECT_FALSE(Has("SLatitudeRef"));
}

TEST_F(MetadataStoreTest, KeepsMoreKeysThanUsual) {
  for (int number = 0; number < 100; ++number) {
    ASSERT_TRUE(Set(("key " + std::to_string(number)).c_str(), ValAny::FromInt32(number)));
  }
  for (int number = 0; number < 100; ++number) {
    EXPECT_EQ(Get(("key " + std::to_string(number)).c_str()).AsInt32(), number);
  }
}

TEST_F(MetadataStoreTest, GivesBackWhatWasPut) {
  ASSERT_TRUE(store_.Put("a", ValAny::FromInt32(5)));
  ASSERT_TRUE(store_.Put("b", CBuffer(strdup("text"))));
  EXPECT_EQ(Get("a").AsInt32(), 5);
  EXPECT_STREQ(Get("b").AsBuffer(), "text");
}

TEST_F(MetadataStoreTest, KnowsAKeyHoweverItCame) {
  ASSERT_TRUE(store_.Put("put first", ValAny::FromInt32(1)));
  ASSERT_TRUE(Set(std::string("put first").c_str(), ValAny::FromInt32(2)));
  EXPECT_EQ(Get("put first").AsInt32(), 2);
  ASSERT_TRUE(Set(std::string("set first").c_str(), ValAny::FromInt32(3)));
  ASSERT_TRUE(store_.Put("set first", ValAny::FromInt32(4)));
  EXPECT_EQ(Get("set first").AsInt32(), 4);
}

TEST_F(MetadataStoreTest, DoesNotCloneABoxedValueThatIsPut) {
  int living = 0;
  ASSERT_TRUE(store_.Put("key", ValAny::Box(Counted(&living))));
  EXPECT_EQ(living, 1);
  ASSERT_TRUE(store_.Put("key", ValAny()));
  EXPECT_EQ(living, 0);
}

TEST_F(MetadataStoreTest, RefusesEmptyAndNullKeys) {
  const ValAny value = ValAny::FromInt32(1);
  ValAny out = ValAny::FromInt32(7);
  for (const char* key : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_FALSE(store_.SetValue(key, &value));
    EXPECT_FALSE(store_.GetValue(key, &out));
  }
  EXPECT_EQ(out.AsInt32(), 7);
}

TEST_F(MetadataStoreTest, RefusesNullValues) {
  EXPECT_FALSE(store_.SetValue("key", nullptr));
  ASSERT_TRUE(Set("key", ValAny::FromInt32(1)));
  EXPECT_FALSE(store_.GetValue("key", nullptr));
}

TEST_F(MetadataStoreTest, LeavesTheOutputForAMissingKey) {
  ValAny out = ValAny::FromInt32(7);
  EXPECT_FALSE(store_.GetValue("key", &out));
  EXPECT_EQ(out.AsInt32(), 7);
}

TEST_F(MetadataStoreTest, ClonesABoxedValueOnTheWayInAndOut) {
  int living = 0;
  {
    MetadataInfoMPL store;
    {
      const ValAny value = ValAny::Box(Counted(&living));
      ASSERT_TRUE(store.SetValue("key", &value));
      EXPECT_EQ(living, 2);
    }
    EXPECT_EQ(living, 1);
    {
      ValAny out;
      ASSERT_TRUE(store.GetValue("key", &out));
      EXPECT_EQ(out.type(), ValType::kBoxed);
      EXPECT_EQ(living, 2);
    }
    ValAny again;
    ASSERT_TRUE(store.GetValue("key", &again));
    EXPECT_NE(again.AsBoxed<Counted>(), nullptr);
  }
  EXPECT_EQ(living, 0);
}

TEST_F(MetadataStoreTest, DestroysABoxedValueThatIsReplaced) {
  int living = 0;
  ASSERT_TRUE(Set("key", ValAny::Box(Counted(&living))));
  ASSERT_EQ(living, 1);
  ASSERT_TRUE(Set("key", ValAny::FromInt32(1)));
  EXPECT_EQ(living, 0);
}

TEST_F(MetadataStoreTest, DestroysWhatTheOutputHeld) {
  int living = 0;
  ASSERT_TRUE(Set("key", ValAny::FromInt32(1)));
  ValAny out = ValAny::Box(Counted(&living));
  ASSERT_TRUE(store_.GetValue("key", &out));
  EXPECT_EQ(living, 0);
  EXPECT_EQ(out.AsInt32(), 1);
}

// Readers keep the pointers: the address sanitizer tells when one of them was freed early, or not at all.
TEST_F(MetadataStoreTest, KeepsTheBufferOfAReplacedValueAsLongAsItLives) {
  ASSERT_TRUE(Set("key", MallocedText("first")));
  const char* first = Get("key").AsBuffer();
  ASSERT_TRUE(Set("key", MallocedText("second")));
  EXPECT_STREQ(Get("key").AsBuffer(), "second");
  EXPECT_STREQ(first, "first");
}

TEST_F(MetadataStoreTest, FreesABufferOnceThoughItStandsUnderTwoKeys) {
  const ValAny value = MallocedText("text");
  ASSERT_TRUE(Set("a", value));
  ASSERT_TRUE(Set("b", value));
  ASSERT_TRUE(Set("a", value));
  EXPECT_STREQ(Get("a").AsBuffer(), "text");
}

TEST_F(MetadataStoreTest, KeepsTheBufferThatWasPutUnderAKeyPutAgain) {
  ASSERT_TRUE(store_.Put("key", CBuffer(strdup("first"))));
  const char* first = Get("key").AsBuffer();
  ASSERT_TRUE(store_.Put("key", CBuffer(strdup("second"))));
  EXPECT_STREQ(Get("key").AsBuffer(), "second");
  EXPECT_STREQ(first, "first");
  ASSERT_TRUE(store_.Put("key", ValAny::FromInt32(3)));
  EXPECT_STREQ(first, "first");
}

TEST_F(MetadataStoreTest, FreesABufferOnceThatWasPutAndIsSetUnderOtherKeys) {
  ASSERT_TRUE(store_.Put("put", CBuffer(strdup("text"))));
  const ValAny value = Get("put");
  ASSERT_TRUE(Set("put", value));
  ASSERT_TRUE(Set("other", value));
  ASSERT_TRUE(Set("put", ValAny::FromInt32(1)));
  EXPECT_STREQ(Get("other").AsBuffer(), "text");
}

TEST_F(MetadataStoreTest, FreesManyBuffersThatWereReplaced) {
  for (int round = 0; round < 100; ++round) {
    ASSERT_TRUE(Set("set", MallocedText("text")));
    ASSERT_TRUE(store_.Put("put", CBuffer(strdup("text"))));
  }
  EXPECT_STREQ(Get("set").AsBuffer(), "text");
}

TEST_F(MetadataStoreTest, KeepsANullBuffer) {
  ASSERT_TRUE(Set("key", ValAny::FromBuffer(nullptr)));
  EXPECT_EQ(Get("key").type(), ValType::kBuffer);
  EXPECT_EQ(Get("key").AsBuffer(), nullptr);
}

/// The two keys that are answered from a combined text under a third.
struct DateKeys {
  const char* text;
  const char* creation;
  const char* modification;
  const char* other_text;
};

class MetadataStoreDateTest : public MetadataStoreTest, public testing::WithParamInterface<DateKeys> {
 protected:
  void SetUp() override {
    setenv("TZ", "UTC0", 1);
    tzset();
  }
};

TEST_P(MetadataStoreDateTest, AnswersFromTheCombinedText) {
  ASSERT_TRUE(Set(GetParam().text, MallocedText("2023:5:17:10:20:30,2024:1:2:3:4:5")));
  EXPECT_EQ(Get(GetParam().creation).type(), ValType::kInt64);
  EXPECT_EQ(Get(GetParam().creation).AsInt32(), 1684318830);
  EXPECT_EQ(Get(GetParam().modification).type(), ValType::kInt64);
  EXPECT_EQ(Get(GetParam().modification).AsInt32(), 1704164645);
  EXPECT_STREQ(Get(GetParam().text).AsBuffer(), "2023:5:17:10:20:30,2024:1:2:3:4:5");
}

TEST_P(MetadataStoreDateTest, AnswersBothFromASingleDate) {
  ASSERT_TRUE(Set(GetParam().text, MallocedText("2023:5:17:10:20:30")));
  EXPECT_EQ(Get(GetParam().creation).AsInt32(), 1684318830);
  EXPECT_EQ(Get(GetParam().modification).AsInt32(), 1684318830);
}

TEST_P(MetadataStoreDateTest, ReadsTheTextAtEveryRequest) {
  ASSERT_TRUE(Set(GetParam().text, MallocedText("2023:5:17:10:20:30")));
  ASSERT_TRUE(Set(GetParam().text, MallocedText("2024:1:2:3:4:5")));
  EXPECT_EQ(Get(GetParam().creation).AsInt32(), 1704164645);
}

TEST_P(MetadataStoreDateTest, HasNoAnswerWithoutTheTextWhateverIsStoredUnderItsKeys) {
  ASSERT_TRUE(Set(GetParam().creation, ValAny::FromInt64(1)));
  ASSERT_TRUE(Set(GetParam().modification, ValAny::FromInt64(2)));
  ASSERT_TRUE(Set(GetParam().other_text, MallocedText("2023:5:17:10:20:30")));
  EXPECT_FALSE(Has(GetParam().creation));
  EXPECT_FALSE(Has(GetParam().modification));
}

TEST_P(MetadataStoreDateTest, HasNoAnswerForAnotherText) {
  ASSERT_TRUE(Set(GetParam().text, MallocedText("2023-05-17 10:20:30")));
  ValAny out = ValAny::FromInt32(7);
  EXPECT_FALSE(store_.GetValue(GetParam().creation, &out));
  EXPECT_FALSE(store_.GetValue(GetParam().modification, &out));
  EXPECT_EQ(out.AsInt32(), 7);
}

TEST_P(MetadataStoreDateTest, HasNoAnswerForANullText) {
  ASSERT_TRUE(Set(GetParam().text, ValAny::FromBuffer(nullptr)));
  EXPECT_FALSE(Has(GetParam().creation));
}

TEST_P(MetadataStoreDateTest, ThrowsForAValueThatIsNoText) {
  ASSERT_TRUE(Set(GetParam().text, ValAny::FromInt64(1)));
  ValAny out;
  EXPECT_THROW(store_.GetValue(GetParam().creation, &out), core::AnyBadAccess);
  ASSERT_TRUE(Set(GetParam().text, ValAny::Box(core::Rational{1, 2})));
  EXPECT_THROW(store_.GetValue(GetParam().modification, &out), core::AnyBadAccess);
  ASSERT_TRUE(Set(GetParam().text, ValAny()));
  EXPECT_THROW(store_.GetValue(GetParam().modification, &out), core::AnyBadAccess);
}

TEST_P(MetadataStoreDateTest, DestroysWhatTheOutputHeld) {
  int living = 0;
  ASSERT_TRUE(Set(GetParam().text, MallocedText("2023:5:17:10:20:30")));
  ValAny out = ValAny::Box(Counted(&living));
  ASSERT_TRUE(store_.GetValue(GetParam().creation, &out));
  EXPECT_EQ(living, 0);
}

INSTANTIATE_TEST_SUITE_P(Keys, MetadataStoreDateTest,
                         testing::Values(DateKeys{"MediaFile_Metedata_Date", "MediaFile_Metedata_CreateDate",
                                                  "MediaFile_Metedata_ModifyDate", "Image_Metedata_Date"},
                                         DateKeys{"Image_Metedata_Date", "Image_Metedata_CreateDate",
                                                  "Image_Metedata_ModifyDate", "MediaFile_Metedata_Date"}));

}  // namespace
}  // namespace service::mediainfo
