#include <atomic>
#include <barrier>
#include <future>
#include <set>
#include <thread>

#include "fakes/media_uuid_service.h"

namespace {

using fakes::host;
using service::ISession;
using service::mediauuid::IMediaUuid;

constexpr int kThreads = 8;

class MediaUuidConcurrencyTest : public fakes::MediaUuidServiceFixture {
 protected:
  /// Runs `work` in several threads that begin together, each with a session of its own.
  template <typename Work>
  void Run(Work work) {
    std::barrier start(kThreads);
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&, thread] {
        ISession* session = service_->CreateSession();
        start.arrive_and_wait();
        work(*dynamic_cast<IMediaUuid*>(session), thread);
        service_->DestroySession(session);
      });
    }
  }
};

TEST_F(MediaUuidConcurrencyTest, AllThreadsGetTheTextsOfTheirFiles) {
  constexpr int kFiles = 20;
  std::vector<std::string> files;
  for (int file = 0; file < kFiles; ++file) files.push_back(app().MakeFile("f" + std::to_string(file)));
  host().digest = [this](const std::string& path, char* buffer) {
    Note(path);
    std::strcpy(buffer, path.c_str() + path.rfind('/') + 1);
    return true;
  };
  Run([&](IMediaUuid& uuid, int thread) {
    for (int step = 0; step < 5 * kFiles; ++step) {
      const int file = (step + thread) % kFiles;
      EXPECT_STREQ(uuid.GetUuidText(files[static_cast<std::size_t>(file)].c_str()),
                   ("f" + std::to_string(file)).c_str());
    }
  });
  // Once each, and once more only by threads that missed at the same time.
  EXPECT_GE(digested_.size(), std::size_t{kFiles});
  EXPECT_LE(digested_.size(), std::size_t{kFiles} * kThreads);
}

TEST_F(MediaUuidConcurrencyTest, MissesAtTheSameTimeAreAllDigested) {
  std::barrier all_missed(kThreads);
  host().digest = [&](const std::string& path, char* buffer) {
    Note(path);
    // Would never return if one digest kept the others waiting.
    all_missed.arrive_and_wait();
    std::strcpy(buffer, fakes::kDigestText);
    return true;
  };
  std::mutex mutex;
  std::set<const char*> texts;
  Run([&](IMediaUuid& uuid, int) {
    const char* text = uuid.GetUuidText(file_.c_str());
    const std::lock_guard lock(mutex);
    texts.insert(text);
  });
  EXPECT_EQ(digested_.size(), std::size_t{kThreads});
  EXPECT_EQ(texts.size(), 1u);
  EXPECT_STREQ(*texts.begin(), fakes::kDigestText);
}

TEST_F(MediaUuidConcurrencyTest, ASlowDigestKeepsNobodyElseWaiting) {
  const std::string known = app().MakeFile("known.mp4");
  const std::string other = app().MakeFile("other.mp4");
  uuid_->GetUuidText(known.c_str());
  std::promise<void> digest_begun;
  std::promise<void> may_end;
  host().digest = [&](const std::string& path, char* buffer) {
    if (path == file_) {
      digest_begun.set_value();
      may_end.get_future().wait();
    }
    std::strcpy(buffer, fakes::kDigestText);
    return true;
  };
  std::jthread slow([&] {
    ISession* session = service_->CreateSession();
    EXPECT_STREQ(dynamic_cast<IMediaUuid*>(session)->GetUuidText(file_.c_str()), fakes::kDigestText);
    service_->DestroySession(session);
  });
  digest_begun.get_future().wait();
  EXPECT_STREQ(uuid_->GetUuidText(known.c_str()), fakes::kDigestText);
  EXPECT_STREQ(uuid_->GetUuidText(other.c_str()), fakes::kDigestText);
  may_end.set_value();
}

// The file changes between two digests that began together: the text written later stays, the one handed out first can
// still be read.
TEST_F(MediaUuidConcurrencyTest, ATextIsReadWhileAnotherTakesItsPlace) {
  std::atomic<int> calls = 0;
  std::barrier all_missed(kThreads);
  host().digest = [&](const std::string&, char* buffer) {
    const std::string digits(32, static_cast<char>('a' + calls++));
    all_missed.arrive_and_wait();
    std::strcpy(buffer, digits.c_str());
    return true;
  };
  Run([&](IMediaUuid& uuid, int) {
    const char* text = uuid.GetUuidText(file_.c_str());
    for (int step = 0; step < 1000; ++step) EXPECT_EQ(std::string(text), std::string(32, text[0]));
  });
  const std::string last = uuid_->GetUuidText(file_.c_str());
  EXPECT_EQ(last, std::string(32, last[0]));
  EXPECT_EQ(calls, kThreads);
}

TEST_F(MediaUuidConcurrencyTest, UuidsAreMadeInAllThreads) {
  Run([&](IMediaUuid& uuid, int) {
    core::Uuid value;
    EXPECT_TRUE(uuid.GetUuid(file_.c_str(), &value));
    EXPECT_EQ(value.ToString(), fakes::kDigestUuid);
    EXPECT_STREQ(uuid.GetUuidText("files://f_[1-9].png"), fakes::kDigestText);
  });
  EXPECT_EQ(digested_.size(), std::size_t{2 * kThreads});
}

}  // namespace
