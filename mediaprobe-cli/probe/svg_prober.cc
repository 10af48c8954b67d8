#include "probe/svg_prober.h"

#include <string>

#include "core/error_text.h"
#include "mediainfo/isvg_info.h"
#include "probe/failure_reason.h"
#include "probe/service_session.h"

namespace mediaprobe {
namespace {

using service::mediainfo::ISvgInfo;

void DescribeSvg(ISvgInfo& svg, Record& record) {
  auto& sizes = std::get<SvgRecord>(record.answer);
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  if (!svg.GetSize(&width, &height)) {
    record.error = "the SVG decoder tells no size";
    return;
  }
  sizes.width = width;
  sizes.height = height;
  if (!svg.GetViewSize(&width, &height)) return;
  sizes.view_width = width;
  sizes.view_height = height;
}

}  // namespace

Record SvgProber::Probe(InputPath& path) const {
  Record record;
  record.answer.emplace<SvgRecord>();
  const SessionPtr session = OpenSession(service_);
  auto* svg = dynamic_cast<ISvgInfo*>(session.get());
  if (svg == nullptr) {
    record.error = "the SVG service gives no session";
    return record;
  }
  std::string url = path.url;
  CoreSetErrorText(nullptr);
  const bool is_open = svg->SetPath(url.data());
  FollowService(path, url);
  if (is_open) {
    DescribeSvg(*svg, record);
  } else {
    record.error = FailureReason(path, CoreErrorText(), kNotSvg);
  }
  return record;
}

}  // namespace mediaprobe
