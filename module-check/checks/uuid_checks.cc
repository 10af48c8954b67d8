// The media UUID service's sessions.

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "checks/areas.h"
#include "checks/known_session.h"
#include "mediainfo/service_ids.h"
#include "mediauuid/imedia_uuid.h"
#include "process_state.h"
#include "sample_files.h"

namespace module_check {
namespace {

using service::mediainfo::kMediaUuidServiceName;
using service::mediauuid::IMediaUuid;

template <typename Task>
void WithSession(const Subject& subject, Task task) {
  WithSessionOf<IMediaUuid>(subject, kMediaUuidServiceName, task);
}

core::Uuid SomeUuid() {
  core::Uuid uuid;
  uuid.FromString("01234567-89AB-CDEF-0123-456789ABCDEF");
  return uuid;
}

/// The digits of a text as the UUID that they stand for.
core::Uuid UuidOf(std::string digits) {
  for (const std::size_t place : {8U, 13U, 18U, 23U}) digits.insert(place, 1, '-');
  core::Uuid uuid;
  Demand(uuid.FromString(digits.c_str()), "a text is no UUID: " + digits);
  return uuid;
}

void HasInterface(Subject& subject) {
  WithSession(subject, [](IMediaUuid&) {});
}

void DemandNoUuid(IMediaUuid& session, const char* url) {
  core::Uuid uuid = SomeUuid();
  DemandEqual(session.GetUuid(url, &uuid), false, "GetUuid");
  Demand(uuid == SomeUuid(), "GetUuid writes its output");
}

void DemandNothing(const Subject& subject, const char* url) {
  WithSession(subject, [&](IMediaUuid& session) {
    DemandNoUuid(session, url);
    Demand(session.GetUuidText(url) == nullptr, "GetUuidText gives a text");
    DemandText(session.GetUuidText(subject.Sample(sample_names::kText).c_str()), sample_facts::kTextMd5,
               "GetUuidText of a file after that");
  });
}

void RefusesNull(Subject& subject) { DemandNothing(subject, nullptr); }
void RefusesEmpty(Subject& subject) { DemandNothing(subject, ""); }
void RefusesMissing(Subject& subject) { DemandNothing(subject, subject.Sample("missing").c_str()); }
void RefusesFolder(Subject& subject) { DemandNothing(subject, subject.Sample(sample_names::kSubfolder).c_str()); }
void RefusesDevice(Subject& subject) { DemandNothing(subject, "/dev/zero"); }
void RefusesOverlong(Subject& subject) { DemandNothing(subject, LongPath(kOverlong).c_str()); }
void RefusesInvalid(Subject& subject) { DemandNothing(subject, subject.Sample("\xff\xc3(\xed\xa0").c_str()); }

void RefusesProtocols(Subject& subject) {
  for (const char* scheme : {"http://", "ftp://", "d:"}) {
    DemandNothing(subject, (scheme + subject.Sample(sample_names::kText)).c_str());
  }
}

void TakesNoOutput(Subject& subject) {
  WithSession(subject, [&](IMediaUuid& session) {
    DemandEqual(session.GetUuid(subject.Sample(sample_names::kText).c_str(), nullptr), false, "GetUuid(url, null)");
  });
}

void TellsText(Subject& subject) {
  for (const char* scheme : {"", "file:/", "file://"}) {
    WithSession(subject, [&](IMediaUuid& session) {
      std::string url = scheme + subject.Sample(sample_names::kText);
      const char* text = session.GetUuidText(url.c_str());
      std::memset(url.data(), '#', url.size());
      DemandText(text, sample_facts::kTextMd5, "GetUuidText");
    });
  }
}

void TellsEmptyFile(Subject& subject) {
  WithSession(subject, [&](IMediaUuid& session) {
    DemandText(session.GetUuidText(subject.Sample(sample_names::kEmpty).c_str()), sample_facts::kEmptyMd5,
               "GetUuidText of an empty file");
  });
}

void TellsUuid(Subject& subject) {
  WithSession(subject, [&](IMediaUuid& session) {
    core::Uuid uuid = SomeUuid();
    DemandEqual(session.GetUuid(subject.Sample(sample_names::kText).c_str(), &uuid), true, "GetUuid");
    DemandEqual(uuid.ToString(), UuidOf(sample_facts::kTextMd5).ToString(), "the UUID");
  });
}

void TextIsTheServices(Subject& subject) {
  WithService(subject, kMediaUuidServiceName, [&](service::IService& service) {
    const std::string path = subject.Sample(sample_names::kText);
    const char* text = nullptr;
    {
      const OwnedSession session(service);
      text = session.As<IMediaUuid>().GetUuidText(path.c_str());
      Demand(text != nullptr, "GetUuidText gives null");
    }
    subject.At("a text whose session is gone");
    for (int i = 0; i < 10; ++i) {
      const OwnedSession other(service);
      Demand(other.As<IMediaUuid>().GetUuidText(path.c_str()) == text, "another session is given another text");
      other.As<IMediaUuid>().GetUuidText(subject.Sample(sample_names::kOtherText).c_str());
    }
    DemandText(text, sample_facts::kTextMd5, "the text whose session is gone");
  });
}

void TextStaysUuidFollows(Subject& subject) {
  const std::string path = subject.Sample("changing.txt");
  const auto copy = [&](const char* from) {
    std::filesystem::copy_file(subject.Sample(from), path, std::filesystem::copy_options::overwrite_existing);
  };
  copy(sample_names::kText);
  WithSession(subject, [&](IMediaUuid& session) {
    DemandText(session.GetUuidText(path.c_str()), sample_facts::kTextMd5, "GetUuidText");
    copy(sample_names::kEmpty);
    DemandText(session.GetUuidText(path.c_str()), sample_facts::kTextMd5, "GetUuidText after the file changed");
    core::Uuid uuid;
    session.GetUuid(path.c_str(), &uuid);
    DemandEqual(uuid.ToString(), UuidOf(sample_facts::kEmptyMd5).ToString(), "GetUuid after the file changed");
  });
}

void ReadsSequence(Subject& subject) {
  WithSession(subject, [&](IMediaUuid& session) {
    const std::string url = "files://" + subject.Sample(sample_names::kTexts);
    DemandText(session.GetUuidText(url.c_str()), sample_facts::kTextsMd5, "GetUuidText of a sequence");
    core::Uuid uuid;
    DemandEqual(session.GetUuid(url.c_str(), &uuid), true, "GetUuid of a sequence");
    DemandEqual(uuid.ToString(), UuidOf(sample_facts::kTextsMd5).ToString(), "the UUID of a sequence");
  });
}

void RefusesGaps(Subject& subject) {
  WithSession(subject, [&](IMediaUuid& session) {
    for (const char* name : {"part_[1-3].txt", "missing_[1-2].txt", ""}) {
      const std::string url = "files://" + subject.Sample(name);
      DemandText(session.GetUuidText(url.c_str()), "", "GetUuidText of a sequence with a gap");
      DemandNoUuid(session, url.c_str());
    }
  });
}

void ServesThreads(Subject& subject) {
  WithService(subject, kMediaUuidServiceName, [&](service::IService& service) {
    InThreads([&] {
      for (int i = 0; i < 20; ++i) {
        const OwnedSession session(service);
        const char* text = session.As<IMediaUuid>().GetUuidText(subject.Sample(sample_names::kText).c_str());
        DemandText(text, sample_facts::kTextMd5, "GetUuidText in a thread");
      }
    });
  });
}

void LeavesNoDescriptor(Subject& subject) {
  WithSession(subject, [&](IMediaUuid& session) {
    core::Uuid uuid;
    session.GetUuid(subject.Sample(sample_names::kText).c_str(), &uuid);
    const std::string before = process_state::Descriptors();
    for (const char* name : {sample_names::kText, sample_names::kEmpty, sample_names::kSubfolder}) {
      session.GetUuid(subject.Sample(name).c_str(), &uuid);
    }
    process_state::DemandSame(process_state::Descriptors(), before, "the list of open descriptors");
  });
}

constexpr std::array kChecks{
    Check{"uuid.interface", "sessions of the media UUID service have IMediaUuid", HasInterface},
    Check{"uuid.null", "a null URL has no UUID; outputs stay as they were", RefusesNull},
    Check{"uuid.null-output", "GetUuid without an output answers false", TakesNoOutput},
    Check{"uuid.empty", "an empty URL has no UUID", RefusesEmpty},
    Check{"uuid.missing", "nor has a file that is not there", RefusesMissing},
    Check{"uuid.folder", "a folder", RefusesFolder},
    Check{"uuid.device", "a device", RefusesDevice},
    Check{"uuid.protocols", "a URL of another protocol than file", RefusesProtocols},
    Check{"uuid.overlong", "a path of 100,000 characters", RefusesOverlong},
    Check{"uuid.invalid", "a path that is not UTF-8", RefusesInvalid},
    Check{"uuid.text", "the text of a file is the MD5 of its content", TellsText},
    Check{"uuid.empty-file", "and that of an empty file the MD5 of nothing", TellsEmptyFile},
    Check{"uuid.uuid", "GetUuid gives the same as a UUID", TellsUuid},
    Check{"uuid.lasting-text", "a text is the service's: one for a file, and it outlives its session",
          TextIsTheServices},
    Check{"uuid.computed-once", "texts are computed once, UUIDs each time", TextStaysUuidFollows},
    Check{"uuid.sequence", "a sequence is digested frame after frame", ReadsSequence},
    Check{"uuid.gaps", "a sequence with a gap has an empty text and no UUID", RefusesGaps},
    Check{"uuid.threads", "several threads are told the same", ServesThreads},
    Check{"uuid.descriptors", "no file stays open", LeavesNoDescriptor},
};

}  // namespace

std::span<const Check> UuidChecks() { return kChecks; }

}  // namespace module_check
