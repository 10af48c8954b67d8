#include "worker/provisions.h"

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "core/loading.h"
#include "mediainfo/service_ids.h"
#include "probe/input_path.h"
#include "probe/picture_name.h"
#include "worker/wishes.h"

namespace mediaprobe {
namespace {

enum class Kind { kService, kLibrary, kCharacterSet };

struct Provision {
  const char* name;
  Kind kind;
};

/// A worker chooses among these and nothing else. Character sets are those of broadcast streams.
constexpr Provision kProvisions[] = {
    {service::mediainfo::kImageInfoServiceName, Kind::kService},
    {service::mediainfo::kSvgInfoServiceName, Kind::kService},
    {service::mediainfo::kMediaUuidServiceName, Kind::kService},
    {"libMediaServerPictureTags.so", Kind::kLibrary},
    {kDigestLibraryName, Kind::kLibrary},
    {"libMediaServerNetwork.so", Kind::kLibrary},
    {"ISO6937", Kind::kCharacterSet},
    {"ISO-8859-1", Kind::kCharacterSet},
    {"ISO-8859-2", Kind::kCharacterSet},
    {"ISO-8859-3", Kind::kCharacterSet},
    {"ISO-8859-4", Kind::kCharacterSet},
    {"ISO-8859-5", Kind::kCharacterSet},
    {"ISO-8859-6", Kind::kCharacterSet},
    {"ISO-8859-7", Kind::kCharacterSet},
    {"ISO-8859-8", Kind::kCharacterSet},
    {"ISO-8859-9", Kind::kCharacterSet},
    {"ISO-8859-10", Kind::kCharacterSet},
    {"ISO-8859-11", Kind::kCharacterSet},
    {"ISO-8859-13", Kind::kCharacterSet},
    {"ISO-8859-14", Kind::kCharacterSet},
    {"ISO-8859-15", Kind::kCharacterSet},
    {"GB2312", Kind::kCharacterSet},
    {"KSC_5601", Kind::kCharacterSet},
};
static_assert(kFirstProvisionWish + std::size(kProvisions) <= kMostWishes);

std::optional<std::size_t> NumberOf(std::string_view name) {
  const auto* found = std::ranges::find(kProvisions, name, &Provision::name);
  if (found == std::end(kProvisions)) return std::nullopt;
  return static_cast<std::size_t>(found - kProvisions);
}

const Provisions* watching = nullptr;

bool EndsLikeAnSvg(std::string_view name) { return name.ends_with(".svg") || name.ends_with(".svgz"); }
/// Its programs have names, as broadcasters' and most encoders' have.
bool EndsLikeABroadcast(std::string_view name) {
  return name.ends_with(".ts") || name.ends_with(".m2ts") || name.ends_with(".mts");
}

}  // namespace

Provisions::Provisions(std::string library_folder, AcquireService acquire)
    : library_folder_(std::move(library_folder)), acquire_(std::move(acquire)), granted_(std::size(kProvisions)) {}

Provisions::~Provisions() {
  for (const iconv_t converter : converters_) iconv_close(converter);
}

bool Provisions::Grant(int wish) {
  if (wish < kFirstProvisionWish) return false;
  const auto number = static_cast<std::size_t>(wish - kFirstProvisionWish);
  if (number >= granted_.size()) return false;
  if (!granted_[number]) LoadProvision(number);
  return true;
}

void Provisions::Load(std::string_view name) {
  const auto number = NumberOf(name);
  if (number && !granted_[*number]) LoadProvision(*number);
}

void Provisions::Foresee(const std::vector<std::string>& inputs) {
  // What a longer list promises besides, the first of its kind will wish for.
  constexpr std::size_t kMostLookedAt = 16;
  for (std::size_t i = 0; i < std::min(inputs.size(), kMostLookedAt); ++i) {
    if (IsNamedLikeAPicture(inputs[i])) Load(service::mediainfo::kImageInfoServiceName);
    if (EndsLikeAnSvg(inputs[i])) Load(service::mediainfo::kSvgInfoServiceName);
    if (EndsLikeABroadcast(inputs[i])) Load("ISO6937");
    if (IsNetworkUrl(inputs[i])) Load("libMediaServerNetwork.so");
  }
}

void Provisions::LoadProvision(std::size_t number) {
  const auto& [name, kind] = kProvisions[number];
  // Granted even where it fails: another attempt in a worker ends in that input's error.
  granted_[number] = true;
  switch (kind) {
    case Kind::kService:
      acquire_(name);
      break;
    case Kind::kLibrary:
      // By the very path that its user will name: found by another, the file would have to be opened again.
      dlopen((library_folder_ + name).c_str(), RTLD_NOW | RTLD_LOCAL);
      break;
    case Kind::kCharacterSet:
      // Kept: the system unloads what nobody uses.
      if (const iconv_t converter = iconv_open("UTF-8", name); converter != reinterpret_cast<iconv_t>(-1)) {
        converters_.push_back(converter);
      }
      break;
  }
}

void Provisions::WatchLoading() const {
  watching = this;
  CoreWatchLoading([](const char* name) { watching->LeaveIfMissing(name); });
}

void Provisions::LeaveIfMissing(std::string_view name) const {
  const auto number = NumberOf(name);
  if (number && !granted_[*number]) LeaveWithWish(kFirstProvisionWish + static_cast<int>(*number));
}

}  // namespace mediaprobe
