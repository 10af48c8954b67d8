#include "probe/svg_prober.h"

#include <gtest/gtest.h>

#include <cstring>

#include "core/error_text.h"
#include "fake_services.h"
#include "scratch_folder.h"

namespace mediaprobe {
namespace {

using testing::FakeSvg;
using testing::FakeSvgService;
using testing::ScratchFolder;

Record ProbeInput(FakeSvgService& service, const std::string& input) {
  InputPath path = ToInputPath(input);
  Record record = SvgProber(service).Probe(path);
  EXPECT_EQ(service.open_sessions, 0);
  return record;
}

TEST(SvgProber, SizesAreTaken) {
  FakeSvgService service([](char*) { return FakeSvg{200, 100, 24, 12}; });
  const Record record = ProbeInput(service, "/v/a.svg");
  EXPECT_EQ(record.error, std::nullopt);
  const auto& svg = std::get<SvgRecord>(record.answer);
  EXPECT_EQ(svg.width, 200u);
  EXPECT_EQ(svg.height, 100u);
  EXPECT_EQ(svg.view_width, 24u);
  EXPECT_EQ(svg.view_height, 12u);
}

TEST(SvgProber, ViewSizeThatIsNotToldStaysEmpty) {
  FakeSvgService service([](char*) { return FakeSvg{200, 100, 0, 0}; });
  const Record record = ProbeInput(service, "/v/a.svg");
  EXPECT_EQ(record.error, std::nullopt);
  EXPECT_EQ(std::get<SvgRecord>(record.answer).view_width, std::nullopt);
}

TEST(SvgProber, SvgWithoutASizeIsAFailure) {
  FakeSvgService service([](char*) { return FakeSvg{}; });
  EXPECT_EQ(ProbeInput(service, "/v/a.svg").error, "the SVG decoder tells no size");
}

TEST(SvgProber, UrlsAreAsForMedia) {
  std::string opened;
  FakeSvgService service([&opened](char* url) {
    opened = url;
    return FakeSvg{1, 1, 1, 1};
  });
  ProbeInput(service, "/v/a.svg");
  EXPECT_EQ(opened, "/v/a.svg");
  ProbeInput(service, "/c:/a.svg");
  EXPECT_EQ(opened, "file://c:/a.svg");
}

TEST(SvgProber, PathFollowsTheServiceToTheOtherLetterCase) {
  const ScratchFolder folder;
  folder.AddFile("a.svg");
  FakeSvgService service([](char* url) {
    std::strcpy(url + std::strlen(url) - 3, "svg");
    return FakeSvg{1, 1, 1, 1};
  });
  InputPath path = ToInputPath(folder.path() + "/a.SVG");
  SvgProber(service).Probe(path);
  EXPECT_EQ(path.local_path, folder.path() + "/a.svg");
}

TEST(SvgProber, FailuresSayWhy) {
  const ScratchFolder folder;
  const std::string path = folder.AddFile("a.svg");
  std::string words;
  FakeSvgService service([&words](char*) {
    if (!words.empty()) CoreSetErrorText(words.c_str());
    return std::nullopt;
  });
  EXPECT_EQ(ProbeInput(service, path).error, "not an SVG document");
  words = "nested too deep";
  EXPECT_EQ(ProbeInput(service, path).error, "nested too deep");
  EXPECT_EQ(ProbeInput(service, folder.path() + "/none.svg").error, "no such file");
  EXPECT_TRUE(std::holds_alternative<SvgRecord>(ProbeInput(service, path).answer));
}

TEST(SvgProber, ServiceWithoutSessions) {
  FakeSvgService service([](char*) { return std::nullopt; });
  service.gives_sessions = false;
  EXPECT_EQ(ProbeInput(service, "/v/a.svg").error, "the SVG service gives no session");
}

}  // namespace
}  // namespace mediaprobe
