// Sessions of the media file service that are not open, and how they are opened.

#include <sys/stat.h>

#include <array>
#include <cstring>

#include "checks/areas.h"
#include "checks/known_session.h"
#include "core/error_text.h"
#include "mediainfo/imedia_file_info.h"
#include "mediainfo/metedata_keys.h"
#include "mediainfo/result.h"
#include "mediainfo/service_ids.h"
#include "process_state.h"
#include "sample_files.h"

namespace module_check {
namespace {

using namespace service::mediainfo;

template <typename Task>
void WithSession(const Subject& subject, Task task) {
  WithSessionOf<IMediaFileInfo>(subject, kMediaFileInfoServiceName, task);
}

std::uint32_t Open(IMediaFileInfo& session, std::string url) { return session.SetURL(url.data()); }

void HasInterface(Subject& subject) {
  WithSession(subject, [](IMediaFileInfo&) {});
}

void DemandClosed(IMediaFileInfo& session) {
  DemandEqual(session.GetProgramCount(), 0U, "GetProgramCount");
  auto* program = reinterpret_cast<IProgramInfo*>(std::uintptr_t{kUntouched});
  for (const std::uint32_t index : {0U, 1U, 0xFFFF'FFFFU}) {
    DemandEqual(session.GetProgram(&program, index), kIndexOutOfRange, "GetProgram");
    DemandEqual(reinterpret_cast<std::uintptr_t>(program), std::uintptr_t{kUntouched}, "the program");
  }
  Demand(session.GetFormatName() != nullptr, "GetFormatName is null");
  Demand(session.GetFormatLongName() != nullptr, "GetFormatLongName is null");
  std::int64_t creation = kUntouched;
  std::int64_t modification = kUntouched;
  DemandEqual(session.GetDates(&creation, &modification), false, "GetDates");
  DemandEqual(creation, kUntouched, "the date of creation");
  DemandEqual(modification, kUntouched, "the date of modification");
}

void IsClosedAtFirst(Subject& subject) { WithSession(subject, DemandClosed); }

void StreamTypeIsUntouched(Subject& subject) {
  WithSession(subject, [](IMediaFileInfo& session) {
    std::int32_t type = 4711;
    DemandEqual(session.GetStreamType(1, &type), kSuccess, "GetStreamType");
    DemandEqual(type, 4711, "the type");
  });
}

void HasEmptyStore(Subject& subject) {
  WithSession(subject, [](IMediaFileInfo& session) {
    const std::shared_ptr<IMetedataInfo> store = session.GetMetadata();
    Demand(store != nullptr, "GetMetadata gives no store");
    core::ValAny value;
    DemandEqual(store->GetValue(service::mediainfo::metedata_keys::kTitle, &value), false, "GetValue of the title");
  });
}

void CloneFails(Subject& subject) {
  WithSession(subject, [](IMediaFileInfo& session) {
    DemandEqual(session.Clone(nullptr), kNoOutput, "Clone(null)");
    auto* clone = reinterpret_cast<IMediaFileInfo*>(std::uintptr_t{kUntouched});
    DemandEqual(session.Clone(&clone), kNoOutput, "Clone of a session that is not open");
    DemandEqual(reinterpret_cast<std::uintptr_t>(clone), std::uintptr_t{kUntouched}, "the clone");
  });
}

void KeepFlagIsHarmless(Subject& subject) {
  WithSession(subject, [](IMediaFileInfo& session) {
    for (const std::uint32_t value : {0U, 1U, 0xFFFF'FFFFU}) session.ClearKeepFlag(value);
    DemandEqual(session.GetProgramCount(), 0U, "GetProgramCount");
  });
}

void RefusesNull(Subject& subject) {
  WithSession(subject, [](IMediaFileInfo& session) { DemandEqual(session.SetURL(nullptr), kFailed, "SetURL(null)"); });
}

void StaysClosed(Subject& subject) {
  WithSession(subject, [&](IMediaFileInfo& session) {
    Open(session, subject.Sample(sample_names::kMissing));
    Open(session, subject.Sample(sample_names::kText));
    DemandClosed(session);
  });
}

/// A session refuses `url`, says why, and opens the media file all the same.
void DemandRefused(const Subject& subject, const std::string& url) {
  WithSession(subject, [&](IMediaFileInfo& session) {
    DemandEqual(Open(session, url), kFailed, "SetURL");
    Demand(CoreErrorText() != nullptr && *CoreErrorText() != '\0', "no reason is told for the failure");
    DemandEqual(Open(session, subject.target().media_file), kSuccess, "SetURL of the media file after that");
  });
}

void RefusesEmpty(Subject& subject) { DemandRefused(subject, ""); }
void RefusesMissing(Subject& subject) { DemandRefused(subject, subject.Sample(sample_names::kMissing)); }
void RefusesFolder(Subject& subject) { DemandRefused(subject, subject.Sample(sample_names::kSubfolder)); }
void RefusesEmptyFile(Subject& subject) { DemandRefused(subject, subject.Sample(sample_names::kEmpty)); }
void RefusesText(Subject& subject) { DemandRefused(subject, subject.Sample(sample_names::kText)); }
void RefusesPicture(Subject& subject) { DemandRefused(subject, subject.Sample(sample_names::kPicture)); }
void RefusesDrawing(Subject& subject) { DemandRefused(subject, subject.Sample(sample_names::kDrawing)); }
void RefusesDevice(Subject& subject) { DemandRefused(subject, "/dev/null"); }
void RefusesOverlong(Subject& subject) { DemandRefused(subject, LongPath(kOverlong)); }
void RefusesInvalid(Subject& subject) { DemandRefused(subject, subject.Sample("\xff\xc3(\xed\xa0.wav")); }

void RefusesProtocols(Subject& subject) {
  for (const char* scheme : {"rtmp://", "ftp://", "data:/", "concat:/"}) {
    DemandRefused(subject, scheme + subject.target().media_file);
  }
}

void RefusesPipe(Subject& subject) {
  const std::string pipe = subject.Sample("pipe.wav");
  mkfifo(pipe.c_str(), 0600);
  DemandRefused(subject, pipe);
}

void OpensPath(Subject& subject) {
  WithSession(subject, [&](IMediaFileInfo& session) {
    DemandEqual(Open(session, subject.target().media_file), kSuccess, "SetURL");
  });
}

void OpensFileUrl(Subject& subject) {
  for (const char* scheme : {"file:/", "file://"}) {
    WithSession(subject, [&](IMediaFileInfo& session) {
      DemandEqual(Open(session, scheme + subject.target().media_file), kSuccess, std::string("SetURL with ") + scheme);
    });
  }
}

void LeavesTheUrl(Subject& subject) {
  WithSession(subject, [&](IMediaFileInfo& session) {
    std::string url = subject.target().media_file;
    session.SetURL(url.data());
    DemandEqual(url, subject.target().media_file, "the URL after SetURL");
  });
}

void SwapsTheExtension(Subject& subject) {
  WithSession(subject, [&](IMediaFileInfo& session) {
    std::string url = subject.Sample("sound.WAV");
    DemandEqual(session.SetURL(url.data()), kSuccess, "SetURL with the extension in the other case");
    DemandEqual(url, subject.Sample(sample_names::kSound), "the URL after SetURL");
  });
}

void CopiesTheUrl(Subject& subject) {
  WithSession(subject, [&](IMediaFileInfo& session) {
    std::string url = subject.target().media_file;
    session.SetURL(url.data());
    std::memset(url.data(), '#', url.size());
    IMediaFileInfo* clone = nullptr;
    DemandEqual(session.Clone(&clone), kSuccess, "Clone after the caller's URL is gone");
  });
}

void OpensOnce(Subject& subject) {
  WithSession(subject, [&](IMediaFileInfo& session) {
    Open(session, subject.target().media_file);
    const std::string name = session.GetFormatName();
    DemandEqual(Open(session, subject.Sample(sample_names::kMissing)), kSuccess, "SetURL of an open session");
    DemandEqual(session.SetURL(nullptr), kSuccess, "SetURL(null) of an open session");
    DemandText(session.GetFormatName(), name, "GetFormatName after that");
  });
}

void KeyDoesNoHarm(Subject& subject) {
  WithSession(subject, [&](IMediaFileInfo& session) {
    for (const char* key : {"", "000102030405060708090a0b0c0d0e0f", "no key at all \xff"}) session.SetEncryptKey(key);
    session.SetEncryptKey(LongPath(kOverlong).c_str());
    DemandEqual(Open(session, subject.target().media_file), kSuccess, "SetURL after keys were set");
  });
}

void LeavesNoDescriptor(Subject& subject) {
  WithService(subject, kMediaFileInfoServiceName, [&](service::IService& service) {
    const auto open_and_close = [&](const std::string& url) {
      const OwnedSession session(service);
      Open(session.As<IMediaFileInfo>(), url);
    };
    open_and_close(subject.target().media_file);
    const std::string before = process_state::Descriptors();
    for (int i = 0; i < 20; ++i) {
      open_and_close(subject.target().media_file);
      open_and_close(subject.Sample(sample_names::kText));
    }
    process_state::DemandSame(process_state::Descriptors(), before, "the list of open descriptors");
  });
}

constexpr std::array kChecks{
    Check{kMediaInterface, "sessions of the media file service have IMediaFileInfo", HasInterface},
    Check{"media.closed", "a new session has no programs and no dates, its names are not null", IsClosedAtFirst},
    Check{"media.stays-closed", "and is the same after files that were refused", StaysClosed},
    Check{"media.stream-type", "GetStreamType leaves its output alone when no type is known", StreamTypeIsUntouched},
    Check{"media.empty-store", "a session that is not open has a store without a title", HasEmptyStore},
    Check{"media.clone-closed", "Clone without an output or an open file answers 4 and writes nothing", CloneFails},
    Check{"media.keep-flag", "ClearKeepFlag takes any value", KeepFlagIsHarmless},
    Check{"media.null", "SetURL refuses null with 1", RefusesNull},
    Check{"media.empty", "an empty URL fails, is given a reason, and another may follow", RefusesEmpty},
    Check{"media.missing", "so does a file that is not there", RefusesMissing},
    Check{"media.folder", "a folder", RefusesFolder},
    Check{"media.device", "a device", RefusesDevice},
    Check{"media.pipe", "a pipe, without waiting for it", RefusesPipe},
    Check{"media.empty-file", "an empty file", RefusesEmptyFile},
    Check{"media.text", "a file that is no media", RefusesText},
    Check{"media.picture", "a still image", RefusesPicture},
    Check{"media.drawing", "an SVG", RefusesDrawing},
    Check{"media.protocols", "a URL of another protocol than http and file", RefusesProtocols},
    Check{"media.overlong", "a path of 100,000 characters", RefusesOverlong},
    Check{"media.invalid", "a path that is not UTF-8", RefusesInvalid},
    Check{"media.path", "a path of a media file is opened", OpensPath},
    Check{"media.file-url", "and a file URL with one and with two slashes", OpensFileUrl},
    Check{"media.url-kept", "the caller's URL stays as it was", LeavesTheUrl},
    Check{"media.extension-case", "unless the extension is found in the other letter case", SwapsTheExtension},
    Check{"media.url-copied", "the caller's URL may go after SetURL", CopiesTheUrl},
    Check{"media.once", "an open session stays on its file and answers further URLs with 0", OpensOnce},
    Check{"media.key", "keys of any form do no harm to files without protection", KeyDoesNoHarm},
    Check{"media.descriptors", "sessions that were destroyed have no file open", LeavesNoDescriptor},
};

}  // namespace

std::span<const Check> MediaChecks() { return kChecks; }

}  // namespace module_check
