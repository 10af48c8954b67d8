#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace media_server {

/// An HTTP server on the loopback address for one test. It serves one content under "/file", with ranges, redirects
/// "/moved" to it, redirects "/local" to a local file, answers "/silent" never, and everything else with 404. Under
/// "/answers" it gives those that it was told, as they are and one after another, and the last from then on.
class HttpServer {
 public:
  explicit HttpServer(std::string content, std::vector<std::string> answers = {})
      : content_(std::move(content)), answers_(std::move(answers)), socket_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    bind(socket_, reinterpret_cast<sockaddr*>(&address), size);
    listen(socket_, 16);
    getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { Serve(); });
  }
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;
  ~HttpServer() {
    stopped_ = true;
    shutdown(socket_, SHUT_RDWR);
    thread_.join();
    close(socket_);
  }

  std::string Url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(port_) + path; }
  std::uint64_t BytesSent() const { return bytes_sent_; }
  std::size_t AnswersGiven() const { return answers_given_; }

 private:
  void Serve() {
    while (!stopped_) {
      const int connection = accept(socket_, nullptr, nullptr);
      if (connection < 0) return;
      Answer(connection);
      close(connection);
    }
  }

  void Answer(int connection) {
    std::string request;
    char buffer[1024];
    while (request.find("\r\n\r\n") == std::string::npos) {
      const ssize_t got = recv(connection, buffer, sizeof buffer, 0);
      if (got <= 0) return;
      request.append(buffer, static_cast<std::size_t>(got));
    }
    const std::string path = request.substr(4, request.find(' ', 4) - 4);
    if (path == "/silent") {
      while (!stopped_ && recv(connection, buffer, sizeof buffer, 0) > 0) {
      }
    } else if (path == "/moved") {
      Send(connection, "HTTP/1.1 302 Found\r\nLocation: /file\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    } else if (path == "/local") {
      Send(connection,
           "HTTP/1.1 302 Found\r\nLocation: file:///etc/hostname\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    } else if (path == "/file") {
      SendContent(connection, request);
    } else if (path == "/answers") {
      Send(connection, answers_[std::min(answers_given_++, answers_.size() - 1)]);
    } else {
      Send(connection, "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    }
  }

  void SendContent(int connection, const std::string& request) {
    const std::size_t range = request.find("Range: bytes=");
    if (range == std::string::npos) {
      Send(connection,
           "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(content_.size()) + "\r\nConnection: close\r\n\r\n");
      Send(connection, content_);
      return;
    }
    const std::size_t begin = std::strtoull(request.c_str() + range + 13, nullptr, 10);
    if (begin >= content_.size()) {
      Send(connection, "HTTP/1.1 416 Range Not Satisfiable\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
      return;
    }
    const std::string_view part = std::string_view(content_).substr(begin);
    Send(connection, "HTTP/1.1 206 Partial Content\r\nAccept-Ranges: bytes\r\nContent-Range: bytes " +
                         std::to_string(begin) + "-" + std::to_string(content_.size() - 1) + "/" +
                         std::to_string(content_.size()) + "\r\nContent-Length: " + std::to_string(part.size()) +
                         "\r\nConnection: close\r\n\r\n");
    Send(connection, part);
  }

  void Send(int connection, std::string_view text) {
    while (!text.empty()) {
      const ssize_t sent = send(connection, text.data(), text.size(), MSG_NOSIGNAL);
      if (sent <= 0) return;
      bytes_sent_ += static_cast<std::uint64_t>(sent);
      text.remove_prefix(static_cast<std::size_t>(sent));
    }
  }

  std::string content_;
  std::vector<std::string> answers_;
  int socket_;
  std::uint16_t port_ = 0;
  std::atomic<bool> stopped_ = false;
  std::atomic<std::uint64_t> bytes_sent_ = 0;
  std::atomic<std::size_t> answers_given_ = 0;
  std::thread thread_;
};

}  // namespace media_server
