// A name service that does not answer and an interface that goes down: this program's answers take the place of the
// system's.
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <dlfcn.h>
#include <mutex>
#include <netdb.h>
#include <string>
#include <sys/socket.h>

#include <gtest/gtest.h>

#include <devices/Support.h>
#include <vantiflux/devices/TCPClientNode.h>
#include <vantiflux/devices/TCPServerNode.h>
#include <vantiflux/devices/UDPNode.h>

namespace {

/// Whom to answer and whom to keep waiting.
class NameService {
public:
  /// Returns when there is an answer: never for as long as the service is silent.
  void answer() {
    std::unique_lock lock(mutex_);
    ++waiting_;
    change_.wait(lock, [this] { return !silent_; });
    --waiting_;
  }
  void silence(bool on) {
    const std::lock_guard lock(mutex_);
    silent_ = on;
    change_.notify_all();
  }
  int waiting() {
    const std::lock_guard lock(mutex_);
    return waiting_;
  }

private:
  std::mutex mutex_;
  std::condition_variable change_;
  bool silent_ = false;
  int waiting_ = 0;
};

NameService& names() {
  static auto& service = *new NameService; // look-ups may outlast the tests
  return service;
}

std::atomic<bool> interfaceDown{false};
std::atomic<int> failedReceives{0};

template <class Function>
Function* systems(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* node, const char* service,
                                                                  const addrinfo* hints, addrinfo** result) {
  names().answer();
  static auto* const system = systems<int(const char*, const char*, const addrinfo*, addrinfo**)>("getaddrinfo");
  return system(node, service, hints, result);
}

extern "C" __attribute__((visibility("default"))) int getnameinfo(const sockaddr* address, socklen_t size, char* host,
                                                                  socklen_t hostSize, char* service,
                                                                  socklen_t serviceSize, int flags) {
  names().answer();
  static auto* const system =
      systems<int(const sockaddr*, socklen_t, char*, socklen_t, char*, socklen_t, int)>("getnameinfo");
  return system(address, size, host, hostSize, service, serviceSize, flags);
}

extern "C" __attribute__((visibility("default"))) ssize_t recvfrom(int socket, void* buffer, size_t size, int flags,
                                                                   sockaddr* from, socklen_t* fromSize) {
  if (interfaceDown) {
    ++failedReceives;
    errno = ENETDOWN;
    return -1;
  }
  static auto* const system = systems<ssize_t(int, void*, size_t, int, sockaddr*, socklen_t*)>("recvfrom");
  return system(socket, buffer, size, flags, from, fromSize);
}

namespace {

using namespace Vantiflux;
using test::Bench;
using test::eventually;

/// For the length of a scope nobody answers.
struct Silence {
  Silence() { names().silence(true); }
  ~Silence() {
    names().silence(false);
    EXPECT_TRUE(eventually([] { return names().waiting() == 0; }));
  }
};

// Nobody answers before the end: what returns has not waited for an answer, nor for a look-up's time limit.
TEST(SilentNameService, HoldsUpNeitherTheTreeNorAStop) {
  const Silence silence;
  const auto begin = std::chrono::steady_clock::now();
  const auto in = [&] { return std::chrono::steady_clock::now() - begin; };
  {
    Bench<TCPServerNode> server({{"Address", "server.test"}});
    EXPECT_TRUE(eventually([] { return names().waiting() == 1; }));
    EXPECT_EQ(server.node->getState(), Node::Sleeping);
    Bench<TCPClientNode> client({{"Address", "client.test"}, {"Port", "1"}});
    EXPECT_TRUE(eventually([] { return names().waiting() == 2; }));
    Bench<UDPNode> udp({{"RemoteAddress", "udp.test"}, {"RemotePort", "1"}});
    udp.route();
    EXPECT_TRUE(eventually([] { return names().waiting() == 3; }));
    for (int round = 0; round < 5; ++round) {
      for (Namespace* const ns : {&server.ns, &client.ns, &udp.ns}) {
        ns->disable();
        ns->enable();
      }
    }
    EXPECT_EQ(names().waiting(), 3); // who asks for the same again waits with the first
    server.ns.disable();
    EXPECT_EQ(server.node->getState(), Node::Disabled);
  }
  EXPECT_LT(in(), std::chrono::seconds(9)); // a single look-up takes ten
}

TEST(SilentNameService, HoldsUpNeitherAClientNorTheNext) {
  Bench<TCPServerNode> server({{"Address", "127.0.0.1"}});
  server.route();
  ASSERT_TRUE(server.runs("Waiting"));
  const Silence silence;
  // A stop in the middle of the look-up of a client's name returns at once, at least when the machine is not busy.
  auto fastest = std::chrono::steady_clock::duration::max();
  for (int round = 0; round < 5; ++round) {
    Pelorn::Socket client;
    client.open("127.0.0.1", server.port());
    EXPECT_TRUE(eventually([] { return names().waiting() == 1; }));
    const auto begin = std::chrono::steady_clock::now();
    server.ns.disable();
    fastest = std::min(fastest, std::chrono::steady_clock::now() - begin);
    server.ns.enable();
    ASSERT_TRUE(server.runs("Waiting"));
  }
  EXPECT_LT(fastest, std::chrono::milliseconds(450)); // a name is waited for for half a second
  for (std::size_t round = 1; round <= 40; ++round) { // more than there may be look-ups
    Pelorn::Socket client;
    client.open("127.0.0.1", server.port());
    test::send(client, "up");
    EXPECT_EQ(server.inbox.wait(round).size(), round);
    EXPECT_EQ(server.node->getShortInfo(),
              "Communicating with client from 127.0.0.1:" + std::to_string(client.getLocalAddress().getServicePort()));
    client.close();
    ASSERT_TRUE(server.runs("Waiting"));
  }
  EXPECT_EQ(names().waiting(), 1);
}

TEST(UDPNodeInTrouble, GoesOnWhenTheInterfaceComesBack) {
  Bench<UDPNode> node({{"LocalAddress", "127.0.0.1"}});
  node.route();
  ASSERT_TRUE(node.runs("Operating"));
  interfaceDown = true;
  const auto begin = std::chrono::steady_clock::now();
  Pelorn::UDP peer;
  peer.open("127.0.0.1", 0, "127.0.0.1", node.port());
  ASSERT_TRUE(peer.send("kept", 4));
  EXPECT_TRUE(eventually([] { return failedReceives > 2; }));
  const int failed = failedReceives;
  const auto tenths = (std::chrono::steady_clock::now() - begin) / std::chrono::milliseconds(100);
  EXPECT_LE(failed, tenths + 3); // it does not spin
  EXPECT_EQ(node.node->getState(), Node::Running);
  interfaceDown = false;
  EXPECT_EQ(node.inbox.wait(1), (test::Messages{"kept"}));
  interfaceDown = true;
  ASSERT_TRUE(peer.send("lost", 4));
  node.unroute(); // while it is in trouble
  EXPECT_EQ(node.node->getState(), Node::Sleeping);
  interfaceDown = false;
}

} // namespace
