// The SVG service's sessions. Those that measure need the decoder's module beside them.

#include <array>
#include <cstring>

#include "checks/areas.h"
#include "checks/known_session.h"
#include "mediainfo/isvg_info.h"
#include "mediainfo/service_ids.h"
#include "sample_files.h"

namespace module_check {
namespace {

using namespace service::mediainfo;

template <typename Task>
void WithSession(const Subject& subject, Task task) {
  WithSessionOf<ISvgInfo>(subject, kSvgInfoServiceName, task);
}

/// NotApplicable without a companion, which has the decoder.
template <typename Task>
void WithDecoder(const Subject& subject, Task task) {
  if (!subject.RegisterCompanions()) throw NotApplicable();
  WithSession(subject, task);
}

bool Set(ISvgInfo& session, std::string url) { return session.SetPath(url.data()); }

using SizeQuery = bool (ISvgInfo::*)(std::uint32_t* width_out, std::uint32_t* height_out);
constexpr std::array<SizeQuery, 2> kSizeQueries{&ISvgInfo::GetSize, &ISvgInfo::GetViewSize};

void DemandNoSize(ISvgInfo& session) {
  for (const SizeQuery query : kSizeQueries) {
    std::uint32_t width = kUntouched;
    std::uint32_t height = kUntouched;
    DemandEqual((session.*query)(&width, &height), false, "a query of a size");
    DemandEqual(width, kUntouched, "the width");
    DemandEqual(height, kUntouched, "the height");
  }
}

void DemandSize(ISvgInfo& session, SizeQuery query, std::uint32_t width, std::uint32_t height) {
  std::uint32_t found_width = kUntouched;
  std::uint32_t found_height = kUntouched;
  DemandEqual((session.*query)(&found_width, &found_height), true, "a query of a size");
  DemandEqual(found_width, width, "the width");
  DemandEqual(found_height, height, "the height");
}

void HasInterface(Subject& subject) {
  WithSession(subject, [](ISvgInfo&) {});
}

void IsEmptyAtFirst(Subject& subject) {
  subject.RegisterCompanions();
  WithSession(subject, [](ISvgInfo& session) {
    DemandNoSize(session);
    DemandEqual(session.GetWidth(), 0U, "GetWidth");
    DemandEqual(session.GetHeight(), 0U, "GetHeight");
    DemandEqual(session.Reserved7(), 0U, "Reserved7");
    DemandEqual(session.Reserved8(), 0U, "Reserved8");
  });
}

void WorksWithoutDecoder(Subject& subject) {
  WithSession(subject, [&](ISvgInfo& session) {
    DemandEqual(Set(session, subject.Sample(sample_names::kDrawing)), false, "SetPath");
    DemandNoSize(session);
    Demand(session.Render(0, 1, 1) != 0, "Render answers 0");
  });
}

void RefusesNull(Subject& subject) {
  subject.RegisterCompanions();
  WithSession(subject, [](ISvgInfo& session) {
    DemandEqual(session.SetPath(nullptr), false, "SetPath(null)");
    DemandNoSize(session);
  });
}

/// A session refuses `url` and measures a drawing after that.
void DemandRefused(const Subject& subject, const std::string& url) {
  WithDecoder(subject, [&](ISvgInfo& session) {
    DemandEqual(Set(session, url), false, "SetPath");
    DemandNoSize(session);
    DemandEqual(Set(session, subject.Sample(sample_names::kDrawing)), true, "SetPath of a drawing after that");
  });
}

void RefusesEmpty(Subject& subject) { DemandRefused(subject, ""); }
void RefusesMissing(Subject& subject) { DemandRefused(subject, subject.Sample("missing.svg")); }
void RefusesFolder(Subject& subject) { DemandRefused(subject, subject.Sample(sample_names::kSubfolder)); }
void RefusesProtocols(Subject& subject) { DemandRefused(subject, "ftp://" + subject.Sample(sample_names::kDrawing)); }
void RefusesText(Subject& subject) { DemandRefused(subject, subject.Sample(sample_names::kText)); }
void RefusesPicture(Subject& subject) { DemandRefused(subject, subject.Sample(sample_names::kPicture)); }
void RefusesOverlong(Subject& subject) { DemandRefused(subject, LongPath(kOverlong)); }
void RefusesInvalid(Subject& subject) { DemandRefused(subject, subject.Sample("\xff\xc3(\xed\xa0.svg")); }

void Measures(Subject& subject) {
  for (const char* scheme : {"", "file:/", "file://"}) {
    WithDecoder(subject, [&](ISvgInfo& session) {
      std::string url = scheme + subject.Sample(sample_names::kDrawing);
      DemandEqual(session.SetPath(url.data()), true, "SetPath of a drawing");
      std::memset(url.data(), '#', url.size());
      DemandSize(session, &ISvgInfo::GetSize, sample_facts::kDrawingWidth, sample_facts::kDrawingHeight);
      DemandSize(session, &ISvgInfo::GetViewSize, sample_facts::kDrawingViewWidth, sample_facts::kDrawingViewHeight);
    });
  }
}

void KeepsTheSize(Subject& subject) {
  WithDecoder(subject, [&](ISvgInfo& session) {
    Set(session, subject.Sample(sample_names::kDrawing));
    DemandEqual(session.GetWidth(), 0U, "GetWidth before GetSize");
    DemandSize(session, &ISvgInfo::GetViewSize, sample_facts::kDrawingViewWidth, sample_facts::kDrawingViewHeight);
    DemandEqual(session.GetWidth(), 0U, "GetWidth after GetViewSize");
    DemandSize(session, &ISvgInfo::GetSize, sample_facts::kDrawingWidth, sample_facts::kDrawingHeight);
    Set(session, subject.Sample(sample_names::kText));
    DemandEqual(session.GetWidth(), sample_facts::kDrawingWidth, "GetWidth after a file that is no drawing");
    DemandEqual(session.GetHeight(), sample_facts::kDrawingHeight, "GetHeight after a file that is no drawing");
  });
}

void RefusesTheSameAgain(Subject& subject) {
  WithDecoder(subject, [&](ISvgInfo& session) {
    const std::string url = subject.Sample(sample_names::kDrawing);
    DemandEqual(Set(session, url), true, "SetPath");
    DemandEqual(Set(session, url), false, "SetPath of the URL given last");
    DemandSize(session, &ISvgInfo::GetSize, sample_facts::kDrawingWidth, sample_facts::kDrawingHeight);
    DemandEqual(Set(session, "file:/" + url), true, "SetPath of the same file under another URL");
  });
}

void RendersNothingUnloaded(Subject& subject) {
  WithDecoder(subject, [&](ISvgInfo& session) {
    const std::string path = subject.Sample("unloaded.png");
    Demand(session.Render(reinterpret_cast<std::uintptr_t>(path.c_str()), 4, 4) != 0, "Render answers 0");
  });
}

void ServesThreads(Subject& subject) {
  if (!subject.RegisterCompanions()) throw NotApplicable();
  WithService(subject, kSvgInfoServiceName, [&](service::IService& service) {
    InThreads([&] {
      for (int i = 0; i < 20; ++i) {
        const OwnedSession session(service);
        auto& svg = session.As<ISvgInfo>();
        DemandEqual(Set(svg, subject.Sample(sample_names::kDrawing)), true, "SetPath in a thread");
        DemandSize(svg, &ISvgInfo::GetSize, sample_facts::kDrawingWidth, sample_facts::kDrawingHeight);
      }
    });
  });
}

constexpr std::array kChecks{
    Check{"svg.interface", "sessions of the SVG service have ISvgInfo", HasInterface},
    Check{"svg.new", "a new session has no size, and reserved operations answer 0", IsEmptyAtFirst},
    Check{"svg.no-decoder", "without a decoder it refuses drawings and tells no size", WorksWithoutDecoder},
    Check{"svg.null", "SetPath refuses null", RefusesNull},
    Check{"svg.empty", "an empty URL fails, outputs stay as they were, and a drawing may follow", RefusesEmpty},
    Check{"svg.missing", "so does a file that is not there", RefusesMissing},
    Check{"svg.folder", "a folder", RefusesFolder},
    Check{"svg.protocols", "a URL of another protocol than file", RefusesProtocols},
    Check{"svg.text", "a file that is no SVG", RefusesText},
    Check{"svg.picture", "a picture of pixels", RefusesPicture},
    Check{"svg.overlong", "a path of 100,000 characters", RefusesOverlong},
    Check{"svg.invalid", "a path that is not UTF-8", RefusesInvalid},
    Check{"svg.drawing", "the sizes of a drawing and of its view box are told", Measures},
    Check{"svg.size-kept", "GetWidth and GetHeight tell what the latest successful GetSize told", KeepsTheSize},
    Check{"svg.same-again", "SetPath refuses the URL given last and changes nothing", RefusesTheSameAgain},
    Check{"svg.render-unloaded", "Render fails where nothing is loaded", RendersNothingUnloaded},
    Check{"svg.threads", "several threads measure at once", ServesThreads},
};

}  // namespace

std::span<const Check> SvgChecks() { return kChecks; }

}  // namespace module_check
