#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/com.h"

namespace fakes {

/// A scripted COM-style object. The test owns it; what is counted are the references that the code under test holds,
/// which must all be given back before the object goes away, and never once too often.
template <typename Interface>
class ComObject : public Interface {
 public:
  ComObject() = default;
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;
  virtual ~ComObject() { EXPECT_EQ(references_, 0) << "references were not released"; }

  /// Interfaces that QueryInterface gives; each is a fake with a count of its own.
  template <typename Other>
  void Offer(ComObject<Other>& other) {
    offers_.push_back({Other::kInterfaceId, static_cast<Other*>(&other), [&other] { other.AddRef(); }});
  }
  void Withdraw() { offers_.clear(); }
  /// QueryInterface succeeds from now on without giving anything.
  void AnswerQueriesWithNull() { answers_null_ = true; }

  platform::ComStatus QueryInterface(const platform::Guid& id, void** out) override {
    *out = nullptr;
    for (Offered& offer : offers_) {
      if (!(offer.id == id)) continue;
      offer.add_reference();
      *out = offer.object;
      return platform::kOk;
    }
    return answers_null_ ? platform::kOk : platform::kNoInterface;
  }
  /// Notes from now on each reference that is taken, as "`name` +", and each that is given back, as "`name` -".
  void TraceIn(std::vector<std::string>& calls, const std::string& name) {
    calls_ = &calls;
    name_ = name;
  }

  std::uint32_t AddRef() override {
    if (calls_ != nullptr) calls_->push_back(name_ + " +");
    return static_cast<std::uint32_t>(++references_);
  }
  std::uint32_t Release() override {
    EXPECT_GT(references_, 0) << "one release too many";
    if (calls_ != nullptr) calls_->push_back(name_ + " -");
    return static_cast<std::uint32_t>(--references_);
  }

  int references() const { return references_; }

 private:
  struct Offered {
    platform::Guid id;
    void* object;
    std::function<void()> add_reference;
  };

  std::vector<Offered> offers_;
  bool answers_null_ = false;
  int references_ = 0;
  std::vector<std::string>* calls_ = nullptr;
  std::string name_;
};

/// Gives `object` (null allowed) out with one reference, as out arguments do.
template <typename Object, typename Interface>
void GiveOut(Object* object, Interface** out) {
  if (object != nullptr) object->AddRef();
  *out = object;
}

}  // namespace fakes
