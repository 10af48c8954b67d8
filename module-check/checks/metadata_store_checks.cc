// The metadata store that media file sessions, or else image sessions, hand out.

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "checks/areas.h"
#include "checks/known_session.h"
#include "core/rational.h"
#include "core/val_any.h"
#include "mediainfo/iimage_info.h"
#include "mediainfo/imedia_file_info.h"
#include "mediainfo/metedata_keys.h"
#include "mediainfo/service_ids.h"
#include "sample_files.h"

namespace module_check {
namespace {

using core::ValAny;
using core::ValType;
using namespace service::mediainfo;

using Store = IMetedataInfo;

constexpr char kKey[] = "module-check";

/// A text in the C allocator's memory, as stores want it.
ValAny TextValue(const char* text) { return ValAny::FromBuffer(strdup(text)); }

bool Offers(const Subject& subject, std::string_view name) {
  const LoadedModule module = subject.Load();
  for (const service::ServiceDescriptor& row : module.Table()) {
    if (row.name != nullptr && row.name == name) return true;
  }
  return false;
}

template <typename Task>
void WithStore(const Subject& subject, Task task) {
  const auto run = [&](const std::shared_ptr<Store>& store) {
    Demand(store != nullptr, "GetMetadata gives no store");
    task(*store);
  };
  if (Offers(subject, kMediaFileInfoServiceName)) {
    return WithSessionOf<IMediaFileInfo>(subject, kMediaFileInfoServiceName,
                                         [&](IMediaFileInfo& session) { run(session.GetMetadata()); });
  }
  WithSessionOf<IImageInfo>(subject, kImageInfoServiceName, [&](IImageInfo& session) {
    session.SetPath(("file://" + subject.Sample(sample_names::kPicture)).c_str());
    run(session.GetMetadata());
  });
}

std::int64_t Int64Of(Store& store, const char* key) {
  ValAny value;
  Demand(store.GetValue(key, &value), std::string("there is no value under ") + key);
  return value.AsInt64();
}

void IsThere(Subject& subject) {
  WithStore(subject, [](Store&) {});
}

void TellsNoUnknownKey(Subject& subject) {
  WithStore(subject, [](Store& store) {
    ValAny value = ValAny::FromInt32(4711);
    for (const char* key : {kKey, "mediafile_metedata_title", "MediaFile_Metedata_", "%s%n", "\xff\xfe"}) {
      DemandEqual(store.GetValue(key, &value), false, std::string("GetValue of ") + key);
      DemandEqual(value.AsInt32(), 4711, "its output");
    }
  });
}

void TellsNothingWithoutKey(Subject& subject) {
  WithStore(subject, [](Store& store) {
    ValAny value = ValAny::FromInt32(4711);
    DemandEqual(store.GetValue(nullptr, &value), false, "GetValue(null)");
    DemandEqual(store.GetValue("", &value), false, "GetValue of an empty key");
    DemandEqual(value.AsInt32(), 4711, "its output");
  });
}

void TakesNothingWithoutKey(Subject& subject) {
  WithStore(subject, [](Store& store) {
    const ValAny value = ValAny::FromInt32(1);
    DemandEqual(store.SetValue(nullptr, &value), false, "SetValue(null)");
    DemandEqual(store.SetValue("", &value), false, "SetValue of an empty key");
  });
}

void KeepsNumbers(Subject& subject) {
  WithStore(subject, [](Store& store) {
    const std::array<ValAny, 6> values{ValAny::FromInt32(-5),           ValAny::FromUInt32(0xFFFF'FFFF),
                                       ValAny::FromInt64(-(1LL << 40)), ValAny::FromUInt64(1ULL << 63),
                                       ValAny::FromFloat(0.5F),         ValAny::FromDouble(-0.25)};
    for (const ValAny& value : values) {
      Demand(store.SetValue(kKey, &value), "SetValue refuses a number");
      ValAny read;
      Demand(store.GetValue(kKey, &read), "GetValue does not find the number");
      DemandEqual(static_cast<int>(read.type()), static_cast<int>(value.type()), "the type of a number");
      DemandEqual(read.AsDouble(), value.AsDouble(), "the number");
    }
  });
}

void ReplacesValues(Subject& subject) {
  WithStore(subject, [](Store& store) {
    for (const std::int32_t number : {1, 2}) {
      const ValAny value = ValAny::FromInt32(number);
      Demand(store.SetValue(kKey, &value), "SetValue refuses a number");
      DemandEqual(Int64Of(store, kKey), number, "the value set last");
    }
  });
}

void TellsKeysApart(Subject& subject) {
  WithStore(subject, [](Store& store) {
    const std::array<std::string, 4> keys{"key", "Key", "key ", "key\xff"};
    for (std::size_t i = 0; i < keys.size(); ++i) {
      const ValAny value = ValAny::FromInt64(static_cast<std::int64_t>(i));
      store.SetValue(keys[i].c_str(), &value);
    }
    for (std::size_t i = 0; i < keys.size(); ++i) DemandEqual(Int64Of(store, keys[i].c_str()), i, "a value");
  });
}

void CopiesKeys(Subject& subject) {
  WithStore(subject, [](Store& store) {
    std::string key(kOverlong, 'k');
    const std::string same = key;
    const ValAny value = ValAny::FromInt32(7);
    Demand(store.SetValue(key.c_str(), &value), "SetValue refuses a key of 100,000 characters");
    std::memset(key.data(), '#', key.size());
    DemandEqual(Int64Of(store, same.c_str()), 7, "the value after the caller's key is gone");
  });
}

void ClonesBoxes(Subject& subject) {
  WithStore(subject, [](Store& store) {
    {
      const ValAny value = ValAny::Box(core::Rational{24000, 1001});
      Demand(store.SetValue(kKey, &value), "SetValue refuses a boxed value");
    }
    ValAny first;
    ValAny second;
    Demand(store.GetValue(kKey, &first) && store.GetValue(kKey, &second), "GetValue does not find the boxed value");
    const auto* one = first.AsBoxed<core::Rational>();
    const auto* other = second.AsBoxed<core::Rational>();
    Demand(one != nullptr && other != nullptr, "the value is no boxed fraction");
    Demand(one != other, "two reads of a boxed value share it");
    Demand(*one == core::Rational{24000, 1001} && *other == *one, "the fraction is another one");
    const ValAny number = ValAny::FromInt32(1);
    store.SetValue(kKey, &number);
    Demand(*one == core::Rational{24000, 1001}, "a value that was read changes with the store");
    Demand(store.GetValue(kKey, &first) && first.type() == ValType::kInt32, "an output keeps its boxed value");
  });
}

void KeepsBuffers(Subject& subject) {
  WithStore(subject, [](Store& store) {
    const ValAny text = TextValue("first");
    Demand(store.SetValue(kKey, &text), "SetValue refuses a text");
    ValAny read;
    Demand(store.GetValue(kKey, &read), "GetValue does not find the text");
    const char* first = read.AsBuffer();
    Demand(first == text.AsBuffer(), "the store copied a text that was given into its keeping");
    const ValAny other = TextValue("second");
    store.SetValue(kKey, &other);
    DemandText(first, "first", "a text that was read, after another one took its place");
  });
}

void TakesOneBufferTwice(Subject& subject) {
  WithStore(subject, [](Store& store) {
    const ValAny text = TextValue("text");
    store.SetValue("one", &text);
    store.SetValue("other", &text);
    store.SetValue("one", &text);
  });
}

void FreesBuffers(Subject& subject) {
  WithService(subject, Offers(subject, kMediaFileInfoServiceName) ? kMediaFileInfoServiceName : kImageInfoServiceName,
              [&](service::IService& service) {
                DemandSteadyMemory(100, [&] {
                  const OwnedSession session(service);
                  UseSession(subject, session.get());
                  auto* media = dynamic_cast<IMediaFileInfo*>(session.get());
                  const auto store = media != nullptr ? media->GetMetadata() : session.As<IImageInfo>().GetMetadata();
                  const ValAny text = TextValue("text");
                  const ValAny box = ValAny::Box(core::Rational{1, 2});
                  if (store == nullptr || !store->SetValue(kKey, &text)) std::free(text.AsBuffer());
                  if (store != nullptr) store->SetValue("box", &box);
                });
              });
}

struct DateKeys {
  const char* text;
  const char* creation;
  const char* modification;
};

constexpr std::array<DateKeys, 2> kDateKeys{{
    {metedata_keys::kDate, metedata_keys::kCreateDate, metedata_keys::kModifyDate},
    {metedata_keys::kImageDate, metedata_keys::kImageCreateDate, metedata_keys::kImageModifyDate},
}};

void ReadsDates(Subject& subject) {
  WithStore(subject, [](Store& store) {
    for (const DateKeys& keys : kDateKeys) {
      const ValAny text = TextValue("2020:2:3:4:5:6,2020:2:3:4:5:16");
      Demand(store.SetValue(keys.text, &text), "SetValue refuses a date text");
      ValAny creation;
      Demand(store.GetValue(keys.creation, &creation), "there is no date of creation");
      DemandEqual(static_cast<int>(creation.type()), static_cast<int>(ValType::kInt64), "the type of a date");
      DemandEqual(Int64Of(store, keys.modification) - creation.AsInt64(), 10, "the seconds between two dates");
    }
  });
}

void DatesComeFromTheText(Subject& subject) {
  WithStore(subject, [](Store& store) {
    for (const DateKeys& keys : kDateKeys) {
      const ValAny own = ValAny::FromInt64(5);
      store.SetValue(keys.creation, &own);
      const ValAny text = TextValue("2020:2:3:4:5:6,2020:2:3:4:5:16");
      store.SetValue(keys.text, &text);
      Demand(Int64Of(store, keys.creation) != 5, "a value under a date's own key is told");
    }
  });
}

void BadDatesThrow(Subject& subject) {
  WithStore(subject, [](Store& store) {
    for (const DateKeys& keys : kDateKeys) {
      const ValAny number = ValAny::FromInt32(5);
      store.SetValue(keys.text, &number);
      ValAny value;
      try {
        store.GetValue(keys.creation, &value);
      } catch (const core::AnyBadAccess&) {
        continue;
      }
      throw Fault{std::string("reading ") + keys.creation + " from a number does not throw core::AnyBadAccess"};
    }
  });
}

constexpr std::array kChecks{
    Check{"store.given", "sessions give a metadata store", IsThere},
    Check{"store.unknown-key", "GetValue of a key that is not there answers false and writes nothing",
          TellsNoUnknownKey},
    Check{"store.no-key", "so does a null and an empty key", TellsNothingWithoutKey},
    Check{"store.set-no-key", "SetValue refuses a null and an empty key", TakesNothingWithoutKey},
    Check{"store.numbers", "numbers of every type come back as they were", KeepsNumbers},
    Check{"store.replace", "the value set last is told", ReplacesValues},
    Check{"store.keys", "keys are told apart byte by byte", TellsKeysApart},
    Check{"store.key-copied", "the caller's key may be long and may go", CopiesKeys},
    Check{"store.boxes", "boxed values are cloned on the way in and out", ClonesBoxes},
    Check{"store.buffers", "buffers pass into the store's keeping and stay as long as it lives", KeepsBuffers},
    Check{"store.buffer-twice", "a buffer under two keys is freed once", TakesOneBufferTwice},
    Check{"store.memory", "stores that come and go free their buffers and boxes", FreesBuffers},
    Check{"store.dates", "dates are answered from the combined date text, in seconds", ReadsDates},
    Check{"store.date-keys", "and never from a value under their own key", DatesComeFromTheText},
    Check{"store.bad-dates", "a date text that is no text throws core::AnyBadAccess", BadDatesThrow},
};

}  // namespace

std::span<const Check> MetadataStoreChecks() { return kChecks; }

}  // namespace module_check
