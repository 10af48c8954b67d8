#include "core/error_text.h"
#include "fakes/media_file_service.h"
#include "platform/text.h"

namespace {

using service::ISession;
using service::mediainfo::IMediaFileInfo;
using service::mediainfo::IProgramInfo;
using service::mediainfo::IStreamInfo;

constexpr char kSetUrl[] = "service::mediainfo::media_info::impl::MediaFileInfoSession::SetURL";

fakes::LogLine OpenFailedLine() { return {"mediainfo", 6, "%s %d failed!", std::string(kSetUrl) + " 250 failed!"}; }

class MediaFileInfoSessionTest : public fakes::MediaFileServiceFixture {
 protected:
  static std::u16string Wide(const std::string& text) { return {text.begin(), text.end()}; }
};

TEST_F(MediaFileInfoSessionTest, OpensAFileThroughTheMediaServer) {
  IMediaFileInfo& session = CreateSession();
  EXPECT_EQ(SetURL(session, "file:/" + file_), 0u);
  EXPECT_EQ(server_.paths, std::vector{Wide(file_)});
  EXPECT_EQ(session.GetProgramCount(), 1u);
  EXPECT_EQ(media_info_.references(), 1);
  EXPECT_EQ(programs_.references(), 0);
  EXPECT_EQ(program_.references(), 1);
  DestroySession();
  EXPECT_EQ(media_info_.references(), 0);
  EXPECT_EQ(program_.references(), 0);
}

TEST_F(MediaFileInfoSessionTest, GivesTheMediaServerThePathAsUtf16) {
  const std::string file = app().MakeFile("\xC3\xBC\xF0\x9F\x8E\xAC.mp4");
  IMediaFileInfo& session = CreateSession();
  EXPECT_EQ(SetURL(session, file), 0u);
  EXPECT_EQ(server_.paths, std::vector{Wide(app().path().string()) + u"/\u00FC\U0001F3AC.mp4"});
}

TEST_F(MediaFileInfoSessionTest, NamesAFileWhosePathIsNoText) {
  const std::string file = app().MakeFile("\xFF.mp4");
  IMediaFileInfo& session = CreateSession();
  EXPECT_EQ(SetURL(session, file), 0u);
  ASSERT_EQ(server_.paths.size(), 1u);
  EXPECT_EQ(platform::PathToUtf8(server_.paths[0]), file);
}

TEST_F(MediaFileInfoSessionTest, OpensANetworkUrlUnchecked) {
  IMediaFileInfo& session = CreateSession();
  EXPECT_EQ(SetURL(session, "https://host/a.mp4"), 0u);
  EXPECT_EQ(server_.paths, std::vector<std::u16string>{u"https://host/a.mp4"});
}

TEST_F(MediaFileInfoSessionTest, StaysOnItsFirstFile) {
  IMediaFileInfo& session = OpenSession();
  EXPECT_EQ(SetURL(session, "rtmp://elsewhere"), 0u);
  EXPECT_EQ(session.SetURL(nullptr), 0u);
  EXPECT_EQ(server_.paths.size(), 1u);
  EXPECT_EQ(session.GetProgramCount(), 1u);
  IMediaFileInfo* clone = nullptr;
  ASSERT_EQ(session.Clone(&clone), 0u);
  EXPECT_EQ(server_.paths.at(1), Wide(file_));
  service_->DestroySession(dynamic_cast<ISession*>(clone));
}

TEST_F(MediaFileInfoSessionTest, RefusesANullUrl) {
  EXPECT_EQ(CreateSession().SetURL(nullptr), 1u);
  EXPECT_EQ(fakes::TakeLog(),
            (std::vector<fakes::LogLine>{{"MediaFileInfoSession", 6, "SetURL Is Empty %s %d failed!",
                                          "SetURL Is Empty " + std::string(kSetUrl) + " 218 failed!"}}));
}

TEST_F(MediaFileInfoSessionTest, RefusesAnInvalidUrlWithTheLineOfTheValidation) {
  EXPECT_EQ(SetURL(CreateSession(), "rtmp://host/a"), 1u);
  const std::vector<fakes::LogLine> lines = fakes::TakeLog();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].text, "kErrorProtocol: service::mediainfo::IsValidPath  rtmp://host/a 92 failed!");
  EXPECT_TRUE(server_.paths.empty());
  EXPECT_STREQ(CoreErrorText(), "unknown protocol");
}

