#include "core/error_text.h"
#include "svg/svg_service.h"

namespace {

using service::mediainfo::ISvgInfo;
using Calls = std::vector<std::string>;

class SvgSessionTest : public SvgServiceFixture {
 protected:
  Calls LoadCalls(const std::string& url) const { return {"reset", "source " + url, "load 0 0"}; }
};

TEST_F(SvgSessionTest, LoadsAFileByResetSourceAndLoad) {
  ISvgInfo& session = CreateSession();
  EXPECT_TRUE(SetPath(session, file_));
  EXPECT_EQ(script_.calls, LoadCalls(file_));
}

TEST_F(SvgSessionTest, PassesTheUrlOnAsItWasGiven) {
  ISvgInfo& session = CreateSession();
  const std::string url = "file:/" + file_;
  EXPECT_TRUE(SetPath(session, url));
  EXPECT_EQ(script_.calls, LoadCalls(url));
}

TEST_F(SvgSessionTest, PassesTheUrlOnWithTheExtensionThatWasFound) {
  ISvgInfo& session = CreateSession();
  const std::string folder = app().path().string();
  EXPECT_TRUE(SetPath(session, folder + "/drawing.SVG"));
  EXPECT_EQ(url_after_, file_);
  EXPECT_EQ(script_.calls, LoadCalls(file_));
}

TEST_F(SvgSessionTest, PassesNetworkUrlsOnUnexamined) {
  ISvgInfo& session = CreateSession();
  EXPECT_TRUE(SetPath(session, "https://host.test/a.svg"));
  EXPECT_EQ(script_.calls, LoadCalls("https://host.test/a.svg"));
}

TEST_F(SvgSessionTest, RefusesNull) {
  ISvgInfo& session = CreateSession();
  EXPECT_FALSE(session.SetPath(nullptr));
  EXPECT_TRUE(script_.calls.empty());
}

TEST_F(SvgSessionTest, RefusesWhatIsNoFile) {
  ISvgInfo& session = CreateSession();
  for (const std::string& url : {app().path().string() + "/absent.svg", app().path().string(), std::string(),
                                 std::string("rtmp://host.test/a.svg")}) {
    EXPECT_FALSE(SetPath(session, url)) << url;
    EXPECT_EQ(fakes::TakeLog().size(), 1u);
    EXPECT_STRNE(CoreErrorText(), "");
  }
  EXPECT_TRUE(script_.calls.empty());
}

TEST_F(SvgSessionTest, RefusesTheSameUrlAgainWithoutAskingTheDecoder) {
  ISvgInfo& session = CreateSession();
  ASSERT_TRUE(SetPath(session, file_));
  script_.calls.clear();
  EXPECT_FALSE(SetPath(session, file_));
  EXPECT_TRUE(script_.calls.empty());
  EXPECT_STREQ(CoreErrorText(), "the same path as before");
}

TEST_F(SvgSessionTest, LooksForTheFileBeforeItComparesTheUrl) {
  ISvgInfo& session = CreateSession();
  const std::string in_other_case = app().path().string() + "/drawing.SVG";
  ASSERT_TRUE(SetPath(session, in_other_case));
  script_.calls.clear();
  EXPECT_FALSE(SetPath(session, in_other_case));
  EXPECT_STREQ(CoreErrorText(), "the same path as before");
  std::filesystem::remove(file_);
  EXPECT_FALSE(SetPath(session, file_));
  EXPECT_EQ(fakes::TakeLog().size(), 1u);
  EXPECT_STREQ(CoreErrorText(), "no such file");
  EXPECT_TRUE(script_.calls.empty());
}

TEST_F(SvgSessionTest, RefusesTheSameUrlAgainAlsoAfterAFailedLoad) {
  ISvgInfo& session = CreateSession();
  script_.load_result = 0;
  EXPECT_FALSE(SetPath(session, file_));
  script_.load_result = 1;
  script_.calls.clear();
  EXPECT_FALSE(SetPath(session, file_));
  EXPECT_TRUE(script_.calls.empty());
}

TEST_F(SvgSessionTest, TakesAnotherTextForTheSameFile) {
  ISvgInfo& session = CreateSession();
  ASSERT_TRUE(SetPath(session, file_));
  script_.calls.clear();
  EXPECT_TRUE(SetPath(session, "file:/" + file_));
  EXPECT_EQ(script_.calls, LoadCalls("file:/" + file_));
}

TEST_F(SvgSessionTest, LoadsAnotherUrlAfterAFailure) {
  ISvgInfo& session = CreateSession();
  script_.load_result = 0;
  EXPECT_FALSE(SetPath(session, file_));
  script_.load_result = 1;
  script_.calls.clear();
  const std::string other = app().MakeFile("other.svg");
  EXPECT_TRUE(SetPath(session, other));
  EXPECT_EQ(script_.calls, LoadCalls(other));
}

TEST_F(SvgSessionTest, KeepsTheUrlWhenAnInvalidOneFollows) {
  ISvgInfo& session = CreateSession();
  ASSERT_TRUE(SetPath(session, file_));
  EXPECT_FALSE(SetPath(session, app().path().string() + "/absent.svg"));
  fakes::TakeLog();
  script_.calls.clear();
  EXPECT_FALSE(SetPath(session, file_));
  EXPECT_TRUE(script_.calls.empty());
}

TEST_F(SvgSessionTest, TakesOneOnlyForALoadedSvg) {
  ISvgInfo& session = CreateSession();
  for (const std::uint32_t result : {0u, 2u, 0xFFFFFFFFu}) {
    script_.load_result = result;
    EXPECT_FALSE(SetPath(session, app().MakeFile(std::to_string(result) + ".svg")));
  }
}

TEST_F(SvgSessionTest, ForgetsTheReasonOfAnEarlierFailure) {
  ISvgInfo& session = CreateSession();
  script_.load_result = 0;
  CoreSetErrorText("an earlier failure");
  EXPECT_FALSE(SetPath(session, file_));
  EXPECT_STREQ(CoreErrorText(), "");
}

TEST_F(SvgSessionTest, TellsTheSizeAndKeepsIt) {
  ISvgInfo& session = CreateSession();
  ASSERT_TRUE(SetPath(session, file_));
  EXPECT_EQ(session.GetWidth(), 0u);
  EXPECT_EQ(session.GetHeight(), 0u);

  std::uint32_t width = 0;
  std::uint32_t height = 0;
  EXPECT_TRUE(session.GetSize(&width, &height));
  EXPECT_EQ(width, 640u);
  EXPECT_EQ(height, 480u);
  EXPECT_EQ(session.GetWidth(), 640u);
  EXPECT_EQ(session.GetHeight(), 480u);
}

TEST_F(SvgSessionTest, KeepsTheSizeWhenAnotherUrlIsLoaded) {
  ISvgInfo& session = CreateSession();
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  EXPECT_TRUE(session.GetSize(&width, &height));
  EXPECT_TRUE(SetPath(session, file_));
  EXPECT_EQ(session.GetWidth(), 640u);
}

void ExpectNoSizes(ISvgInfo& session) {
  std::uint32_t width = 7;
  std::uint32_t height = 8;
  EXPECT_FALSE(session.GetSize(&width, &height));
  EXPECT_FALSE(session.GetViewSize(&width, &height));
  EXPECT_EQ(width, 7u);
  EXPECT_EQ(height, 8u);
}

TEST_F(SvgSessionTest, LeavesTheOutputsWhenTheDecoderTellsNoSize) {
  ISvgInfo& session = CreateSession();
  script_.size_result = 9;
  script_.view_size_result = 9;
  ExpectNoSizes(session);
  EXPECT_EQ(script_.calls, (Calls{"size", "view size"}));
  EXPECT_EQ(session.GetWidth(), 0u);
}

TEST_F(SvgSessionTest, LeavesTheOutputsThoughTheDecoderWroteBeforeItFailed) {
  ISvgInfo& session = CreateSession();
  script_.writes_sizes_in_vain = true;
  script_.size_result = 1;
  script_.view_size_result = 1;
  ExpectNoSizes(session);
}

TEST_F(SvgSessionTest, TellsTheViewSizeAndDoesNotKeepIt) {
  ISvgInfo& session = CreateSession();
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  EXPECT_TRUE(session.GetViewSize(&width, &height));
  EXPECT_EQ(width, 64u);
  EXPECT_EQ(height, 48u);
  EXPECT_EQ(session.GetWidth(), 0u);
  EXPECT_EQ(session.GetHeight(), 0u);
}

TEST_F(SvgSessionTest, TellsNoSizeToNull) {
  ISvgInfo& session = CreateSession();
  std::uint32_t number = 7;
  EXPECT_FALSE(session.GetSize(nullptr, &number));
  EXPECT_FALSE(session.GetSize(&number, nullptr));
  EXPECT_FALSE(session.GetViewSize(nullptr, &number));
  EXPECT_FALSE(session.GetViewSize(&number, nullptr));
  EXPECT_EQ(number, 7u);
  EXPECT_TRUE(script_.calls.empty());
}

TEST_F(SvgSessionTest, PassesRenderOnWithItsArgumentsAndItsResult) {
  ISvgInfo& session = CreateSession();
  EXPECT_EQ(session.Render(11, 22, 33), 5u);
  EXPECT_EQ(script_.calls, (Calls{"render 11 22 33"}));
}

TEST_F(SvgSessionTest, AnswersZeroInItsReservedSlots) {
  ISvgInfo& session = CreateSession();
  EXPECT_EQ(session.Reserved7(), 0u);
  EXPECT_EQ(session.Reserved8(), 0u);
  EXPECT_TRUE(script_.calls.empty());
}

TEST_F(SvgSessionTest, FailsWithoutADecoder) {
  fakes::manager_entry().manager = nullptr;
  ISvgInfo& session = CreateSession();
  std::uint32_t width = 7;
  std::uint32_t height = 8;
  EXPECT_FALSE(SetPath(session, file_));
  EXPECT_STREQ(CoreErrorText(), "there is no SVG decoder");
  EXPECT_FALSE(session.GetSize(&width, &height));
  EXPECT_FALSE(session.GetViewSize(&width, &height));
  EXPECT_EQ(width, 7u);
  EXPECT_EQ(height, 8u);
  EXPECT_NE(session.Render(11, 22, 33), 0u);
}

}  // namespace
