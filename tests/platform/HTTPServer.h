#pragma once

#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include <platform/support.h>
#include <vantiflux/platform/pelorn/ioStream.h>

namespace test {

/// Answers one request on each connection with a prepared reply.
class HTTPServer {
public:
  explicit HTTPServer(std::function<std::string(const std::string& path)> reply) : reply_(std::move(reply)) {
    server_.open("127.0.0.1", 0);
    worker_.emplace([this] { serve(); });
  }
  ~HTTPServer() {
    server_.breakWait();
    worker_.reset();
  }
  std::string url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(server_.getLocalAddress().getServicePort()) + path;
  }

private:
  void serve() {
    while (const auto client = server_.accept()) {
      Pelorn::ioStream stream(*client);
      std::string method, path, line;
      stream >> method >> path;
      while (std::getline(stream, line) && line != "\r") {
      }
      stream << reply_(path) << std::flush;
      client->shutdownOutput();
      while (stream.get() != EOF) {
      }
    }
  }

  std::function<std::string(const std::string&)> reply_;
  Pelorn::ServerSocket server_;
  std::optional<test::Worker> worker_;
};

} // namespace test