TEST_F(MediaFileInfoSessionTest, ChangesTheCaseOfTheExtensionInTheCallersBuffer) {
  std::string url = app().path().string() + "/clip.MP4";
  EXPECT_EQ(CreateSession().SetURL(url.data()), 0u);
  EXPECT_EQ(url, file_);
  EXPECT_EQ(server_.paths, std::vector{Wide(file_)});
}

TEST_F(MediaFileInfoSessionTest, LogsTwiceWhenTheMediaServerFails) {
  server_.media_info = nullptr;
  EXPECT_EQ(SetURL(CreateSession(), file_), 1u);
  EXPECT_EQ(fakes::TakeLog(),
            (std::vector<fakes::LogLine>{{"media server", 6, "GetMediaInfo %s(%s) %dfailed!",
                                          "GetMediaInfo " + std::string(kSetUrl) + "(" + file_ + ") 229failed!"},
                                         OpenFailedLine()}));
}

TEST_F(MediaFileInfoSessionTest, GoesOnWithWhatAFailingMediaServerGives) {
  server_.result = 0;
  EXPECT_EQ(SetURL(CreateSession(), file_), 0u);
  const std::vector<fakes::LogLine> lines = fakes::TakeLog();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].tag, "media server");
}

TEST_F(MediaFileInfoSessionTest, TakesAnyResultButZeroAsSuccess) {
  server_.result = -1;
  EXPECT_EQ(SetURL(CreateSession(), file_), 0u);
}

TEST_F(MediaFileInfoSessionTest, FailsOnSuccessWithoutAnObject) {
  server_.media_info = nullptr;
  server_.result = 1;
  EXPECT_EQ(SetURL(CreateSession(), file_), 1u);
  EXPECT_EQ(fakes::TakeLog(), std::vector{OpenFailedLine()});
}

TEST_F(MediaFileInfoSessionTest, TakesAnotherUrlAfterAFailure) {
  IMediaFileInfo& session = CreateSession();
  media_info_.programs_status = platform::kFail;
  EXPECT_EQ(SetURL(session, file_), 1u);
  fakes::TakeLog();
  EXPECT_EQ(media_info_.references(), 0);
  media_info_.programs_status = platform::kOk;
  EXPECT_EQ(SetURL(session, file_), 0u);
  EXPECT_EQ(session.GetProgramCount(), 1u);
}

TEST_F(MediaFileInfoSessionTest, FailsWhenTheProgramsCannotBeHad) {
  media_info_.programs_status = platform::kFail;
  EXPECT_EQ(SetURL(CreateSession(), file_), 1u);
  EXPECT_EQ(fakes::TakeLog(), std::vector{OpenFailedLine()});
  media_info_.programs_status = platform::kOk;
  media_info_.programs = nullptr;
  EXPECT_EQ(SetURL(*dynamic_cast<IMediaFileInfo*>(session_), file_), 1u);
  EXPECT_EQ(fakes::TakeLog(), std::vector{OpenFailedLine()});
}

TEST_F(MediaFileInfoSessionTest, TakesStatusesThatAreNotNegativeAsSuccess) {
  media_info_.programs_status = 1;
  programs_.status = 1;
  EXPECT_EQ(OpenSession().GetProgramCount(), 1u);
}

TEST_F(MediaFileInfoSessionTest, FailsOnAProgramThatComesWithAFailure) {
  programs_.status = platform::kFail;
  EXPECT_EQ(SetURL(CreateSession(), file_), 1u);
  EXPECT_EQ(program_.references(), 0);
  EXPECT_EQ(fakes::TakeLog(), std::vector{OpenFailedLine()});
}

TEST_F(MediaFileInfoSessionTest, KeepsTextsWhateverTheStatus) {
  media_info_.format_name = u"mp4";
  media_info_.text_status = platform::kFail;
  EXPECT_STREQ(OpenSession().GetFormatName(), "mp4");
}

TEST_F(MediaFileInfoSessionTest, OpensAFileWithoutPrograms) {
  programs_.items.clear();
  EXPECT_EQ(OpenSession().GetProgramCount(), 0u);
}

