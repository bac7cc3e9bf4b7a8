#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <vantiflux/platform/pelorn/ThreadedWebServer.h>
#include <web/Client.h>

namespace test {

/// A door that requests wait at.
class Door {
public:
  void pass() {
    std::unique_lock guard(lock_);
    ++waiting_;
    opened_.wait(guard, [this] { return open_; });
    --waiting_;
  }
  void open() {
    const std::lock_guard guard(lock_);
    open_ = true;
    opened_.notify_all();
  }
  int waiting() {
    const std::lock_guard guard(lock_);
    return waiting_;
  }

private:
  std::mutex lock_;
  std::condition_variable opened_;
  bool open_ = false;
  int waiting_ = 0;
};

/// A server with pages of the tests' own.
class Server : public Pelorn::ThreadedWebServer {
public:
  using ProtocolHTTP = Pelorn::ProtocolHTTP;
  using WebPage = Pelorn::WebPage;
  using Request = ProtocolHTTP::Request;
  using Reply = ProtocolHTTP::Reply;

  explicit Server(const Pelorn::WebLimits& limits = {}) {
    setName("Test");
    setLimits(limits);
    add("/echo", &Server::echo, WebPage::Kind::TakesForm);
    add("/change", &Server::change, WebPage::Kind::Changes);
    add("/count", &Server::count);
    add("/big", &Server::big);
    add("/throw", &Server::fail);
    add("/wait", &Server::waitAtDoor);
    addPage("/static", Pelorn::WebPageStatic("static", 6, "text/plain"));
    addPage("/log", Pelorn::WebPageObject<Pelorn::WebServer>(this, &Pelorn::WebServer::createLogPage));
    open("127.0.0.1", 0, "", "");
  }
  ~Server() override {
    door.open();
    closeAndWait();
  }

  std::uint16_t port() const { return getSocketAddress().getServicePort(); }
  unsigned handleRequest(Pelorn::WebClient& client, Request& request) override {
    if (request.path != "/detach")
      return ThreadedWebServer::handleRequest(client, request);
    const std::lock_guard guard(detachLock);
    detached = client.detach(unread);
    return 0;
  }
  std::size_t getBodyLimit(const Request& request) const override {
    const std::size_t limit = ThreadedWebServer::getBodyLimit(request);
    return limit > 0 ? bodyLimit : 0;
  }

  static constexpr std::size_t bodyLimit = 1 << 20;
  static constexpr std::size_t bigSize = 64 << 20;
  Door door;
  std::atomic<int> changes{0};
  std::function<void()> firstChange = [] {};
  std::atomic<std::thread::id> changer; ///< the thread of the latest one
  std::mutex detachLock;                ///< guards the next two
  Pelorn::Descriptor detached;
  std::string unread;

private:
  void add(const char* path, int (Server::*operation)(const Request&, Reply&),
           WebPage::Kind kind = WebPage::Kind::Shows) {
    addPage(path, Pelorn::WebPageObject<Server>(this, operation, kind));
  }
  int echo(const Request& request, Reply& reply) {
    reply.body = request.method + '|' + ProtocolHTTP::createQuery(request.query) + '|' + request.body;
    return 1;
  }
  int change(const Request&, Reply&) {
    changer = std::this_thread::get_id();
    if (++changes == 1)
      firstChange();
    return 1;
  }
  int count(const Request&, Reply& reply) {
    reply.body = std::to_string(changer == std::this_thread::get_id() ? changes.load() : 0);
    return 1;
  }
  int big(const Request&, Reply& reply) {
    reply.body.assign(bigSize, 'x');
    return 1;
  }
  int fail(const Request& request, Reply&) {
    if (request.query.empty())
      throw std::runtime_error("<broken>");
    throw 1;
  }
  int waitAtDoor(const Request&, Reply& reply) {
    door.pass();
    reply.body = "through";
    return 1;
  }
};

inline void expectServing(const Server& server) {
  EXPECT_EQ(get(server.port(), "/static").body, "static");
}

} // namespace test
