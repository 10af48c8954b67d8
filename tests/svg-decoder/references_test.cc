// What a drawing refers to outside itself is neither measured nor rendered, and not even opened.

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <array>
#include <atomic>
#include <thread>

#include "module.h"
#include "picture.h"

namespace {

/// A pipe that tells whether somebody opened it to read.
class WatchedPipe {
 public:
  explicit WatchedPipe(std::string path) : path_(std::move(path)) {
    EXPECT_EQ(mkfifo(path_.c_str(), 0600), 0);
    watcher_ = std::thread([this] { Watch(); });
  }
  WatchedPipe(const WatchedPipe&) = delete;
  WatchedPipe& operator=(const WatchedPipe&) = delete;
  ~WatchedPipe() {
    is_done_ = true;
    watcher_.join();
  }

  const std::string& path() const { return path_; }
  bool WasOpened() {
    // Long enough for the watcher to look once more.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return was_opened_;
  }

 private:
  /// The other end opens only while there is a reader; closing it again lets the reader go on.
  void Watch() {
    while (!is_done_) {
      const int end = open(path_.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
      if (end >= 0) {
        was_opened_ = true;
        close(end);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  std::string path_;
  std::atomic<bool> is_done_ = false;
  std::atomic<bool> was_opened_ = false;
  std::thread watcher_;
};

/// A port of this machine that tells whether somebody connected.
class WatchedPort {
 public:
  WatchedPort() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(bind(socket_, generic, size), 0);
    EXPECT_EQ(listen(socket_, 1), 0);
    EXPECT_EQ(getsockname(socket_, generic, &size), 0);
    port_ = ntohs(address.sin_port);
  }
  WatchedPort(const WatchedPort&) = delete;
  WatchedPort& operator=(const WatchedPort&) = delete;
  ~WatchedPort() { close(socket_); }

  std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/canary.png"; }
  bool WasConnected() const {
    pollfd waiting{socket_, POLLIN, 0};
    return poll(&waiting, 1, /*timeout=*/20) > 0;
  }

 private:
  int socket_;
  int port_ = 0;
};

/// A drawing that refers to "@", in each way there is; the picture's middle would show it.
constexpr std::array kDrawings{
    R"svg(<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" width="10" height="10">
       <image xlink:href="@" width="10" height="10"/></svg>)svg",
    R"svg(<svg xmlns="http://www.w3.org/2000/svg" width="10" height="10"><image href="@" width="10" height="10"/></svg>)svg",
    R"svg(<svg xmlns="http://www.w3.org/2000/svg" width="10" height="10"><use href="@#a"/></svg>)svg",
    R"svg(<svg xmlns="http://www.w3.org/2000/svg" width="10" height="10">
       <filter id="f"><feImage href="@"/></filter><rect width="10" height="10" filter="url(#f)"/></svg>)svg",
    R"svg(<svg xmlns="http://www.w3.org/2000/svg" width="10" height="10">
       <rect width="10" height="10" fill="none" filter="url(@#f)" mask="url(@#m)"/></svg>)svg",
    R"svg(<svg xmlns="http://www.w3.org/2000/svg" width="10" height="10">
       <style>@import url("@");</style><rect width="10" height="10" fill="none"/></svg>)svg",
    R"svg(<?xml-stylesheet type="text/css" href="@"?>
       <svg xmlns="http://www.w3.org/2000/svg" width="10" height="10"><rect width="10" height="10" fill="none"/></svg>)svg",
    R"svg(<svg xmlns="http://www.w3.org/2000/svg" xmlns:xi="http://www.w3.org/2001/XInclude" width="10" height="10">
       <xi:include href="@"/></svg>)svg",
    R"svg(<svg xmlns="http://www.w3.org/2000/svg" xmlns:xi="http://www.w3.org/2001/XInclude" width="10" height="10">
       <text y="9" font-size="20"><xi:include href="@" parse="text"/></text></svg>)svg",
    R"svg(<!DOCTYPE svg [<!ENTITY canary SYSTEM "@">]>
       <svg xmlns="http://www.w3.org/2000/svg" width="10" height="10"><text y="9" font-size="20">&canary;</text></svg>)svg",
    R"svg(<!DOCTYPE svg [<!ENTITY % canary SYSTEM "@"> %canary;]>
       <svg xmlns="http://www.w3.org/2000/svg" width="10" height="10"/>)svg",
    R"svg(<!DOCTYPE svg SYSTEM "@"><svg xmlns="http://www.w3.org/2000/svg" width="10" height="10"/>)svg",
};