TEST_F(MediaFileInfoSessionTest, TakesANegativeCountAsNoPrograms) {
  programs_.on_count = [] { return -1; };
  EXPECT_EQ(OpenSession().GetProgramCount(), 0u);
}

TEST_F(MediaFileInfoSessionTest, KeepsTheProgramsInOrder) {
  fakes::Program second;
  program_.number = 1;
  second.number = 2;
  programs_.items = {&program_, &second};
  IMediaFileInfo& session = OpenSession();
  EXPECT_EQ(session.GetProgramCount(), 2u);
  for (std::uint32_t index : {0u, 1u}) {
    IProgramInfo* program = nullptr;
    ASSERT_EQ(session.GetProgram(&program, index), 0u);
    EXPECT_EQ(program->GetProgramValue4(), index + 1);
  }
  DestroySession();
}

TEST_F(MediaFileInfoSessionTest, AsksForTheCountAfterEveryProgram) {
  programs_.items = {&program_, &program_, &program_};
  programs_.on_count = [asked = 0]() mutable { return asked++ < 1 ? 3 : 1; };
  EXPECT_EQ(OpenSession().GetProgramCount(), 1u);
}

TEST_F(MediaFileInfoSessionTest, DropsAllProgramsWhenOneCannotBeHad) {
  programs_.items = {&program_, &program_};
  programs_.failing_index = 1;
  IMediaFileInfo& session = CreateSession();
  EXPECT_EQ(SetURL(session, file_), 1u);
  EXPECT_EQ(session.GetProgramCount(), 0u);
  EXPECT_EQ(program_.references(), 0);
  EXPECT_EQ(programs_.references(), 0);
  EXPECT_EQ(fakes::TakeLog(), std::vector{OpenFailedLine()});
}

TEST_F(MediaFileInfoSessionTest, FailsOnANullProgram) {
  programs_.items = {&program_, nullptr};
  EXPECT_EQ(SetURL(CreateSession(), file_), 1u);
  EXPECT_EQ(program_.references(), 0);
  EXPECT_EQ(fakes::TakeLog(), std::vector{OpenFailedLine()});
}

TEST_F(MediaFileInfoSessionTest, DropsAllProgramsWhenOneCannotBeDescribed) {
  fakes::Program failing;
  fakes::List<media_server::IStream> failing_list{nullptr};
  failing.audio = &failing_list;
  programs_.items = {&program_, &failing};
  IMediaFileInfo& session = CreateSession();
  EXPECT_EQ(SetURL(session, file_), 1u);
  EXPECT_EQ(session.GetProgramCount(), 0u);
  EXPECT_EQ(program_.references(), 0);
  EXPECT_EQ(fakes::TakeLog(),
            (std::vector<fakes::LogLine>{
                {"mediainfo", 5, "Init ProgramInfoImpl: %s %d failed!",
                 "Init ProgramInfoImpl: service::mediainfo::media_info::impl::MediaFileInfoSession::Init 301 failed!"},
                OpenFailedLine()}));
}

TEST_F(MediaFileInfoSessionTest, ReadsTheTextsOnceAndInOrder) {
  media_info_.format_name = u"mp4";
  media_info_.format_long_name = u"QuickTime / MOV \u00FC";
  IMediaFileInfo& session = OpenSession();
  EXPECT_STREQ(session.GetFormatName(), "mp4");
  EXPECT_STREQ(session.GetFormatLongName(), "QuickTime / MOV \xC3\xBC");
  EXPECT_EQ(media_info_.asked, (std::vector<std::string>{"long name", "name", "date"}));
}

TEST_F(MediaFileInfoSessionTest, GivesProgramsBackWhenAllElseIsDone) {
  std::vector<std::string>& calls = media_info_.asked;
  programs_.items = {&program_, &program_};
  media_info_.TraceIn(calls, "file");
  programs_.TraceIn(calls, "list");
  program_.TraceIn(calls, "program");
  OpenSession();
  EXPECT_EQ(calls, (std::vector<std::string>{"file +", "list +",                     //
                                             "program +", "program +",               // handed out, and kept
                                             "program -", "program +", "program +",  // the second
                                             "long name", "name", "date",            //
                                             "file +", "program -", "list -", "file -"}));
}

