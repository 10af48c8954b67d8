// The image service's sessions.

#include <array>
#include <cstring>

#include "checks/areas.h"
#include "checks/known_session.h"
#include "mediainfo/iimage_info.h"
#include "mediainfo/metedata_keys.h"
#include "mediainfo/service_ids.h"
#include "process_state.h"
#include "sample_files.h"

namespace module_check {
namespace {

using namespace service::mediainfo;
namespace keys = metedata_keys;

template <typename Task>
void WithSession(const Subject& subject, Task task) {
  WithSessionOf<IImageInfo>(subject, kImageInfoServiceName, task);
}

std::string Url(const Subject& subject, const char* name, const char* scheme = "file://") {
  return scheme + subject.Sample(name);
}

void DemandSize(IImageInfo& session, std::int32_t width, std::int32_t height) {
  DemandEqual(session.GetWidth(), width, "GetWidth");
  DemandEqual(session.GetHeight(), height, "GetHeight");
  DemandEqual(session.GetWidthSecondEntry(), width, "GetWidthSecondEntry");
  DemandEqual(session.GetHeightSecondEntry(), height, "GetHeightSecondEntry");
}

void DemandPicture(IImageInfo& session) {
  DemandSize(session, sample_facts::kPictureWidth, sample_facts::kPictureHeight);
}

void DemandFrameRate(IImageInfo& session, std::uint32_t numerator, std::uint32_t denominator) {
  std::uint32_t found_numerator = kUntouched;
  std::uint32_t found_denominator = kUntouched;
  session.GetFrameRate(&found_numerator, &found_denominator);
  DemandEqual(found_numerator, numerator, "the frame rate's numerator");
  DemandEqual(found_denominator, denominator, "the frame rate's denominator");
}

void HasInterface(Subject& subject) {
  WithSession(subject, [](IImageInfo&) {});
}

void IsEmptyAtFirst(Subject& subject) {
  WithSession(subject, [](IImageInfo& session) {
    DemandSize(session, 0, 0);
    DemandEqual(session.GetDuration(), 0U, "GetDuration");
    DemandFrameRate(session, 25, 1);
    Demand(session.GetMetadata() == nullptr, "there is a store before the first SetPath");
  });
}

void HasReservedAnswers(Subject& subject) {
  WithSession(subject, [](IImageInfo& session) {
    DemandEqual(session.Reserved10(), 0U, "Reserved10");
    DemandEqual(session.Reserved11(), 0U, "Reserved11");
  });
}

void KeepsDuration(Subject& subject) {
  WithSession(subject, [&](IImageInfo& session) {
    for (const std::uint64_t duration : {std::uint64_t{0}, std::uint64_t{42}, ~std::uint64_t{0}}) {
      session.SetDuration(duration);
      DemandEqual(session.GetDuration(), duration, "GetDuration");
    }
    session.SetPath(Url(subject, sample_names::kPicture).c_str());
    DemandEqual(session.GetDuration(), ~std::uint64_t{0}, "the duration after a picture without one");
  });
}

void KeepsFrameRate(Subject& subject) {
  WithSession(subject, [&](IImageInfo& session) {
    for (const std::uint32_t value : {30U, 0U, 0xFFFF'FFFFU}) {
      DemandEqual(session.SetFrameRate(value, value), true, "SetFrameRate");
      DemandFrameRate(session, value, value);
    }
    session.SetFrameRate(7, 0);
    session.SetPath(Url(subject, sample_names::kPicture).c_str());
    DemandFrameRate(session, 7, 0);
  });
}

void RefusesNull(Subject& subject) {
  WithSession(subject, [](IImageInfo& session) {
    DemandEqual(session.SetPath(nullptr), false, "SetPath(null)");
    Demand(session.GetMetadata() == nullptr, "SetPath(null) makes a store");
    DemandSize(session, 0, 0);
  });
}

/// A session refuses `url`, has a store all the same, and reads a picture after that.
void DemandRefused(const Subject& subject, const std::string& url) {
  WithSession(subject, [&](IImageInfo& session) {
    DemandEqual(session.SetPath(url.c_str()), false, "SetPath");
    Demand(session.GetMetadata() != nullptr, "there is no store after SetPath");
    DemandEqual(session.SetPath(Url(subject, sample_names::kPicture).c_str()), true, "SetPath of a picture after that");
  });
}

void RefusesEmpty(Subject& subject) { DemandRefused(subject, ""); }

void KeepsSizeAfterFailure(Subject& subject) {
  WithSession(subject, [&](IImageInfo& session) {
    session.SetPath(Url(subject, sample_names::kText).c_str());
    DemandSize(session, 0, 0);
    session.SetPath(Url(subject, sample_names::kPicture).c_str());
    const auto store = session.GetMetadata();
    session.SetPath(Url(subject, sample_names::kText).c_str());
    DemandPicture(session);
    Demand(session.GetMetadata() != store, "a failed SetPath keeps the store of the one before");
  });
}

void RefusesPlainPath(Subject& subject) { DemandRefused(subject, subject.Sample(sample_names::kPicture)); }
void RefusesMissing(Subject& subject) { DemandRefused(subject, Url(subject, "missing.png")); }
void RefusesFolder(Subject& subject) { DemandRefused(subject, Url(subject, sample_names::kSubfolder)); }
void RefusesEmptyFile(Subject& subject) { DemandRefused(subject, Url(subject, sample_names::kEmpty)); }
void RefusesText(Subject& subject) { DemandRefused(subject, Url(subject, sample_names::kText)); }
void RefusesOverlong(Subject& subject) { DemandRefused(subject, "file://" + LongPath(kOverlong)); }
void RefusesInvalid(Subject& subject) { DemandRefused(subject, Url(subject, "\xff\xc3(\xed\xa0.png")); }

void RefusesProtocols(Subject& subject) {
  for (const char* scheme : {"http://", "ftp://", "FILE://"}) {
    DemandRefused(subject, Url(subject, sample_names::kPicture, scheme));
  }
}

void ReadsPicture(Subject& subject) {
  WithSession(subject, [&](IImageInfo& session) {
    std::string url = Url(subject, sample_names::kPicture);
    DemandEqual(session.SetPath(url.c_str()), true, "SetPath of a picture");
    std::memset(url.data(), '#', url.size());
    DemandPicture(session);
  });
}

std::int32_t NumberUnder(IMetedataInfo& store, const char* key) {
  core::ValAny value;
  Demand(store.GetValue(key, &value), std::string("there is no ") + key);
  return value.AsInt32();
}

void HasSizeInStore(Subject& subject) {
  WithSession(subject, [&](IImageInfo& session) {
    session.SetPath(Url(subject, sample_names::kPicture).c_str());
    const auto store = session.GetMetadata();
    Demand(store != nullptr, "there is no store");
    DemandEqual(NumberUnder(*store, keys::kImageWidth), sample_facts::kPictureWidth, keys::kImageWidth);
    DemandEqual(NumberUnder(*store, keys::kImageHeight), sample_facts::kPictureHeight, keys::kImageHeight);
  });
}

void ReadsAgain(Subject& subject) {
  WithSession(subject, [&](IImageInfo& session) {
    for (int i = 0; i < 3; ++i) {
      DemandEqual(session.SetPath(Url(subject, sample_names::kPicture).c_str()), true, "SetPath of the same picture");
      DemandPicture(session);
    }
  });
}

void ReadsSequence(Subject& subject) {
  WithSession(subject, [&](IImageInfo& session) {
    const std::string url = Url(subject, sample_names::kFrames, "files://");
    DemandEqual(session.SetPath(url.c_str()), true, "SetPath of a sequence");
    DemandPicture(session);
    DemandEqual(session.GetDuration(), sample_facts::kFramesDuration100ns, "GetDuration of three frames");
    const auto store = session.GetMetadata();
    DemandEqual(NumberUnder(*store, keys::kImagePicSequenceTotalFrames), 3, keys::kImagePicSequenceTotalFrames);
  });
}

void GivesFreshStores(Subject& subject) {
  std::shared_ptr<IMetedataInfo> first;
  WithSession(subject, [&](IImageInfo& session) {
    session.SetPath(Url(subject, sample_names::kPicture).c_str());
    first = session.GetMetadata();
    Demand(session.GetMetadata() == first, "GetMetadata gives two stores of one SetPath");
    session.SetPath(Url(subject, sample_names::kPicture).c_str());
    Demand(session.GetMetadata() != first, "two calls of SetPath have one store");
    DemandEqual(NumberUnder(*first, keys::kImageWidth), sample_facts::kPictureWidth, "the width in the first store");
  });
  subject.At("a store after its service was released");
  DemandEqual(NumberUnder(*first, keys::kImageWidth), sample_facts::kPictureWidth, "the width after the end");
}

void ServesThreads(Subject& subject) {
  WithService(subject, kImageInfoServiceName, [&](service::IService& service) {
    InThreads([&] {
      for (int i = 0; i < 20; ++i) {
        const OwnedSession session(service);
        auto& image = session.As<IImageInfo>();
        DemandEqual(image.SetPath(Url(subject, sample_names::kPicture).c_str()), true, "SetPath in a thread");
        DemandPicture(image);
      }
    });
  });
}

void LeavesNoDescriptor(Subject& subject) {
  WithSession(subject, [&](IImageInfo& session) {
    session.SetPath(Url(subject, sample_names::kPicture).c_str());
    const std::string before = process_state::Descriptors();
    for (const char* name : {sample_names::kPicture, sample_names::kText, sample_names::kSubfolder}) {
      session.SetPath(Url(subject, name).c_str());
    }
    process_state::DemandSame(process_state::Descriptors(), before, "the list of open descriptors");
  });
}

constexpr std::array kChecks{
    Check{"image.interface", "sessions of the image service have IImageInfo", HasInterface},
    Check{"image.new", "a new session has size and duration 0, 25 frames a second and no store", IsEmptyAtFirst},
    Check{"image.reserved", "reserved operations answer 0", HasReservedAnswers},
    Check{"image.duration", "the duration that was set is told until a picture has one", KeepsDuration},
    Check{"image.frame-rate", "the frame rate that was set is told, whatever it is", KeepsFrameRate},
    Check{"image.null", "SetPath refuses null and changes nothing", RefusesNull},
    Check{"image.empty", "an empty URL fails, there is a store all the same, and another may follow", RefusesEmpty},
    Check{"image.plain-path", "so does a path without a scheme", RefusesPlainPath},
    Check{"image.protocols", "a URL of another scheme than file and files", RefusesProtocols},
    Check{"image.missing", "a file that is not there", RefusesMissing},
    Check{"image.folder", "a folder", RefusesFolder},
    Check{"image.empty-file", "an empty file", RefusesEmptyFile},
    Check{"image.text", "a file that is no picture", RefusesText},
    Check{"image.overlong", "a path of 100,000 characters", RefusesOverlong},
    Check{"image.invalid", "a path that is not UTF-8", RefusesInvalid},
    Check{"image.failure", "the size stays after a failure, the store is another one", KeepsSizeAfterFailure},
    Check{"image.picture", "the size of a picture is told, by both pairs of operations", ReadsPicture},
    Check{"image.store", "and stands in the store", HasSizeInStore},
    Check{"image.again", "a picture is read again under the same URL", ReadsAgain},
    Check{"image.sequence", "three numbered pictures last three twenty-fifths of a second", ReadsSequence},
    Check{"image.fresh-stores", "each SetPath has a store of its own, which may outlive the service", GivesFreshStores},
    Check{"image.threads", "several threads read pictures at once", ServesThreads},
    Check{"image.descriptors", "no file stays open after SetPath", LeavesNoDescriptor},
};

}  // namespace

std::span<const Check> ImageChecks() { return kChecks; }

}  // namespace module_check
