#include "worker/confinement.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "hostile_deeds.h"
#include "scratch_folder.h"
#include "worker/sandbox/file_access.h"
#include "worker/sandbox/system_call_filter.h"

namespace mediaprobe {
namespace {

using testing::HostileDeed;
using testing::HostileDeeds;
using testing::Scene;

constexpr char kCanary[] = "canary";
const Input kUrl{"https://example.invalid/a.mp4", false};

/// Whether the process can read a file, through the C++ library.
bool CanRead(const std::string& path) { return std::ifstream(path).get() != std::ifstream::traits_type::eof(); }

enum class End { kYes, kNo, kKilledByFilter, kOther };

/// What `ask` says in a process of its own, after `enter`.
End InChild(const std::function<bool()>& enter, const std::function<bool()>& ask) {
  constexpr int kYes = 20;
  constexpr int kNo = 21;
  constexpr int kNotEntered = 22;
  const pid_t child = fork();
  if (child == 0) _exit(!enter() ? kNotEntered : ask() ? kYes : kNo);
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGSYS) return End::kKilledByFilter;
  if (WIFEXITED(status) && WEXITSTATUS(status) == kYes) return End::kYes;
  if (WIFEXITED(status) && WEXITSTATUS(status) == kNo) return End::kNo;
  return End::kOther;
}

/// A process that does nothing until it is killed.
class Victim {
 public:
  Victim() : process_(fork()) {
    if (process_ != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    while (true) pause();
  }
  ~Victim() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  Victim(const Victim&) = delete;
  Victim& operator=(const Victim&) = delete;

  pid_t process() const { return process_; }
  bool is_alive() const { return waitpid(process_, nullptr, WNOHANG) == 0; }

 private:
  pid_t process_;
};

/// A folder with an input, and what that input has no business with.
struct Place {
  testing::ScratchFolder folder;
  std::string input = folder.AddFile("input.mp4");
  std::string canary = folder.AddFile("canary.mp4", kCanary);
  std::string other = folder.AddFile("scene/other");
  Victim victim;

