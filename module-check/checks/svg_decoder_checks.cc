// The SVG decoder service's sessions, which the SVG service asks.

#include <array>
#include <cstring>

#include "checks/areas.h"
#include "checks/known_session.h"
#include "process_state.h"
#include "sample_files.h"
#include "service/isvg_decode_sink.h"

namespace module_check {
namespace {

using service::ISVGDecodeSink;

constexpr std::uint32_t kLoaded = 1;

template <typename Task>
void WithSink(const Subject& subject, Task task) {
  WithSessionOf<ISVGDecodeSink>(subject, service::kSvgDecoderServiceName, task);
}

using SizeQuery = std::uint32_t (ISVGDecodeSink::*)(std::uint32_t* width_out, std::uint32_t* height_out);
constexpr std::array<SizeQuery, 2> kSizeQueries{&ISVGDecodeSink::GetSize, &ISVGDecodeSink::GetViewSize};

void DemandNoSize(ISVGDecodeSink& sink) {
  for (const SizeQuery query : kSizeQueries) {
    std::uint32_t width = kUntouched;
    std::uint32_t height = kUntouched;
    Demand((sink.*query)(&width, &height) != 0, "a query of a size answers 0");
    DemandEqual(width, kUntouched, "the width");
    DemandEqual(height, kUntouched, "the height");
  }
}

std::uint32_t Load(ISVGDecodeSink& sink, const std::string& source) {
  sink.SetSource(source.c_str());
  return sink.Load(0, 0);
}

void DemandDrawing(ISVGDecodeSink& sink) {
  std::uint32_t width = kUntouched;
  std::uint32_t height = kUntouched;
  DemandEqual(sink.GetSize(&width, &height), 0U, "GetSize");
  DemandEqual(width, sample_facts::kDrawingWidth, "the width");
  DemandEqual(height, sample_facts::kDrawingHeight, "the height");
  DemandEqual(sink.GetViewSize(&width, &height), 0U, "GetViewSize");
  DemandEqual(width, sample_facts::kDrawingViewWidth, "the width of the view box");
  DemandEqual(height, sample_facts::kDrawingViewHeight, "the height of the view box");
}

void HasInterface(Subject& subject) {
  WithSink(subject, [](ISVGDecodeSink&) {});
}

void IsEmptyAtFirst(Subject& subject) { WithSink(subject, DemandNoSize); }

void LoadsNothingWithoutSource(Subject& subject) {
  WithSink(subject, [](ISVGDecodeSink& sink) {
    Demand(sink.Load(0, 0) != kLoaded, "Load without a source answers 1");
    DemandNoSize(sink);
    sink.SetSource(nullptr);
    Demand(sink.Load(0, 0) != kLoaded, "Load of a null source answers 1");
    DemandNoSize(sink);
  });
}

void LoadsDrawing(Subject& subject) {
  for (const char* scheme : {"", "file:/"}) {
    WithSink(subject, [&](ISVGDecodeSink& sink) {
      DemandEqual(Load(sink, scheme + subject.Sample(sample_names::kDrawing)), kLoaded, "Load of a drawing");
      DemandDrawing(sink);
    });
  }
}

void RefusesOthers(Subject& subject) {
  for (const char* name : {sample_names::kMissing, sample_names::kSubfolder, sample_names::kEmpty, sample_names::kText,
                           sample_names::kPicture}) {
    WithSink(subject, [&](ISVGDecodeSink& sink) {
      Demand(Load(sink, subject.Sample(name)) != kLoaded, std::string("Load answers 1 for ") + name);
      DemandNoSize(sink);
      DemandEqual(Load(sink, subject.Sample(sample_names::kDrawing)), kLoaded, "Load of a drawing after that");
    });
  }
}

void RefusesOverlong(Subject& subject) {
  WithSink(subject, [&](ISVGDecodeSink& sink) {
    Demand(Load(sink, LongPath(kOverlong)) != kLoaded, "Load answers 1");
    DemandNoSize(sink);
  });
}

void FailureForgets(Subject& subject) {
  WithSink(subject, [&](ISVGDecodeSink& sink) {
    Load(sink, subject.Sample(sample_names::kDrawing));
    Load(sink, subject.Sample(sample_names::kText));
    DemandNoSize(sink);
  });
}

void ResetForgets(Subject& subject) {
  WithSink(subject, [&](ISVGDecodeSink& sink) {
    sink.Reset();
    Load(sink, subject.Sample(sample_names::kDrawing));
    sink.Reset();
    DemandNoSize(sink);
    Demand(sink.Load(0, 0) != kLoaded, "Load after Reset answers 1");
  });
}

void CopiesTheSource(Subject& subject) {
  WithSink(subject, [&](ISVGDecodeSink& sink) {
    std::string source = subject.Sample(sample_names::kDrawing);
    sink.SetSource(source.c_str());
    std::memset(source.data(), '#', source.size());
    DemandEqual(sink.Load(0, 0), kLoaded, "Load after the caller's text is gone");
  });
}

void ReservedDoNothing(Subject& subject) {
  WithSink(subject, [&](ISVGDecodeSink& sink) {
    Load(sink, subject.Sample(sample_names::kDrawing));
    for (const auto reserved :
         {&ISVGDecodeSink::Reserved1, &ISVGDecodeSink::Reserved3, &ISVGDecodeSink::Reserved4,
          &ISVGDecodeSink::Reserved5, &ISVGDecodeSink::Reserved7, &ISVGDecodeSink::Reserved9,
          &ISVGDecodeSink::Reserved11, &ISVGDecodeSink::Reserved13, &ISVGDecodeSink::Reserved14}) {
      (sink.*reserved)();
    }
    DemandDrawing(sink);
  });
}

void RendersNothingUnloaded(Subject& subject) {
  WithSink(subject, [&](ISVGDecodeSink& sink) {
    const std::string path = subject.Sample("unloaded.png");
    Demand(sink.Render(reinterpret_cast<std::uintptr_t>(path.c_str()), 4, 4) != 0, "Render answers 0");
  });
}

void RendersNowhere(Subject& subject) {
  WithSink(subject, [&](ISVGDecodeSink& sink) {
    Load(sink, subject.Sample(sample_names::kDrawing));
    Demand(sink.Render(0, 4, 4) != 0, "Render without a path answers 0");
    DemandDrawing(sink);
  });
}

void LeavesNoDescriptor(Subject& subject) {
  WithSink(subject, [&](ISVGDecodeSink& sink) {
    Load(sink, subject.Sample(sample_names::kDrawing));
    const std::string before = process_state::Descriptors();
    for (const char* name : {sample_names::kDrawing, sample_names::kText, sample_names::kSubfolder}) {
      Load(sink, subject.Sample(name));
    }
    process_state::DemandSame(process_state::Descriptors(), before, "the list of open descriptors");
  });
}

void ServesThreads(Subject& subject) {
  WithService(subject, service::kSvgDecoderServiceName, [&](service::IService& service) {
    InThreads([&] {
      for (int i = 0; i < 20; ++i) {
        const OwnedSession session(service);
        auto& sink = session.As<ISVGDecodeSink>();
        DemandEqual(Load(sink, subject.Sample(sample_names::kDrawing)), kLoaded, "Load in a thread");
        DemandDrawing(sink);
      }
    });
  });
}

constexpr std::array kChecks{
    Check{"decoder.interface", "sessions of the SVG decoder service have ISVGDecodeSink", HasInterface},
    Check{"decoder.new", "a new session has no size; outputs stay as they were", IsEmptyAtFirst},
    Check{"decoder.no-source", "Load fails without a source and with a null one", LoadsNothingWithoutSource},
    Check{"decoder.drawing", "a drawing is loaded and measured, by path and by URL", LoadsDrawing},
    Check{"decoder.refused", "what is no drawing is refused, and a drawing may follow", RefusesOthers},
    Check{"decoder.overlong", "so is a path of 100,000 characters", RefusesOverlong},
    Check{"decoder.failure", "a failed Load forgets the drawing before", FailureForgets},
    Check{"decoder.reset", "Reset forgets source and drawing", ResetForgets},
    Check{"decoder.source-copied", "the caller's source may go after SetSource", CopiesTheSource},
    Check{"decoder.reserved", "reserved operations do nothing", ReservedDoNothing},
    Check{"decoder.render-unloaded", "Render fails where nothing is loaded", RendersNothingUnloaded},
    Check{"decoder.render-nowhere", "and without a path", RendersNowhere},
    Check{"decoder.descriptors", "no file stays open", LeavesNoDescriptor},
    Check{"decoder.threads", "several threads measure at once", ServesThreads},
};

}  // namespace

std::span<const Check> SvgDecoderChecks() { return kChecks; }

}  // namespace module_check
