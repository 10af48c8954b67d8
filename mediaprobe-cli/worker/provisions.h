#pragma once

#include <iconv.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace mediaprobe {

inline constexpr char kDigestLibraryName[] = "libMediaServerDigest.so";

/// What most inputs do without and a confined worker can no longer load: services, a few libraries, converters of
/// character sets. A worker that comes to need one leaves with a wish; its parent, in which no input has a say, loads
/// it, and the workers that it forks from then on have it.
class Provisions {
 public:
  /// Acquires the service of that name, for the workers as well.
  using AcquireService = std::function<void(const char* name)>;
  /// `library_folder` ends with a slash.
  Provisions(std::string library_folder, AcquireService acquire);
  ~Provisions();
  Provisions(const Provisions&) = delete;
  Provisions& operator=(const Provisions&) = delete;

  /// Loads what the wish of that number is for, unless that is there. False when there is no such wish.
  bool Grant(int wish);
  /// The same, by the name that CoreTellLoading tells, for what is needed in any case.
  void Load(std::string_view name);
  /// The same for what the names of inputs promise, as far as that is sure to be needed.
  void Foresee(const std::vector<std::string>& inputs);

  /// In a worker, which keeps this object: from now on it leaves with a wish when it comes to need what it has not got.
  void WatchLoading() const;

 private:
  void LoadProvision(std::size_t number);
  void LeaveIfMissing(std::string_view name) const;

  std::string library_folder_;
  AcquireService acquire_;
  std::vector<bool> granted_;
  std::vector<iconv_t> converters_;
};

}  // namespace mediaprobe