class ReferencesTest : public ModuleFixture {
 protected:
  static std::string Drawing(std::string text, const std::string& reference) {
    // The sign of the style sheet rule is no place for a reference.
    const std::string rule = "@import";
    std::size_t from = 0;
    while ((from = text.find('@', from)) != std::string::npos) {
      if (text.compare(from, rule.size(), rule) == 0) {
        from += rule.size();
        continue;
      }
      text.replace(from, 1, reference);
      from += reference.size();
    }
    return text;
  }

  /// Measures and renders; a drawing that cannot be rendered is in order too.
  void ExpectNothingShown(const std::string& drawing) {
    const auto session = Load(drawing, "drawing.svg");
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    EXPECT_EQ(session->GetSize(&width, &height), 0u);
    EXPECT_EQ(width, 10u);
    const std::string path = (folder_.path() / "picture.png").string();
    if (RenderTo(*session, path, 10, 10) != 0) return;
    const Picture picture(path);
    ASSERT_TRUE(picture.IsThere());
    for (int at = 0; at < 10; ++at) EXPECT_EQ(picture.at(at, at), kTransparent) << drawing;
  }

  /// A red picture beside the drawing.
  std::string MakeCanary() {
    const auto session = Load(R"(<svg width="10" height="10" xmlns="http://www.w3.org/2000/svg">)"
                              R"(<rect id="a" width="10" height="10" fill="red"/></svg>)",
                              "canary.svg");
    const std::string path = (folder_.path() / "canary.png").string();
    EXPECT_EQ(RenderTo(*session, path, 10, 10), 0u);
    EXPECT_EQ(Picture(path).at(5, 5), kRed);
    return path;
  }
};

TEST_F(ReferencesTest, ToFilesShowNothing) {
  const std::string canary = MakeCanary();
  for (const char* text : kDrawings) {
    for (const std::string& reference : {canary, "file://" + canary, std::string("canary.png"),
                                         std::string("canary.svg"), (folder_.path() / "canary.svg").string()}) {
      ExpectNothingShown(Drawing(text, reference));
    }
  }
}

TEST_F(ReferencesTest, ToPipesOpenNothing) {
  WatchedPipe pipe((folder_.path() / "pipe.png").string());
  for (const char* text : kDrawings) {
    for (const std::string& reference : {pipe.path(), "file://" + pipe.path(), std::string("pipe.png")}) {
      ExpectNothingShown(Drawing(text, reference));
      EXPECT_FALSE(pipe.WasOpened()) << text << reference;
    }
  }
}

TEST_F(ReferencesTest, ToHostsConnectToNothing) {
  const WatchedPort port;
  for (const char* text : kDrawings) {
    ExpectNothingShown(Drawing(text, port.url()));
    EXPECT_FALSE(port.WasConnected()) << text;
  }
}

TEST_F(ReferencesTest, WithinTheDrawingAreFollowed) {
  // A red pixel; it shows that the pictures above would have been seen.
  constexpr char kPixel[] =
      "data:image/png;base64,"
      "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAIAAACQd1PeAAAADElEQVR4nGP4z8AAAAMBAQDJ/pLvAAAAAElFTkSuQmCC";
  const auto session = Load(Drawing(kDrawings[0], kPixel));
  const std::string path = (folder_.path() / "picture.png").string();
  ASSERT_EQ(RenderTo(*session, path, 10, 10), 0u);
  EXPECT_EQ(Picture(path).at(5, 5), kRed);
}

TEST_F(ReferencesTest, ThatAPipeIsWatchedIsTrue) {
  WatchedPipe pipe((folder_.path() / "pipe.png").string());
  const int end = open(pipe.path().c_str(), O_RDONLY | O_CLOEXEC);
  EXPECT_TRUE(pipe.WasOpened());
  close(end);
}

}  // namespace
