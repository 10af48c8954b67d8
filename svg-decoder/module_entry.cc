#include <array>

#include "platform/export.h"
#include "service/isvg_decode_sink.h"
#include "service/module_descriptor.h"
#include "svg-decoder/decoder_service.h"

namespace svg_decoder {
namespace {

void Release(service::IService* service) { delete service; }

constexpr std::array<service::ServiceDescriptor, 1> kTable{{
    {service::kSvgDecoderServiceName, "SVG decoder", service::kSvgDecoderServiceName, 0, nullptr,
     DecoderService::Create, Release, 0, 0},
}};

}  // namespace
}  // namespace svg_decoder

extern "C" PLATFORM_EXPORT bool GetServiceModuleInfo(const service::ServiceDescriptor** table_out,
                                                     std::uint32_t* count_out) {
  if (!table_out || !count_out) return true;
  *table_out = svg_decoder::kTable.data();
  *count_out = static_cast<std::uint32_t>(svg_decoder::kTable.size());
  return true;
}
