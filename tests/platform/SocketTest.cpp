#include <vantiflux/platform/pelorn/Socket.h>

#include "DescriptorLimit.h"
#include "support.h"
#include <netinet/in.h>
#include <sys/socket.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/ServerSocket.h>
#include <vantiflux/platform/pelorn/ioStream.h>

namespace {

using Pelorn::InetAddress;
using Pelorn::IOException;
using Pelorn::ServerSocket;
using Pelorn::Socket;

int codeOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const IOException& exception) {
    return exception.code();
  }
  return 0;
}

TEST(InetAddress, Names) {
  EXPECT_EQ(0x7F000001U, InetAddress::getByName("127.0.0.1").getAddress());
  EXPECT_EQ("10.1.2.3", InetAddress(0x0A010203).getHostAddress());
  EXPECT_EQ(InetAddress::loopback(), InetAddress::getByName("localhost"));
  for (const std::string name : {"", "1.2.3", "256.1.1.1", "no such host", "a..b", "x\n"})
    EXPECT_FALSE(InetAddress::getByName(name).isValid()) << name;
  EXPECT_FALSE(InetAddress::getByName(std::string("127.0.0.1\0x", 11)).isValid());
  EXPECT_FALSE(InetAddress::getByName(std::string(100000, 'x')).isValid());
  EXPECT_EQ("", InetAddress().getHostName());
  EXPECT_TRUE(test::eventually([] { return InetAddress::loopback().getHostName() == "localhost"; }));
  EXPECT_TRUE(InetAddress::getByName("239.0.0.1").isMulticast());
  EXPECT_FALSE(InetAddress::getLocalHostName().empty());
}

TEST(Socket, ConnectsAndKnowsBothEnds) {
  ServerSocket server;
  server.open("127.0.0.1", 0);
  const auto bound = server.getLocalAddress();
  EXPECT_NE(0, bound.getServicePort());
  EXPECT_EQ("127.0.0.1", bound.getHostAddress());
  Socket client;
  client.open("localhost", bound.getServicePort());
  const auto peer = server.accept();
  ASSERT_TRUE(peer);
  EXPECT_EQ(client.getLocalAddress(), peer->getRemoteAddress());
  EXPECT_EQ(client.getRemoteAddress(), peer->getLocalAddress());
  EXPECT_TRUE(client.setTcpNoDelay(true));
  EXPECT_TRUE(client.setKeepAlive(true));
  client.close();
  EXPECT_FALSE(client.setTcpNoDelay(true));
  EXPECT_FALSE(client.getRemoteAddress().isValid());
}

TEST(Socket, FailuresCarryTheirCause) {
  ServerSocket server;
  const auto port = test::freePort();
  server.open("127.0.0.1", port);
  EXPECT_EQ(EADDRINUSE, codeOf([&] { ServerSocket().open("127.0.0.1", port); }));
  EXPECT_EQ(EADDRNOTAVAIL, codeOf([&] { ServerSocket().open("no such host", 0); }));
  server.close();
  Socket client;
  EXPECT_EQ(ECONNREFUSED, codeOf([&] { client.open("127.0.0.1", port); }));
  EXPECT_EQ(EHOSTUNREACH, codeOf([&] { client.open("", port); }));
  EXPECT_FALSE(client.isOpen());
  server.open("", port);
  client.open("127.0.0.1", port);
}

// Where nobody listens, one attempt in some ten thousand connects a socket to itself.
TEST(Socket, NeverConnectsToItself) {
  ServerSocket server;
  server.open("127.0.0.1", 0);
  // Clients get even ports first.
  const auto port = static_cast<std::uint16_t>(server.getLocalAddress().getServicePort() & ~1);
  server.close();
  for (int i = 0; i < 20000; ++i) {
    Socket client;
    if (codeOf([&] { client.open("127.0.0.1", port); }) == 0) {
      ASSERT_NE(client.getLocalAddress(), client.getRemoteAddress()) << i;
    }
  }
}

/// A listener whose queue is full: further attempts to connect hang.
class FullListener {
public:
  FullListener() {
    server_.open("127.0.0.1", 0, 0);
    for (auto& client : waiting_) {
      try {
        client.open("127.0.0.1", port(), 200);
      } catch (const IOException&) {
        break;
      }
    }
  }
  std::uint16_t port() const { return server_.getLocalAddress().getServicePort(); }

private:
  ServerSocket server_;
  Socket waiting_[8];
};

TEST(Socket, EndsOfABlockedConnect) {
  const FullListener listener;
  Socket client;
  EXPECT_EQ(ETIMEDOUT, codeOf([&] { client.open("127.0.0.1", listener.port(), 30); }));
  for (const bool byBreak : {true, false}) {
    int code = 0;
    test::Worker connecter([&] { code = codeOf([&] { client.open("127.0.0.1", listener.port()); }); });
    EXPECT_TRUE(connecter.blocked());
    byBreak ? client.breakWait() : client.close();
    connecter.join();
    EXPECT_EQ(ECANCELED, code);
    EXPECT_EQ(byBreak, ECANCELED == codeOf([&] { client.open("127.0.0.1", listener.port(), 1); })) << "break sticks";
    client.resetWait();
  }
}

TEST(ServerSocket, EndsOfABlockedAccept) {
  for (const bool byBreak : {true, false}) {
    ServerSocket server;
    server.open("127.0.0.1", 0);
    std::unique_ptr<Socket> client;
    test::Worker accepter([&] { client = server.accept(); });
    EXPECT_TRUE(accepter.blocked());
    byBreak ? server.breakWait() : server.close();
    accepter.join();
    EXPECT_FALSE(client);
    EXPECT_FALSE(server.accept());
  }
}

TEST(ServerSocket, OutlivesAShortageOfDescriptors) {
  ServerSocket server;
  server.open("127.0.0.1", 0);
  const sockaddr_in address = server.getLocalAddress().native();
  std::unique_ptr<Socket> peer;
  std::atomic<bool> failed{false};
  test::Worker accepter([&] {
    try {
      peer = server.accept();
    } catch (const IOException&) {
      failed = true;
    }
  });
  EXPECT_TRUE(accepter.blocked());
  const Pelorn::Descriptor client(::socket(AF_INET, SOCK_STREAM, 0));
  {
    const test::DescriptorLimit limit;
    ASSERT_TRUE(limit.set(3));
    EXPECT_EQ(0, ::connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
    // The worker now meets the shortage; nothing can be opened to look how it fares.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  accepter.join();
  EXPECT_FALSE(failed);
  EXPECT_TRUE(peer);
}

} // namespace