TEST_F(MediaFileInfoSessionTest, DropsProgramsBeforeItGivesTheListBack) {
  std::vector<std::string> calls;
  programs_.items = {&program_, nullptr};
  programs_.TraceIn(calls, "list");
  program_.TraceIn(calls, "program");
  EXPECT_EQ(SetURL(CreateSession(), file_), 1u);
  EXPECT_EQ(calls, (std::vector<std::string>{"list +", "program +", "program +", "program -", "program -", "list -"}));
  fakes::TakeLog();
}

TEST_F(MediaFileInfoSessionTest, HasEmptyTextsWhereTheFileTellsNone) {
  IMediaFileInfo& session = CreateSession();
  EXPECT_STREQ(session.GetFormatName(), "");
  EXPECT_STREQ(session.GetFormatLongName(), "");
  EXPECT_EQ(SetURL(session, file_), 0u);
  EXPECT_STREQ(session.GetFormatName(), "");
  EXPECT_STREQ(session.GetFormatLongName(), "");
}

class CodecComponentTest : public MediaFileInfoSessionTest {
 protected:
  struct Request {
    platform::Guid class_id;
    void* outer;
    std::uint32_t context;
    platform::Guid interface_id;
  };

  void SetUp() override {
    MediaFileInfoSessionTest::SetUp();
    component_.media_info = &media_info_;
    component_given = &component_;
    requests.clear();
    status = platform::kOk;
    fakes::host().create_instance = CreateInstance;
    service_ = descriptor(0).create();
  }
  void LoadSupportLibraries() {
    InstallSupportLibrary(FAKE_COM_SUPPORT, "COMSupport.dll");
    fakes::Config config;
    config.values = {{"SetAppPath", app().path().string()}};
    descriptor(0).init(&config);
  }
  void ExpectNoComponentLine(const std::string& end) {
    const std::vector<fakes::LogLine> lines = fakes::TakeLog();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].tag, "mediainfo");
    EXPECT_EQ(lines[0].level, 6);
    EXPECT_EQ(lines[0].format, "%s(%s) %d failed!(%p,0x%x)");
    EXPECT_TRUE(lines[0].text.starts_with(std::string(kSetUrl) + "(" + file_ + ") 236 failed!(")) << lines[0].text;
    EXPECT_TRUE(lines[0].text.ends_with(end)) << lines[0].text;
  }
  void ExpectFailedOpenLine() {
    EXPECT_EQ(fakes::TakeLog(), (std::vector<fakes::LogLine>{{"mediainfo", 6, "%s(%s) %d failed!",
                                                              std::string(kSetUrl) + "(" + file_ + ") 243 failed!"}}));
  }

  static std::int32_t CreateInstance(const platform::Guid& class_id, void* outer, std::uint32_t context,
                                     const platform::Guid& interface_id, void** out) {
    requests.push_back({class_id, outer, context, interface_id});
    *out = component_given;
    if (component_given != nullptr) component_given->AddRef();
    return status;
  }

  static inline media_server::ICodecComponent* component_given = nullptr;
  static inline std::int32_t status = platform::kOk;
  static inline std::vector<Request> requests;

  fakes::CodecComponent component_;
};

TEST_F(CodecComponentTest, OpensTheFileWhenThereIsNoMediaServer) {
  LoadSupportLibraries();
  IMediaFileInfo& session = OpenSession();
  EXPECT_EQ(session.GetProgramCount(), 1u);
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].class_id,
            (platform::Guid{0xE71EAD89, 0x1CCD, 0x4C34, {0x97, 0xA8, 0x7D, 0x45, 0xB5, 0xF1, 0x66, 0x13}}));
  EXPECT_EQ(requests[0].outer, nullptr);
  EXPECT_EQ(requests[0].context, 0u);
  EXPECT_EQ(requests[0].interface_id,
            (platform::Guid{0x5AD2BE35, 0x3038, 0x4C6A, {0x8C, 0x7F, 0x36, 0x98, 0x52, 0x6A, 0x89, 0x8F}}));
  EXPECT_EQ(component_.calls, (std::vector<fakes::CodecComponent::Call>{{Wide(file_), 0, 12}}));
  EXPECT_EQ(component_.references(), 0);
  EXPECT_EQ(media_info_.references(), 1);
}

