// What an open session of the media file service tells.

#include <array>
#include <filesystem>
#include <fstream>
#include <vector>

#include "checks/areas.h"
#include "checks/known_session.h"
#include "mediainfo/imedia_file_info.h"
#include "mediainfo/metedata_keys.h"
#include "mediainfo/result.h"
#include "mediainfo/service_ids.h"
#include "sample_files.h"

namespace module_check {
namespace {

using namespace service::mediainfo;

constexpr std::uint32_t kLastIndex = 0xFFFF'FFFF;

void Open(const Subject& subject, IMediaFileInfo& session) {
  std::string url = subject.target().media_file;
  DemandEqual(session.SetURL(url.data()), kSuccess, "SetURL of the media file");
}

template <typename Task>
void WithOpenSession(const Subject& subject, Task task) {
  WithSessionOf<IMediaFileInfo>(subject, kMediaFileInfoServiceName, [&](IMediaFileInfo& session) {
    Open(subject, session);
    task(session);
  });
}

std::vector<IProgramInfo*> ProgramsOf(IMediaFileInfo& session) {
  std::vector<IProgramInfo*> programs;
  for (std::uint32_t i = 0; i < session.GetProgramCount(); ++i) {
    IProgramInfo* program = nullptr;
    DemandEqual(session.GetProgram(&program, i), kSuccess, "GetProgram");
    Demand(program != nullptr, "a program is null");
    programs.push_back(program);
  }
  return programs;
}

template <typename Task>
void ForEachProgram(const Subject& subject, Task task) {
  WithOpenSession(subject, [&](IMediaFileInfo& session) {
    for (IProgramInfo* program : ProgramsOf(session)) task(*program);
  });
}

using GetStream = std::uint32_t (IProgramInfo::*)(std::uint32_t index, IStreamInfo** out);

void AppendStreams(IProgramInfo& program, std::uint64_t count, GetStream get, std::vector<IStreamInfo*>& out) {
  for (std::uint32_t i = 0; i < count; ++i) {
    IStreamInfo* stream = nullptr;
    DemandEqual((program.*get)(i, &stream), kSuccess, "the answer for a stream");
    Demand(stream != nullptr, "a stream is null");
    out.push_back(stream);
  }
}

/// Runs `task` for each picture and sound stream.
template <typename Task>
void ForEachStream(const Subject& subject, Task task) {
  ForEachProgram(subject, [&](IProgramInfo& program) {
    std::vector<IStreamInfo*> streams;
    AppendStreams(program, program.GetVideoStreamCount(), &IProgramInfo::GetVideoStream, streams);
    AppendStreams(program, program.GetAudioStreamCount(), &IProgramInfo::GetAudioStream, streams);
    for (IStreamInfo* stream : streams) task(*stream);
  });
}

void Opens(Subject& subject) {
  WithOpenSession(subject, [](IMediaFileInfo&) {});
}

void HasFormat(Subject& subject) {
  WithOpenSession(subject, [](IMediaFileInfo& session) {
    const std::string name = session.GetFormatName();
    const std::string long_name = session.GetFormatLongName();
    Demand(!name.empty(), "GetFormatName is empty");
    Demand(!long_name.empty(), "GetFormatLongName is empty");
    Demand(session.GetFormatFourCC() != 0, "GetFormatFourCC is 0");
    DemandText(session.GetFormatName(), name, "a second GetFormatName");
  });
}

void HasFileSize(Subject& subject) {
  const auto size = std::filesystem::file_size(subject.target().media_file);
  WithOpenSession(subject, [&](IMediaFileInfo& session) { DemandEqual(session.GetFileSize(), size, "GetFileSize"); });
}

void HasDuration(Subject& subject) {
  if (!subject.target().media_file_is_ours) throw NotApplicable();
  WithOpenSession(subject, [](IMediaFileInfo& session) {
    DemandEqual(session.GetDuration(), sample_facts::kSoundDuration100ns, "GetDuration");
    DemandEqual(session.GetProgramCount(), 1U, "GetProgramCount");
    DemandEqual(ProgramsOf(session)[0]->GetDuration(), sample_facts::kSoundDuration100ns, "that of the program");
  });
}

void HasPrograms(Subject& subject) {
  WithOpenSession(subject, [](IMediaFileInfo& session) {
    const std::vector<IProgramInfo*> programs = ProgramsOf(session);
    Demand(!programs.empty(), "there is no program");
    Demand(ProgramsOf(session) == programs, "programs are other objects when they are asked for again");
  });
}

void ProgramsEnd(Subject& subject) {
  WithOpenSession(subject, [](IMediaFileInfo& session) {
    auto* program = reinterpret_cast<IProgramInfo*>(std::uintptr_t{kUntouched});
    for (const std::uint32_t index : {static_cast<std::uint32_t>(session.GetProgramCount()), kLastIndex}) {
      DemandEqual(session.GetProgram(&program, index), kIndexOutOfRange, "GetProgram past the end");
      DemandEqual(reinterpret_cast<std::uintptr_t>(program), std::uintptr_t{kUntouched}, "the program");
    }
  });
}

template <typename Stream>
void DemandEnd(IProgramInfo& program, std::uint64_t count,
               std::uint32_t (IProgramInfo::*get)(std::uint32_t index, Stream** out)) {
  auto* stream = reinterpret_cast<Stream*>(std::uintptr_t{kUntouched});
  for (const std::uint32_t index : {static_cast<std::uint32_t>(count), kLastIndex}) {
    DemandEqual((program.*get)(index, &stream), kIndexOutOfRange, "the answer for a stream past the end");
    DemandEqual(reinterpret_cast<std::uintptr_t>(stream), std::uintptr_t{kUntouched}, "the stream");
  }
}

void StreamsEnd(Subject& subject) {
  ForEachProgram(subject, [](IProgramInfo& program) {
    DemandEnd(program, program.GetVideoStreamCount(), &IProgramInfo::GetVideoStream);
    DemandEnd(program, program.GetAudioStreamCount(), &IProgramInfo::GetAudioStream);
    DemandEnd(program, program.GetSubPicStreamCount(), &IProgramInfo::GetSubPicStream);
  });
}

void StreamsHaveTheirKind(Subject& subject) {
  ForEachStream(subject, [](IStreamInfo& stream) {
    const bool is_picture = stream.GetMediaType() == kPictureStream;
    Demand(is_picture || stream.GetMediaType() == kSoundStream, "GetMediaType is neither 2 nor 3");
    DemandEqual(stream.GetVideoInfo() != nullptr, is_picture, "whether a stream has picture details");
    DemandEqual(stream.GetAudioInfo() != nullptr, !is_picture, "whether a stream has sound details");
  });
}

void StreamsHaveTexts(Subject& subject) {
  ForEachStream(subject, [](IStreamInfo& stream) {
    for (const auto get : {&IStreamInfo::GetTextA, &IStreamInfo::GetTextB, &IStreamInfo::GetTextC}) {
      const char* text = (stream.*get)();
      Demand(text != nullptr, "a text of a stream is null");
      const std::string copy = text;
      DemandText((stream.*get)(), copy, "the same text, asked again");
      DemandEqual(std::string_view(text), std::string_view(copy), "the text that was given first");
    }
  });
}

void StreamsHaveFixedAnswers(Subject& subject) {
  ForEachStream(subject, [](IStreamInfo& stream) {
    DemandEqual(stream.Reserved10(), 0U, "Reserved10");
    DemandEqual(stream.FixedValue14(), 2U, "FixedValue14");
    DemandEqual(stream.FixedValue15(), 2U, "FixedValue15");
    DemandEqual(stream.UnsupportedRequest16(), kIndexOutOfRange, "UnsupportedRequest16");
    DemandEqual(stream.UnsupportedRequest17(), kIndexOutOfRange, "UnsupportedRequest17");
    if (IAudioInfo* audio = stream.GetAudioInfo()) DemandEqual(audio->Reserved3(), 0U, "IAudioInfo::Reserved3");
  });
}

void StreamsHaveStores(Subject& subject) {
  ForEachStream(subject, [](IStreamInfo& stream) {
    const std::shared_ptr<IMetedataInfo> store = stream.GetMetadataInfo();
    Demand(store != nullptr, "a stream has no store");
    Demand(stream.GetMetadataInfo() == store, "a stream's store is another one when it is asked for again");
  });
}

void SoundHasDetails(Subject& subject) {
  if (!subject.target().media_file_is_ours) throw NotApplicable();
  int streams = 0;
  ForEachStream(subject, [&](IStreamInfo& stream) {
    ++streams;
    DemandEqual(stream.GetMediaType(), kSoundStream, "GetMediaType");
    IAudioInfo& audio = *stream.GetAudioInfo();
    DemandEqual(audio.GetAudioField0(), sample_facts::kSoundRateHz, "the sample rate");
    DemandEqual(audio.GetAudioField4(), sample_facts::kSoundChannels, "the number of channels");
    DemandEqual(audio.GetAudioValue(), sample_facts::kSoundRateHz + 1e-8, "the sample rate as a fraction");
    DemandEqual(audio.GetAudioFormatFlag(), 0U, "the mark of encryption");
  });
  DemandEqual(streams, 1, "the number of streams");
}

void PictureHasDetails(Subject& subject) {
  ForEachStream(subject, [](IStreamInfo& stream) {
    IVideoInfo* video = stream.GetVideoInfo();
    if (video == nullptr) return;
    core::Rational rate;
    DemandEqual(video->GetFrameRate(&rate), kSuccess, "GetFrameRate");
    Demand(rate.numerator > 0 && rate.denominator > 0, "the frame rate is not above 0");
    Demand(video->GetRotation() <= 3, "GetRotation is above 3");
    Demand(video->GetFlip() <= 3, "GetFlip is above 3");
  });
}

void StoreIsTheSessions(Subject& subject) {
  WithOpenSession(subject, [](IMediaFileInfo& session) {
    const std::shared_ptr<IMetedataInfo> store = session.GetMetadata();
    Demand(store != nullptr, "GetMetadata gives no store");
    Demand(session.GetMetadata() == store, "GetMetadata gives another store the second time");
  });
}

void StoreOutlivesAll(Subject& subject) {
  std::shared_ptr<IMetedataInfo> store;
  WithOpenSession(subject, [&](IMediaFileInfo& session) { store = session.GetMetadata(); });
  core::ValAny value;
  store->GetValue(service::mediainfo::metedata_keys::kTitle, &value);
  value = core::ValAny::FromInt32(5);
  Demand(store->SetValue("key", &value), "a store takes no value after its session is gone");
  store.reset();
}

void HasNoDates(Subject& subject) {
  if (!subject.target().media_file_is_ours) throw NotApplicable();
  WithOpenSession(subject, [](IMediaFileInfo& session) {
    std::int64_t creation = kUntouched;
    std::int64_t modification = kUntouched;
    DemandEqual(session.GetDates(&creation, &modification), false, "GetDates of a file without dates");
    DemandEqual(creation, kUntouched, "the date of creation");
    DemandEqual(modification, kUntouched, "the date of modification");
  });
}

void StreamTypeOfUnknown(Subject& subject) {
  WithOpenSession(subject, [](IMediaFileInfo& session) {
    std::int32_t type = 4711;
    DemandEqual(session.GetStreamType(kLastIndex, &type), kSuccess, "GetStreamType");
    DemandEqual(type, 4711, "the type of a stream that is not there");
  });
}

void CloneIsASession(Subject& subject) {
  WithService(subject, kMediaFileInfoServiceName, [&](service::IService& service) {
    IMediaFileInfo* clone = nullptr;
    {
      const OwnedSession session(service);
      auto& media = session.As<IMediaFileInfo>();
      Open(subject, media);
      DemandEqual(media.Clone(&clone), kSuccess, "Clone");
      Demand(clone != nullptr && clone != &media, "the clone is null or the session itself");
    }
    subject.At("a clone whose first session is gone");
    Demand(!std::string(clone->GetFormatName()).empty(), "the clone has no format name");
    Demand(!ProgramsOf(*clone).empty(), "the clone has no program");
    auto* session = dynamic_cast<service::ISession*>(clone);
    Demand(session != nullptr, "the clone is no session");
    DemandEqual(service.DestroySession(session), kSuccess, "DestroySession of the clone");
  });
}

void CloneKeepsMemory(Subject& subject) {
  WithService(subject, kMediaFileInfoServiceName, [&](service::IService& service) {
    const OwnedSession session(service);
    auto& media = session.As<IMediaFileInfo>();
    Open(subject, media);
    DemandSteadyMemory(100, [&] {
      IMediaFileInfo* clone = nullptr;
      DemandEqual(media.Clone(&clone), kSuccess, "Clone");
      service.DestroySession(dynamic_cast<service::ISession*>(clone));
    });
  });
}

void CloneNeedsTheFile(Subject& subject) {
  const std::string path = subject.Sample("passing.wav");
  std::filesystem::copy_file(subject.Sample(sample_names::kSound), path);
  WithSessionOf<IMediaFileInfo>(subject, kMediaFileInfoServiceName, [&](IMediaFileInfo& session) {
    std::string url = path;
    DemandEqual(session.SetURL(url.data()), kSuccess, "SetURL");
    std::filesystem::remove(path);
    auto* clone = reinterpret_cast<IMediaFileInfo*>(std::uintptr_t{kUntouched});
    DemandEqual(session.Clone(&clone), kNoOutput, "Clone after the file was removed");
    DemandEqual(reinterpret_cast<std::uintptr_t>(clone), std::uintptr_t{kUntouched}, "the clone");
    Demand(session.GetProgramCount() > 0, "the session lost its programs");
  });
}

void TellsTheSameInThreads(Subject& subject) {
  WithService(subject, kMediaFileInfoServiceName, [&](service::IService& service) {
    const auto tell = [&] {
      const OwnedSession session(service);
      auto& media = session.As<IMediaFileInfo>();
      Open(subject, media);
      return std::string(media.GetFormatName()) + " " + std::to_string(media.GetDuration()) + " " +
             std::to_string(media.GetBitRate()) + " " + std::to_string(media.GetProgramCount());
    };
    const std::string alone = tell();
    InThreads([&] {
      for (int i = 0; i < 10; ++i) DemandEqual(tell(), alone, "what is told in one of several threads");
    });
  });
}

/// Either answer is right for a piece of a file; a crash is not.
void TakesCutFiles(Subject& subject) {
  std::ifstream whole(subject.target().media_file, std::ios::binary);
  std::string content(4096, '\0');
  whole.read(content.data(), static_cast<std::streamsize>(content.size()));
  content.resize(static_cast<std::size_t>(whole.gcount()));
  const std::string path = subject.Sample("cut.wav");
  for (std::size_t length = 1; length < content.size(); length = length * 3 / 2 + 1) {
    std::ofstream(path, std::ios::binary).write(content.data(), static_cast<std::streamsize>(length));
    WithSessionOf<IMediaFileInfo>(subject, kMediaFileInfoServiceName, [&](IMediaFileInfo& session) {
      std::string url = path;
      const std::uint32_t answer = session.SetURL(url.data());
      Demand(answer == kSuccess || answer == kFailed, "SetURL of a piece of a file answers " + std::to_string(answer));
      session.GetMetadata();
    });
  }
}

constexpr std::array kChecks{
    Check{"media-file.open", "the media file is opened", Opens},
    Check{"media-file.format", "it has a container with a code, a name and a long name", HasFormat},
    Check{"media-file.size", "its size is told", HasFileSize},
    Check{"media-file.duration", "a sound of a second lasts 10,000,000 units", HasDuration},
    Check{"media-file.programs", "it has programs, the same objects at every call", HasPrograms},
    Check{"media-file.programs-end", "a program past the end answers 6 and writes nothing", ProgramsEnd},
    Check{"media-file.streams-end", "so does a stream of every kind", StreamsEnd},
    Check{"media-file.stream-kinds", "a stream has the details of its kind and no others", StreamsHaveTheirKind},
    Check{"media-file.stream-texts", "texts of a stream are not null and stay where they are", StreamsHaveTexts},
    Check{"media-file.stream-constants", "answers that are fixed are what they are", StreamsHaveFixedAnswers},
    Check{"media-file.stream-stores", "each stream has one store", StreamsHaveStores},
    Check{"media-file.sound", "a sound's rate and channels are told", SoundHasDetails},
    Check{"media-file.picture", "a picture stream's frame rate, rotation and flip are in range", PictureHasDetails},
    Check{"media-file.store", "the session has one store", StoreIsTheSessions},
    Check{"media-file.store-outlives", "which may outlive session and service", StoreOutlivesAll},
    Check{"media-file.no-dates", "GetDates of a file without dates answers false and writes nothing", HasNoDates},
    Check{"media-file.stream-type", "GetStreamType leaves its output alone for a stream that is not there",
          StreamTypeOfUnknown},
    Check{"media-file.clone", "a clone is a session that outlives the first and goes back to the service",
          CloneIsASession},
    Check{"media-file.clone-memory", "clones that come and go leave no memory behind", CloneKeepsMemory},
    Check{"media-file.clone-gone", "Clone of a file that is gone answers 4 and writes nothing", CloneNeedsTheFile},
    Check{"media-file.threads", "several threads are told the same as one", TellsTheSameInThreads},
    Check{"media-file.cut", "pieces of the file are opened or refused", TakesCutFiles},
};

}  // namespace

std::span<const Check> MediaFileChecks() { return kChecks; }

}  // namespace module_check
