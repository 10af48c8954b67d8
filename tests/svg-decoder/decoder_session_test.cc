#include <fstream>
#include <iterator>

#include "module.h"
#include "picture.h"

namespace {

using service::ISVGDecodeSink;

constexpr char kDrawing[] = R"(<svg xmlns="http://www.w3.org/2000/svg" width="5cm" height="20mm" viewBox="0 0 50 20">)"
                            R"(<rect width="50" height="20" fill="red"/></svg>)";

class DecoderSessionTest : public ModuleFixture {
 protected:
  static void ExpectSizes(ISVGDecodeSink& session, std::uint32_t width, std::uint32_t height, std::uint32_t view_width,
                          std::uint32_t view_height) {
    std::uint32_t found_width = 0;
    std::uint32_t found_height = 0;
    EXPECT_EQ(session.GetSize(&found_width, &found_height), 0u);
    EXPECT_EQ(found_width, width);
    EXPECT_EQ(found_height, height);
    EXPECT_EQ(session.GetViewSize(&found_width, &found_height), 0u);
    EXPECT_EQ(found_width, view_width);
    EXPECT_EQ(found_height, view_height);
  }
  static void ExpectNoSizes(ISVGDecodeSink& session) {
    std::uint32_t width = 7;
    std::uint32_t height = 8;
    EXPECT_NE(session.GetSize(&width, &height), 0u);
    EXPECT_NE(session.GetViewSize(&width, &height), 0u);
    EXPECT_EQ(width, 7u);
    EXPECT_EQ(height, 8u);
  }
  std::string PicturePath() const { return (folder_.path() / "picture.png").string(); }
};

TEST_F(DecoderSessionTest, MeasuresAnSvg) { ExpectSizes(*Load(kDrawing), 189, 76, 50, 20); }

TEST_F(DecoderSessionTest, MeasuresAPackedSvg) { ExpectSizes(*Load(Gzip(kDrawing), "a.svgz"), 189, 76, 50, 20); }

TEST_F(DecoderSessionTest, TakesAFileUrl) {
  const auto session = NewSession();
  session->SetSource(("file:/" + folder_.Make("a.svg", kDrawing)).c_str());
  EXPECT_EQ(session->Load(0, 0), 1u);
}

TEST_F(DecoderSessionTest, CopiesTheSource) {
  std::string url = folder_.Make("a.svg", kDrawing);
  const auto session = NewSession();
  session->SetSource(url.c_str());
  url.assign(url.size(), 'x');
  EXPECT_EQ(session->Load(0, 0), 1u);
}

TEST_F(DecoderSessionTest, HasNothingBeforeItLoads) {
  const auto session = NewSession();
  ExpectNoSizes(*session);
  EXPECT_NE(session->Load(0, 0), 1u);
  EXPECT_STRNE(CoreErrorText(), "");
  session->SetSource(nullptr);
  EXPECT_NE(session->Load(0, 0), 1u);
  EXPECT_NE(RenderTo(*session, PicturePath(), 10, 10), 0u);
  EXPECT_STREQ(CoreErrorText(), "no SVG is loaded");
}

TEST_F(DecoderSessionTest, TellsWhyItDoesNotLoad) {
  const auto session = NewSession();
  session->SetSource(folder_.Make("a.svg", "<html/>").c_str());
  EXPECT_NE(session->Load(0, 0), 1u);
  EXPECT_STREQ(CoreErrorText(), "not an SVG document");
  session->SetSource(folder_.Make("b.svg", "<svg>\n<g>").c_str());
  EXPECT_NE(session->Load(0, 0), 1u);
  EXPECT_STREQ(CoreErrorText(), "damaged SVG: line 2: it ends too early");
}

TEST_F(DecoderSessionTest, ForgetsTheLastSvgWhenTheNextDoesNotLoad) {
  const auto session = Load(kDrawing);
  session->SetSource(folder_.Make("b.svg", "words").c_str());
  EXPECT_NE(session->Load(0, 0), 1u);
  ExpectNoSizes(*session);
}

TEST_F(DecoderSessionTest, ForgetsTheLastSvgWhenTheNextIsNotThere) {
  const auto session = Load(kDrawing);
  session->SetSource((folder_.path() / "absent.svg").c_str());
  EXPECT_NE(session->Load(0, 0), 1u);
  ExpectNoSizes(*session);
  EXPECT_NE(RenderTo(*session, PicturePath(), 10, 10), 0u);
  EXPECT_STREQ(CoreErrorText(), "no SVG is loaded");
}

TEST_F(DecoderSessionTest, ForgetsAllWhenReset) {
  const auto session = Load(kDrawing);
  session->Reset();
  ExpectNoSizes(*session);
  EXPECT_NE(session->Load(0, 0), 1u);
}

TEST_F(DecoderSessionTest, KeepsTheSvgUntilTheNextIsLoaded) {
  const auto session = Load(kDrawing);
  session->SetSource(folder_.Make("b.svg", R"(<svg width="3" height="4"/>)").c_str());
  ExpectSizes(*session, 189, 76, 50, 20);
  EXPECT_EQ(session->Load(0, 0), 1u);
  ExpectSizes(*session, 3, 4, 3, 4);
}

TEST_F(DecoderSessionTest, TellsNoSizeToNull) {
  const auto session = Load(kDrawing);
  std::uint32_t number = 7;
  EXPECT_NE(session->GetSize(nullptr, &number), 0u);
  EXPECT_NE(session->GetSize(&number, nullptr), 0u);
  EXPECT_NE(session->GetViewSize(nullptr, &number), 0u);
  EXPECT_NE(session->GetViewSize(&number, nullptr), 0u);
  EXPECT_EQ(number, 7u);
}

/// Lines of this process's memory map that name a library of the graphics stack.
bool HasLoadedRenderer() {
  std::ifstream maps("/proc/self/maps");
  const std::string text{std::istreambuf_iterator<char>(maps), {}};
  return text.find("librsvg") != std::string::npos;
}

TEST_F(DecoderSessionTest, LoadsTheRendererWithTheFirstRenderingOnly) {
  const auto session = Load(kDrawing);
  ExpectSizes(*session, 189, 76, 50, 20);
  EXPECT_FALSE(HasLoadedRenderer());
  EXPECT_EQ(RenderTo(*session, PicturePath(), 10, 10), 0u);
  EXPECT_TRUE(HasLoadedRenderer());
}

TEST_F(DecoderSessionTest, RendersToTheSizeThatIsAskedFor) {
  EXPECT_EQ(RenderTo(*Load(kDrawing), PicturePath(), 100, 40), 0u);
  const Picture picture(PicturePath());
  ASSERT_TRUE(picture.IsThere());
  EXPECT_EQ(picture.width(), 100);
  EXPECT_EQ(picture.height(), 40);
  EXPECT_EQ(picture.at(1, 1), kRed);
  EXPECT_EQ(picture.at(98, 38), kRed);
}

TEST_F(DecoderSessionTest, RendersInTheMiddleWhereTheRatioDiffers) {
  EXPECT_EQ(RenderTo(*Load(kDrawing), PicturePath(), 100, 100), 0u);
  const Picture picture(PicturePath());
  ASSERT_TRUE(picture.IsThere());
  EXPECT_EQ(picture.at(50, 2), kTransparent);
  EXPECT_EQ(picture.at(50, 97), kTransparent);
  EXPECT_EQ(picture.at(2, 50), kRed);
  EXPECT_EQ(picture.at(97, 50), kRed);
}

TEST_F(DecoderSessionTest, ScalesADrawingWithoutAViewBox) {
  const auto session =
      Load(R"(<svg xmlns="http://www.w3.org/2000/svg" width="10" height="10">)"
           R"(<rect width="5" height="10" fill="red"/><rect x="5" width="5" height="10" fill="blue"/></svg>)");
  EXPECT_EQ(RenderTo(*session, PicturePath(), 100, 100), 0u);
  const Picture picture(PicturePath());
  ASSERT_TRUE(picture.IsThere());
  EXPECT_EQ(picture.at(40, 90), kRed);
  EXPECT_EQ(picture.at(60, 90), kBlue);
  EXPECT_EQ(picture.at(97, 97), kBlue);
}

TEST_F(DecoderSessionTest, RendersAPackedDrawing) {
  EXPECT_EQ(RenderTo(*Load(Gzip(kDrawing), "a.svgz"), PicturePath(), 100, 40), 0u);
  EXPECT_EQ(Picture(PicturePath()).at(50, 20), kRed);
}

TEST_F(DecoderSessionTest, RendersTheFileThatWasLoadedAndNotTheNextSource) {
  const auto session = Load(kDrawing);
  session->SetSource((folder_.path() / "absent.svg").c_str());
  EXPECT_EQ(RenderTo(*session, PicturePath(), 100, 40), 0u);
}

TEST_F(DecoderSessionTest, LooksThroughAFileThatChangedBeforeItRenders) {
  const auto session = Load(kDrawing);
  folder_.Make("a.svg", "<svg>\n<g>");
  EXPECT_NE(RenderTo(*session, PicturePath(), 100, 40), 0u);
  EXPECT_STREQ(CoreErrorText(), "damaged SVG: line 2: it ends too early");
  std::filesystem::remove(folder_.path() / "a.svg");
  EXPECT_NE(RenderTo(*session, PicturePath(), 100, 40), 0u);
  EXPECT_STREQ(CoreErrorText(), "No such file or directory");
}

TEST_F(DecoderSessionTest, RendersNoPictureOfAnImpossibleSize) {
  const auto session = Load(kDrawing);
  constexpr std::uintptr_t kHuge = ~std::uintptr_t{0};
  for (const auto& [width, height] : {std::pair<std::uintptr_t, std::uintptr_t>{0, 10},
                                      {10, 0},
                                      {kHuge, kHuge},
                                      {32768, 1},
                                      {1, 32768},
                                      {32767, 32767}}) {
    EXPECT_NE(RenderTo(*session, PicturePath(), width, height), 0u);
    EXPECT_STREQ(CoreErrorText(), "no picture can have the size that is asked for");
  }
  EXPECT_FALSE(std::filesystem::exists(PicturePath()));
}

TEST_F(DecoderSessionTest, RendersToNoImpossiblePath) {
  const auto session = Load(kDrawing);
  EXPECT_NE(session->Render(0, 10, 10), 0u);
  EXPECT_STREQ(CoreErrorText(), "no file to render to");
  EXPECT_NE(RenderTo(*session, (folder_.path() / "absent" / "picture.png").string(), 10, 10), 0u);
  EXPECT_STREQ(CoreErrorText(), "the picture cannot be written");
}

}  // namespace