TEST_F(CodecComponentTest, TakesStatusesThatAreNotNegativeAsSuccess) {
  LoadSupportLibraries();
  status = 1;
  component_.status = 1;
  EXPECT_EQ(OpenSession().GetProgramCount(), 1u);
}

TEST_F(CodecComponentTest, IsGivenAPathThatIsNoText) {
  LoadSupportLibraries();
  const std::string file = app().MakeFile("\xFF.mp4");
  EXPECT_EQ(SetURL(CreateSession(), file), 0u);
  ASSERT_EQ(component_.calls.size(), 1u);
  EXPECT_EQ(platform::PathToUtf8(component_.calls[0].path), file);
}

TEST_F(CodecComponentTest, IsNotAskedWhenThereIsAMediaServer) {
  LoadSupportLibraries();
  descriptor(0).release(service_);
  CreateService();
  OpenSession();
  EXPECT_TRUE(requests.empty());
}

TEST_F(CodecComponentTest, IsMissingWithoutItsLibrary) {
  EXPECT_EQ(SetURL(CreateSession(), file_), 1u);
  ExpectNoComponentLine("(nil),0x80004005)");
}

TEST_F(CodecComponentTest, MayFailToBeMade) {
  LoadSupportLibraries();
  component_given = nullptr;
  status = platform::kClassNotRegistered;
  EXPECT_EQ(SetURL(CreateSession(), file_), 1u);
  ExpectNoComponentLine(",0x80040154)");
}

TEST_F(CodecComponentTest, IsGivenUpWhenItComesWithAFailure) {
  LoadSupportLibraries();
  status = platform::kClassNotRegistered;
  EXPECT_EQ(SetURL(CreateSession(), file_), 1u);
  ExpectNoComponentLine(",0x80040154)");
  EXPECT_TRUE(component_.calls.empty());
  EXPECT_EQ(component_.references(), 0);
}

TEST_F(CodecComponentTest, MayBeNull) {
  LoadSupportLibraries();
  component_given = nullptr;
  EXPECT_EQ(SetURL(CreateSession(), file_), 1u);
  ExpectNoComponentLine(",0x0)");
}

TEST_F(CodecComponentTest, MayFailToOpenTheFile) {
  LoadSupportLibraries();
  component_.media_info = nullptr;
  component_.status = platform::kFail;
  EXPECT_EQ(SetURL(CreateSession(), file_), 1u);
  ExpectFailedOpenLine();
  EXPECT_EQ(component_.references(), 0);
}

TEST_F(CodecComponentTest, MayGiveNoMediaInfo) {
  LoadSupportLibraries();
  component_.media_info = nullptr;
  EXPECT_EQ(SetURL(CreateSession(), file_), 1u);
  ExpectFailedOpenLine();
}

TEST_F(CodecComponentTest, ReleasesAMediaInfoThatComesWithAFailure) {
  LoadSupportLibraries();
  component_.status = platform::kFail;
  EXPECT_EQ(SetURL(CreateSession(), file_), 1u);
  ExpectFailedOpenLine();
  EXPECT_EQ(media_info_.references(), 0);
}

TEST_F(CodecComponentTest, MayGiveAMediaInfoThatFails) {
  LoadSupportLibraries();
  media_info_.programs_status = platform::kFail;
  IMediaFileInfo& session = CreateSession();
  EXPECT_EQ(SetURL(session, file_), 1u);
  EXPECT_EQ(fakes::TakeLog(), std::vector{OpenFailedLine()});
  EXPECT_EQ(component_.references(), 0);
  media_info_.programs_status = platform::kOk;
  EXPECT_EQ(SetURL(session, file_), 0u);
  EXPECT_EQ(session.GetProgramCount(), 1u);
}