  Place() { std::filesystem::create_directory(folder.path() + "/scene/empty"); }
  Scene scene() const { return {folder.path() + "/scene", canary, victim.process()}; }
  std::vector<std::string> Entries() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path())) {
      names.push_back(entry.path().filename());
    }
    return names;
  }
  std::string CanaryContent() const {
    std::ifstream file(canary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
};

struct Way {
  const char* name;
  Company company;
  bool is_url;
  bool reads_everything;
};
constexpr Way kWays[] = {{"Files", Company::kFiles, false, false},
                         {"NamesFromStandardInput", Company::kFiles, false, true},
                         {"Alone", Company::kAlone, false, false},
                         {"Network", Company::kNetwork, true, false},
                         {"NetworkAlone", Company::kAlone, true, false}};

class ConfinementWayTest : public ::testing::TestWithParam<Way> {
 protected:
  ConfinementWayTest() {
    // Processes for URLs keep them.
    unsetenv("SSL_CERT_FILE");
    unsetenv("SSL_CERT_DIR");
  }
  Confinement Make() const {
    Confinement::Settings settings;
    if (!GetParam().reads_everything) settings.places = {place_.input};
    return Confinement(settings);
  }
  bool Enter(const Confinement& confinement) const {
    return confinement.Enter(GetParam().is_url ? kUrl : Input{place_.input, false}, GetParam().company, {});
  }
  bool IsStopped(const HostileDeed& deed) const {
    if (!deed.file_rules_stop_it && !deed.call_rules_stop_it) return true;
    const std::string name = deed.name;
    if (GetParam().reads_everything && name == "read") return false;
    if (GetParam().is_url && (name == "socket" || name == "datagram")) return false;
    return (deed.file_rules_stop_it && sandbox::HasFileAccess()) ||
           (deed.call_rules_stop_it && sandbox::HasSystemCallFilter());
  }

  const Place place_;
};

TEST_P(ConfinementWayTest, StopsAHostileProcess) {
  const std::vector<std::string> before = place_.Entries();
  const Confinement confinement = Make();
  for (const HostileDeed& deed : HostileDeeds()) {
    if (!IsStopped(deed)) continue;
    const End end = InChild([&] { return Enter(confinement); }, [&] { return deed.succeeds(place_.scene()); });
    EXPECT_TRUE(end == End::kNo || end == End::kKilledByFilter) << deed.name << " ended with " << static_cast<int>(end);
    EXPECT_TRUE(place_.victim.is_alive()) << deed.name;
    EXPECT_EQ(place_.CanaryContent(), kCanary) << deed.name;
    EXPECT_THAT(place_.Entries(), ::testing::UnorderedElementsAreArray(before)) << deed.name;
  }
}

TEST_P(ConfinementWayTest, KillsWhoeverRunsAProgram) {
  if (!sandbox::HasSystemCallFilter()) return;
  const Confinement confinement = Make();
  for (const char* name : {"execve", "fork", "ptrace", "kill", "mount"}) {
    const auto deeds = HostileDeeds();
    const auto deed = std::ranges::find(deeds, std::string(name), &HostileDeed::name);
    ASSERT_NE(deed, deeds.end());
    EXPECT_EQ(InChild([&] { return Enter(confinement); }, [&] { return deed->succeeds(place_.scene()); }),
              End::kKilledByFilter)
        << name;
  }
}

TEST_P(ConfinementWayTest, LeavesTheInputReadable) {
  if (GetParam().is_url) return;
  EXPECT_EQ(InChild([&] { return Enter(Make()); }, [&] { return CanRead(place_.input); }), End::kYes);
}

TEST_P(ConfinementWayTest, LeavesThreadsMemoryAndTheEndToAbort) {
  EXPECT_EQ(InChild([&] { return Enter(Make()); },
                    [] {
                      int value = 0;
                      std::thread([&] { value = 7; }).join();
                      const std::vector<char> much(std::size_t{64} << 20, 'x');
                      return value == 7 && much.back() == 'x';
                    }),
            End::kYes);
  const pid_t child = fork();
  if (child == 0) {
    if (!Enter(Make())) _exit(1);
    signal(SIGABRT, SIG_DFL);
    std::abort();
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT);
}

TEST_P(ConfinementWayTest, ReachesOtherHostsForUrlsOnly) {
  if (!GetParam().is_url) return;
  EXPECT_EQ(InChild([&] { return Enter(Make()); }, [] { return socket(AF_INET, SOCK_STREAM, 0) >= 0; }), End::kYes);
}

INSTANTIATE_TEST_SUITE_P(, ConfinementWayTest, ::testing::ValuesIn(kWays),
                         [](const auto& way) { return std::string(way.param.name); });

class ConfinementTest : public ::testing::Test {
 protected:
  bool EnterAlone(const std::string& input, bool reads_all_frames = false) const {
    Confinement::Settings settings;
    settings.reads_all_frames = reads_all_frames;
    return Confinement(settings).Enter({input, false}, Company::kAlone, {});
  }
  End AskAlone(const std::string& input, const std::function<bool()>& ask, bool reads_all_frames = false) const {
    return InChild([&] { return EnterAlone(input, reads_all_frames); }, ask);
  }
  /// What to expect of a question whose answer is no where Landlock is there.
  static End NoWithFileRules() { return sandbox::HasFileAccess() ? End::kNo : End::kYes; }

  const testing::ScratchFolder folder_;
  const std::string input_ = folder_.AddFile("input.mp4");
  const std::string other_ = folder_.AddFile("other.mp4");
};

TEST_F(ConfinementTest, IsWhatStopsTheHostileDeeds) {
  // What would fail anyway proves nothing.
  for (const HostileDeed& deed : HostileDeeds()) {
    if (!deed.anyone_can) continue;
    const Place place;
    setenv("MEDIAPROBE_TEST_SECRET", "x", 1);
    const End end = InChild([] { return true; }, [&] { return deed.succeeds(place.scene()); });
    // A program that is run leaves with a status of its own.
    EXPECT_TRUE(end == End::kYes || (std::string(deed.name).starts_with("execve") && end == End::kOther)) << deed.name;
  }
}

TEST_F(ConfinementTest, ReadsBeneathTheNamedPlacesOnly) {
  const std::string below = folder_.AddFile("place/below/a.mp4");
  Confinement::Settings settings;
  settings.places = {folder_.path() + "/place", input_};
  const Confinement confinement(settings);
  const auto ask = [&](const std::string& path) {
    return InChild(
        [&] {
          return confinement.Enter({below, false}, Company::kFiles, {});
        },
        [&] { return CanRead(path); });
  };
  EXPECT_EQ(ask(below), End::kYes);
  EXPECT_EQ(ask(input_), End::kYes);
  EXPECT_EQ(ask(other_), NoWithFileRules());
  EXPECT_EQ(ask("/etc/passwd"), NoWithFileRules());
}

TEST_F(ConfinementTest, SeesTheInputAloneInAProcessOfItsOwn) {
  EXPECT_EQ(AskAlone(input_, [&] { return CanRead(input_); }), End::kYes);
  for (const char* path :
       {"/etc/passwd", "/etc/localtime", "/etc/ld.so.cache", "/proc/self/status", "/proc/self/maps"}) {
    if (!CanRead(path)) continue;
    EXPECT_EQ(AskAlone(input_, [&] { return CanRead(path); }), NoWithFileRules()) << path;
  }
}

TEST_F(ConfinementTest, FollowsALinkThatIsTheInput) {
  const std::string link = folder_.path() + "/link.mp4";
  std::filesystem::create_symlink(other_, link);
  EXPECT_EQ(AskAlone(link, [&] { return CanRead(link); }), End::kYes);
  EXPECT_EQ(AskAlone(link, [&] { return CanRead(input_); }), NoWithFileRules());
}

TEST_F(ConfinementTest, FindsAnExtensionInTheOtherCase) {
  EXPECT_EQ(AskAlone(folder_.path() + "/input.MP4", [&] { return CanRead(input_); }), End::kYes);
}

TEST_F(ConfinementTest, ReadsOfASequenceTheFirstFrameOrAll) {
  const std::string first = folder_.AddFile("f_1.png");
  const std::string second = folder_.AddFile("f_2.png");
  const std::string sequence = folder_.path() + "/f_[1-2].png";
  EXPECT_EQ(AskAlone(sequence, [&] { return CanRead(first); }), End::kYes);
  EXPECT_EQ(AskAlone(sequence, [&] { return CanRead(second); }), NoWithFileRules());
  EXPECT_EQ(AskAlone(
                sequence, [&] { return CanRead(second); }, /*reads_all_frames=*/true),
            End::kYes);
}

TEST_F(ConfinementTest, ReadsForUrlsWhatFindsHostsAndNoSecrets) {
  const auto ask = [&](const char* path) {
    return InChild([&] { return Confinement({}).Enter(kUrl, Company::kNetwork, {}); }, [&] { return CanRead(path); });
  };
  EXPECT_EQ(ask("/etc/hosts"), CanRead("/etc/hosts") ? End::kYes : End::kNo);
  EXPECT_EQ(ask("/etc/passwd"), NoWithFileRules());
  EXPECT_EQ(ask(input_.c_str()), NoWithFileRules());
}

TEST_F(ConfinementTest, ReadsForUrlsTheAuthoritiesThatTheUserNames) {
  const auto ask = [&](const char* variable, const std::string& value, const std::string& path) {
    const auto enter = [&] {
      setenv(variable, value.c_str(), 1);
      return Confinement({}).Enter(kUrl, Company::kNetwork, {});
    };
    return InChild(enter, [&] { return CanRead(path) && getenv(variable) == value; });
  };
  EXPECT_EQ(ask("SSL_CERT_FILE", input_, input_), End::kYes);
  EXPECT_EQ(ask("SSL_CERT_FILE", input_, other_), NoWithFileRules());
  EXPECT_EQ(ask("SSL_CERT_DIR", "/nowhere:" + folder_.path(), other_), End::kYes);
}

TEST_F(ConfinementTest, LeavesNoCoreNoRightsAndNoView) {
  const pid_t child = fork();
  if (child == 0) {
    EnterAlone(input_);
    std::this_thread::sleep_for(std::chrono::hours(1));
    _exit(0);
  }
  const std::string status_file = "/proc/" + std::to_string(child) + "/status";
  const auto status_has = [&](const std::string& line) {
    std::ifstream file(status_file);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return text.find(line) != std::string::npos;
  };
  const std::string last = sandbox::HasSystemCallFilter() ? "Seccomp:\t2" : "NoNewPrivs:\t1";
  const bool has_layers = sandbox::HasSystemCallFilter() || sandbox::HasFileAccess();
  for (int i = 0; has_layers && i < 6000 && !status_has(last); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_TRUE(!has_layers || status_has("NoNewPrivs:\t1"));
  EXPECT_TRUE(!has_layers || status_has(last));
  rlimit core{1, 1};
  EXPECT_EQ(prlimit(child, RLIMIT_CORE, nullptr, &core), 0);
  EXPECT_TRUE(!has_layers || (core.rlim_cur == 0 && core.rlim_max == 0));
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
}

TEST_F(ConfinementTest, EmptiesTheEnvironmentButForTheZone) {
  setenv("MEDIAPROBE_TEST_SECRET", "swordfish-in-the-environment", 1);
  setenv("TZ", "Asia/Tokyo", 1);
  const char* secret = std::getenv("MEDIAPROBE_TEST_SECRET");
  EXPECT_EQ(AskAlone(input_,
                     [&] {
                       return std::getenv("MEDIAPROBE_TEST_SECRET") == nullptr && std::getenv("PATH") == nullptr &&
                              std::getenv("TZ") == std::string("Asia/Tokyo") && *secret == '\0';
                     }),
            End::kYes);
  unsetenv("TZ");
  unsetenv("MEDIAPROBE_TEST_SECRET");
}

TEST_F(ConfinementTest, ClosesAllDescriptorsButThoseKept) {
  const int kept = open(other_.c_str(), O_RDONLY | O_CLOEXEC);
  const int closed = open(other_.c_str(), O_RDONLY | O_CLOEXEC);
  const auto enter = [&] {
    const int descriptors[] = {kept};
    return Confinement({}).Enter({input_, false}, Company::kAlone, descriptors);
  };
  const auto is_open = [](int descriptor) {
    char byte;
    return read(descriptor, &byte, 1) >= 0;
  };
  EXPECT_EQ(InChild(enter, [&] { return is_open(kept); }), End::kYes);
  EXPECT_EQ(InChild(enter, [&] { return is_open(closed); }), End::kNo);
  EXPECT_EQ(InChild(enter, [&] { return is_open(STDIN_FILENO); }), End::kYes) << "but leads nowhere";
  close(kept);
  close(closed);
}

#if !defined(MEDIAPROBE_SANITIZED)
TEST_F(ConfinementTest, LeavesStandardErrorToLogLinesAlone) {
  for (const bool tells : {false, true}) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const auto enter = [&] {
      Confinement::Settings settings;
      settings.tells_on_standard_error = tells;
      return dup2(ends[1], STDERR_FILENO) >= 0 && Confinement(settings).Enter({input_, false}, Company::kAlone, {});
    };
    EXPECT_EQ(InChild(enter, [] { return write(STDERR_FILENO, "line", 4) == 4; }), End::kYes);
    close(ends[1]);
    char line[4];
    EXPECT_EQ(read(ends[0], line, sizeof line), tells ? 4 : 0);
    close(ends[0]);
  }
}
#endif

TEST_F(ConfinementTest, GivesUpChangesAndReadsOn) {
  const auto ask = [&](const std::function<bool()>& question) {
    return InChild([] { return GiveUpChanges() == sandbox::HasFileAccess(); }, question);
  };
  EXPECT_EQ(ask([&] { return CanRead(other_); }), End::kYes);
  EXPECT_EQ(ask([&] { return std::ofstream(other_, std::ios::app).is_open(); }), NoWithFileRules());
  EXPECT_EQ(ask([&] { return std::ofstream(folder_.path() + "/new").is_open(); }), NoWithFileRules());
  EXPECT_EQ(ask([] { return open("/dev/null", O_RDWR) >= 0; }), End::kYes);
  EXPECT_EQ(ask([] { return execl("/bin/sh", "sh", "-c", "exit 20", nullptr) == 0; }), End::kYes) << "it starts over";
}

TEST_F(ConfinementTest, SaysThatAFileIsOutOfReach) {
  Confinement::Settings settings;
  settings.places = {input_};
  const Confinement confinement(settings);
  const auto ask = [&](const std::string& path, std::string_view reason = "empty file") {
    return InChild(
        [&] {
          return confinement.Enter({input_, false}, Company::kFiles, {});
        },
        [&] { return IsOutOfReach(path, reason); });
  };
  EXPECT_EQ(ask(other_), sandbox::HasFileAccess() ? End::kYes : End::kNo);
  EXPECT_EQ(ask(input_), End::kNo);
  EXPECT_EQ(ask(folder_.path() + "/absent.mp4"), End::kNo);
  EXPECT_EQ(ask(folder_.path() + "/absent.mp4", "no permission"), End::kYes) << "it was there a moment ago";
  EXPECT_EQ(ask(input_, "no permission"), End::kNo);
  EXPECT_EQ(ask(folder_.path()), End::kNo);
  EXPECT_EQ(ask("https://example.invalid/a.mp4"), End::kNo);
}

TEST_F(ConfinementTest, NamesTheLayersThatAreMissing) {
  const std::string missing = MissingLayers();
  EXPECT_EQ(missing.find("Landlock") == std::string::npos, sandbox::HasFileAccess());
  EXPECT_EQ(missing.find("seccomp") == std::string::npos, sandbox::HasSystemCallFilter());
}

}  // namespace
}  // namespace mediaprobe
