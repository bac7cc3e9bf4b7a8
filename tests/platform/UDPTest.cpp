#include <vantiflux/platform/pelorn/UDP.h>

#include "support.h"
#include <vantiflux/platform/pelorn/Exception.h>

namespace {

using Pelorn::InetAddress;
using Pelorn::SocketAddress;
using Pelorn::UDP;
using Pelorn::WaitResult;

std::string take(UDP& from, int room = UDP::maxDatagram) {
  std::string text(static_cast<std::size_t>(room), '\0');
  int size = room;
  EXPECT_EQ(WaitResult::Data, from.waitForData());
  EXPECT_TRUE(from.receive(text.data(), size));
  text.resize(static_cast<std::size_t>(size));
  return text;
}

bool send(UDP& to, const std::string& text) {
  return to.send(text.data(), static_cast<int>(text.size()));
}

TEST(UDP, DatagramsOfEverySize) {
  UDP receiver, sender;
  receiver.open("127.0.0.1", 0);
  sender.open("127.0.0.1", 0, "localhost", receiver.getLocalAddress().getServicePort());
  for (const std::size_t size : {1U, 0U, 4096U, 65507U}) {
    const std::string text(size, 'd');
    ASSERT_TRUE(send(sender, text));
    EXPECT_EQ(WaitResult::Data, receiver.waitForData(30000));
    int count = -1;
    EXPECT_TRUE(receiver.dataAvail(count));
    EXPECT_EQ(static_cast<int>(size), count);
    EXPECT_EQ(text, take(receiver));
  }
  EXPECT_FALSE(send(sender, std::string(65508, 'd')));
  ASSERT_TRUE(send(sender, "truncated"));
  EXPECT_EQ("trunc", take(receiver, 5));
  EXPECT_EQ(WaitResult::Timeout, receiver.waitForData(0)) << "the rest of a datagram is gone";
  int size = 10;
  char buffer[10];
  EXPECT_FALSE(receiver.receive(buffer, size));
  EXPECT_EQ(0, size);
}

TEST(UDP, AClosedPeerIsNoFailure) {
  UDP sender, receiver;
  const auto port = test::freePort<UDP>();
  sender.open("127.0.0.1", 0, "127.0.0.1", port);
  for (int i = 0; i < 3; ++i)
    EXPECT_TRUE(send(sender, "into the void"));
  EXPECT_EQ(WaitResult::Timeout, sender.waitForData(20));
  receiver.open("127.0.0.1", port);
  ASSERT_TRUE(send(sender, "there"));
  EXPECT_EQ("there", take(receiver));
  SocketAddress from;
  ASSERT_TRUE(send(sender, "again"));
  EXPECT_TRUE(receiver.waitForData() == WaitResult::Data);
  char buffer[5];
  int size = 5;
  ASSERT_TRUE(receiver.receive(buffer, size, from));
  ASSERT_TRUE(receiver.sendTo("back", 4, from));
  EXPECT_EQ("back", take(sender));
}

TEST(UDP, WithoutADestinationNothingIsSent) {
  UDP socket;
  EXPECT_FALSE(send(socket, "closed"));
  EXPECT_EQ(WaitResult::Error, socket.waitForData(0));
  socket.open("", 0, "0.0.0.0", 1);
  EXPECT_FALSE(send(socket, "nowhere"));
  EXPECT_THROW(socket.open("no such host", 0), Pelorn::IOException);
  EXPECT_THROW(socket.open("192.0.2.1", 0), Pelorn::IOException) << "not an address of this host";
}

TEST(UDP, EndsOfABlockedWait) {
  for (const bool byBreak : {true, false}) {
    UDP socket;
    socket.open("127.0.0.1", 0);
    WaitResult result = WaitResult::Data;
    test::Worker waiter([&] { result = socket.waitForData(); });
    EXPECT_TRUE(waiter.blocked());
    byBreak ? socket.breakWait() : socket.close();
    waiter.join();
    EXPECT_EQ(WaitResult::Error, result);
    EXPECT_EQ(WaitResult::Error, socket.waitForData(-1));
  }
}

TEST(UDP, MulticastOnTheLoopbackInterface) {
  const InetAddress group = InetAddress::getByName("239.255.77.1");
  UDP first, second, sender;
  first.setReuseAddress(true);
  second.setReuseAddress(true);
  first.open("", 0);
  const auto port = first.getLocalAddress().getServicePort();
  second.open("", port);
  for (UDP* receiver : {&first, &second})
    ASSERT_TRUE(receiver->joinGroup(group, InetAddress::loopback()));
  EXPECT_FALSE(first.joinGroup(InetAddress::loopback()));
  sender.open("127.0.0.1", 0, "239.255.77.1", port);
  ASSERT_TRUE(sender.setMulticastInterface(InetAddress::loopback()) && sender.setMulticastTTL(0) &&
              sender.setMulticastLoop(true));
  ASSERT_TRUE(send(sender, "all"));
  EXPECT_EQ("all", take(first));
  EXPECT_EQ("all", take(second));
}

} // namespace