TEST_F(MediaFileInfoSessionTest, ForwardsTheFilesValues) {
  media_info_.four_cc = 0x2034504D;
  media_info_.bit_rate = 5'000'000'000;
  media_info_.file_size = 10'000'000'000;
  media_info_.duration = 2.5;
  IMediaFileInfo& session = OpenSession();
  EXPECT_EQ(session.GetFormatFourCC(), 0x2034504Du);
  EXPECT_EQ(session.GetBitRate(), 5'000'000'000u);
  EXPECT_EQ(session.GetFileSize(), 10'000'000'000u);
  EXPECT_EQ(session.GetDuration(), 25'000'000u);
}

TEST_F(MediaFileInfoSessionTest, LendsProgramsByIndex) {
  IMediaFileInfo& session = OpenSession();
  IProgramInfo* program = nullptr;
  EXPECT_EQ(session.GetProgram(&program, 0), 0u);
  ASSERT_NE(program, nullptr);
  IStreamInfo* stream = nullptr;
  EXPECT_EQ(program->GetVideoStream(0, &stream), 0u);
  EXPECT_EQ(stream->GetVideoInfo()->GetWidth(), 640u);

  auto* const untouched = program;
  EXPECT_EQ(session.GetProgram(&program, 1), 6u);
  EXPECT_EQ(session.GetProgram(&program, 0xFFFFFFFF), 6u);
  EXPECT_EQ(program, untouched);
}

TEST_F(MediaFileInfoSessionTest, LooksAtTheIndexBeforeTheOutput) {
  IMediaFileInfo& session = OpenSession();
  EXPECT_EQ(session.GetProgram(nullptr, 1), 6u);
  EXPECT_EQ(session.GetProgram(nullptr, 0), 4u);
}

TEST_F(MediaFileInfoSessionTest, HasNoProgramsBeforeItIsOpened) {
  IMediaFileInfo& session = CreateSession();
  IProgramInfo* program = nullptr;
  EXPECT_EQ(session.GetProgramCount(), 0u);
  EXPECT_EQ(session.GetProgram(&program, 0), 6u);
}

TEST_F(MediaFileInfoSessionTest, TakesAnyKeepFlag) {
  IMediaFileInfo& session = CreateSession();
  session.ClearKeepFlag(0);
  session.ClearKeepFlag(1);
}

TEST_F(MediaFileInfoSessionTest, ClonesItselfOnTheSameFile) {
  IMediaFileInfo& session = OpenSession();
  IMediaFileInfo* clone = nullptr;
  ASSERT_EQ(session.Clone(&clone), 0u);
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(clone->GetProgramCount(), 1u);
  EXPECT_EQ(server_.paths.size(), 2u);
  EXPECT_EQ(media_info_.references(), 2);
  EXPECT_EQ(service_->DestroySession(dynamic_cast<ISession*>(clone)), 0u);
  EXPECT_EQ(media_info_.references(), 1);
}

// The path behind "file:/" would be taken for a URL of another protocol.
TEST_F(MediaFileInfoSessionTest, ClonesByItsUrl) {
  std::filesystem::create_directory(app().path() / "c:");
  const std::string file = app().MakeFile("c:/clip.mp4");
  IMediaFileInfo& session = CreateSession();
  ASSERT_EQ(SetURL(session, "file:/" + file), 0u);
  IMediaFileInfo* clone = nullptr;
  EXPECT_EQ(session.Clone(&clone), 0u);
  EXPECT_EQ(server_.paths, (std::vector{Wide(file), Wide(file)}));
  service_->DestroySession(dynamic_cast<ISession*>(clone));
}

TEST_F(MediaFileInfoSessionTest, RefusesToCloneIntoNull) { EXPECT_EQ(OpenSession().Clone(nullptr), 4u); }

TEST_F(MediaFileInfoSessionTest, FailsToCloneAFileThatIsGone) {
  IMediaFileInfo& session = OpenSession();
  std::filesystem::remove(file_);
  auto* const untouched = &session;
  IMediaFileInfo* clone = untouched;
  EXPECT_EQ(session.Clone(&clone), 4u);
  EXPECT_EQ(clone, untouched);
  EXPECT_EQ(media_info_.references(), 1);
  EXPECT_EQ(fakes::TakeLog().size(), 1u);
}

TEST_F(MediaFileInfoSessionTest, FailsToCloneBeforeItIsOpened) {
  IMediaFileInfo* clone = nullptr;
  EXPECT_EQ(CreateSession().Clone(&clone), 4u);
  EXPECT_EQ(fakes::TakeLog().size(), 1u);
}

}  // namespace
