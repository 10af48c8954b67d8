#pragma once

#include <utility>
#include <vector>

#include "media-server/objects/com_object.h"
#include "media_server/istream.h"
#include "platform/com_ptr.h"

namespace media_server {

/// A list that keeps one reference to each of its items.
template <typename Item>
class ObjectList final : public ComObject<IObjectList<Item>> {
 public:
  explicit ObjectList(std::vector<platform::ComPtr<Item>> items) : items_(std::move(items)) {}

  std::int32_t GetCount() override { return static_cast<std::int32_t>(items_.size()); }

  std::int32_t GetAt(std::uint32_t index, Item** out) override {
    if (out == nullptr) return platform::kInvalidPointer;
    *out = nullptr;
    if (index >= items_.size()) return platform::kInvalidArgument;
    *out = platform::ComPtr<Item>(items_[index]).Detach();
    return platform::kOk;
  }

 private:
  ~ObjectList() override = default;

  std::vector<platform::ComPtr<Item>> items_;
};

}  // namespace media_server
