// Many sessions in many threads on one service. Run under ThreadSanitizer these tests find races; without it, answers
// that differ from those of one thread alone.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "core/log.h"
#include "host.h"
#include "mediainfo/imedia_file_info.h"
#include "mediainfo/service_ids.h"
#include "mediauuid/imedia_uuid.h"
#include "output/json_formatter.h"
#include "probe/prober.h"
#include "probe/service_session.h"
#include "scratch_folder.h"

namespace mediaprobe {
namespace {

using service::mediainfo::IMediaFileInfo;

constexpr std::size_t kThreads = 8;
constexpr char kKey[] = "00112233445566778899aabbccddeeff";

/// Runs `work` in many threads at once, with the number of each.
template <typename Work>
void InThreads(Work work) {
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
}

/// Files of every kind that the services read, and some that they do not.
class SessionsRaceTest : public ::testing::Test {
 protected:
  SessionsRaceTest() {
    CoreLogSetLevel(kCoreLogOff);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(SAMPLE_FOLDER)) {
      if (entry.is_regular_file()) inputs_.push_back(entry.path());
    }
    inputs_.push_back(scratch_.AddFile("drawing.svg", "<svg width=\"20\" height=\"10\"></svg>"));
    inputs_.push_back(scratch_.AddFile("cut.svg", "<svg width=\"20\""));
    inputs_.push_back(scratch_.AddFile("noise.mp4", "neither one nor the other"));
    inputs_.push_back(scratch_.AddFile("empty.mp4", ""));
    inputs_.push_back(scratch_.path() + "/missing.mp4");
    std::filesystem::copy_file(SAMPLE_FOLDER "/pictures/generated.png", scratch_.path() + "/frame_1.png");
    std::filesystem::copy_file(SAMPLE_FOLDER "/pictures/generated.png", scratch_.path() + "/frame_2.png");
    inputs_.push_back(scratch_.path() + "/frame_[1-2].png");
  }

  static Prober MakeProber(const Host& host, const std::string& key) {
    return Prober([&host](const char* name) { return host.AcquireService(name); },
                  {.service = ServiceChoice::kAuto, .key = key, .wants_uuid = true});
  }

  testing::ScratchFolder scratch_;
  std::vector<std::string> inputs_;
};

TEST_F(SessionsRaceTest, AllAnswerAsOneAlone) {
  constexpr std::size_t kRounds = 3;
  const Host host(LIBRARY_FOLDER);
  ASSERT_TRUE(host.is_loaded());
  const NdjsonFormatter formatter;
  // Before any other probe: what is loaded and built on first use is part of the test.
  std::vector<std::map<std::string, std::vector<std::string>>> answers(kThreads);
  InThreads([&](std::size_t thread) {
    Prober prober = MakeProber(host, thread % 2 == 0 ? "" : kKey);
    for (std::size_t i = 0; i < kRounds * inputs_.size(); ++i) {
      const std::string& input = inputs_[(i + thread * 3) % inputs_.size()];
      answers[thread][input].push_back(formatter.Format(prober.Probe(input, nullptr)));
    }
  });

  Prober alone = MakeProber(host, "");
  for (const std::string& input : inputs_) {
    const std::string expected = formatter.Format(alone.Probe(input, nullptr));
    for (auto& of_thread : answers) {
      for (const std::string& answer : of_thread[input]) EXPECT_EQ(answer, expected);
    }
  }
}

TEST_F(SessionsRaceTest, HostsComeAndGo) {
  constexpr int kRounds = 20;
  std::atomic<int> answered = 0;
  InThreads([&](std::size_t thread) {
    for (int i = 0; i < kRounds; ++i) {
      // The services are the process's, and each host drops them at its end, while others still work with them.
      const Host host(LIBRARY_FOLDER);
      Prober prober = MakeProber(host, "");
      if (!prober.Probe(inputs_[thread % inputs_.size()], nullptr).input.empty()) ++answered;
    }
  });
  EXPECT_EQ(answered, static_cast<int>(kThreads) * kRounds);
}

TEST_F(SessionsRaceTest, ClonesAreReadAndGivenBackInOtherThreads) {
  const Host host(LIBRARY_FOLDER);
  const auto service = host.AcquireService(service::mediainfo::kMediaFileInfoServiceName);
  ASSERT_TRUE(service);
  const SessionPtr first = OpenSession(*service);
  auto* file = dynamic_cast<IMediaFileInfo*>(first.get());
  ASSERT_NE(file, nullptr);
  std::string url = SAMPLE_FOLDER "/upright.mp4";
  ASSERT_EQ(file->SetURL(url.data()), 0U);
  const std::uint64_t duration = file->GetDuration();
  ASSERT_GT(duration, 0U);

  for (int round = 0; round < 10; ++round) {
    std::vector<IMediaFileInfo*> clones(kThreads);
    for (IMediaFileInfo*& clone : clones) ASSERT_EQ(file->Clone(&clone), 0U);
    InThreads([&](std::size_t thread) {
      IMediaFileInfo* clone = clones[thread];
      service::mediainfo::IProgramInfo* program = nullptr;
      EXPECT_EQ(clone->GetProgram(&program, 0), 0U);
      EXPECT_EQ(clone->GetDuration(), duration);
      EXPECT_NE(clone->GetMetadata(), nullptr);
      EXPECT_EQ(service->DestroySession(dynamic_cast<service::ISession*>(clone)), 0U);
    });
  }
}

TEST_F(SessionsRaceTest, CachedUuidsStayWhereTheyAre) {
  constexpr int kRounds = 50;
  const Host host(LIBRARY_FOLDER);
  const auto service = host.AcquireService(service::mediainfo::kMediaUuidServiceName);
  ASSERT_TRUE(service);
  std::vector<std::string> files;
  for (int i = 0; i < 10; ++i) files.push_back(scratch_.AddFile("x" + std::to_string(i), std::to_string(i)));

  std::vector<std::vector<const char*>> texts(kThreads);
  InThreads([&](std::size_t thread) {
    for (int i = 0; i < kRounds; ++i) {
      const SessionPtr session = OpenSession(*service);
      auto* uuids = dynamic_cast<service::mediauuid::IMediaUuid*>(session.get());
      for (const std::string& file : files) texts[thread].push_back(uuids->GetUuidText(file.c_str()));
    }
  });
  for (const auto& of_thread : texts) {
    ASSERT_EQ(of_thread.size(), files.size() * kRounds);
    for (std::size_t i = 0; i < of_thread.size(); ++i) EXPECT_EQ(of_thread[i], texts[0][i % files.size()]);
  }
  EXPECT_STREQ(texts[0][1], "c4ca4238a0b923820dcc509a6f75849b");  // MD5 of "1"
}

}  // namespace
}  // namespace mediaprobe
