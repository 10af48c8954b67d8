#include <type_traits>

#include "codec_component.h"
#include "platform/com_ptr.h"
#include "platform/export.h"

namespace {

using com_support::CodecComponent;
using platform::ComStatus;
using platform::Guid;

}  // namespace

/// Makes an object of the class `class_id`; the codec component is the one class there is. `*out` gets its interface
/// `interface_id` with one reference, and null on failure: kInvalidPointer for a null `out`, kClassNotRegistered,
/// kNoAggregation for an `outer` object, kNoInterface, or the status with which no media server could be made.
extern "C" PLATFORM_EXPORT ComStatus QKCreateInstance(const Guid& class_id, void* outer, std::uint32_t /*context*/,
                                                      const Guid& interface_id, void** out) {
  if (!out) return platform::kInvalidPointer;
  *out = nullptr;
  if (class_id != media_server::kCodecComponentClassId) return platform::kClassNotRegistered;
  if (outer) return platform::kNoAggregation;

  platform::ComPtr<CodecComponent> component;
  const ComStatus status = CodecComponent::Create(component.Put());
  return platform::Failed(status) ? status : component->QueryInterface(interface_id, out);
}

static_assert(std::is_same_v<decltype(&QKCreateInstance), media_server::QkCreateInstanceFunction>);
