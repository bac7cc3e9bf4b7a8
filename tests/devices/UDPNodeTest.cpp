#include <vantiflux/devices/UDPNode.h>

#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include <devices/Support.h>

namespace {

using namespace Vantiflux;
using test::Messages;

/// A node and a socket that know each other.
struct Pair {
  explicit Pair(const test::Fields& fields = test::Fields({})) : bench(fields) {
    peer.open("127.0.0.1", test::freePort<Pelorn::UDP>());
    bench.node->setLocalAddress("127.0.0.1");
    bench.node->setRemoteAddress("127.0.0.1");
    bench.node->setRemotePort(peer.getLocalAddress().getServicePort());
  }
  void route() {
    bench.route();
    ASSERT_TRUE(bench.runs("Operating on 127.0.0.1:"));
  }
  void send(const std::string& datagram) {
    const Pelorn::SocketAddress node(Pelorn::InetAddress::loopback(), bench.port());
    EXPECT_TRUE(peer.sendTo(datagram.data(), static_cast<int>(datagram.size()), node));
  }
  std::string receive() {
    std::string datagram(Pelorn::UDP::maxDatagram, '\0');
    int size = Pelorn::UDP::maxDatagram;
    EXPECT_EQ(peer.waitForData(30000), Pelorn::WaitResult::Data);
    EXPECT_TRUE(peer.receive(datagram.data(), size));
    datagram.resize(static_cast<std::size_t>(size));
    return datagram;
  }

  test::Bench<UDPNode> bench;
  Pelorn::UDP peer;
};

TEST(UDPNode, ADatagramIsAMessage) {
  Pair pair;
  pair.route();
  Messages expected;
  for (const std::size_t size : {1u, 0u, 1472u, 65507u, 0u, 10u}) {
    const std::string datagram(size, 'd');
    pair.send(datagram);
    expected.push_back(datagram);
    EXPECT_EQ(pair.bench.inbox.wait(expected.size()), expected);
    pair.bench.writer.push(datagram);
    EXPECT_EQ(pair.receive(), datagram);
  }
  pair.send("\xE4");
  EXPECT_EQ(pair.bench.inbox.wait(expected.size() + 1).back(), "\xC3\xA4");
  pair.bench.writer.push(std::string("\xE4"));
  EXPECT_EQ(pair.receive(), "\xE4");
  EXPECT_TRUE(pair.bench.log().empty());
}

TEST(UDPNode, WhatCannotBeSentDisturbsNothing) {
  Pair pair;
  pair.route();
  for (int i = 0; i < 3; ++i)
    pair.bench.writer.push(std::string(65508, 'x'));
  EXPECT_EQ(pair.bench.log().size(), 1u);
  pair.bench.writer.push(std::string("fits"));
  EXPECT_EQ(pair.receive(), "fits");
  pair.peer.close(); // nobody listens any more: the system may answer so
  for (int i = 0; i < 3; ++i)
    pair.bench.writer.push(std::string("lost"));
  pair.peer.open("127.0.0.1", pair.bench.node->getRemotePort());
  pair.bench.writer.push(std::string("again"));
  EXPECT_EQ(pair.receive(), "again");
}

TEST(UDPNode, BeginsAndEndsWithItsStrings) {
  Pair pair({{"InitString", "a#b"}, {"DeinitString", "c#d"}});
  pair.bench.writer.push(std::string("stored"));
  const auto begin = std::chrono::steady_clock::now();
  pair.route();
  EXPECT_EQ(pair.receive(), "a");
  EXPECT_EQ(pair.receive(), "b");
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(500));
  EXPECT_EQ(pair.receive(), "stored");
  pair.bench.unroute();
  EXPECT_EQ(pair.bench.node->getState(), Node::Sleeping);
  EXPECT_EQ(pair.receive(), "c");
  EXPECT_EQ(pair.receive(), "d");
}

TEST(UDPNode, SaysWhyItCannotOpen) {
  Pair pair;
  pair.bench.node->setLocalPort(pair.peer.getLocalAddress().getServicePort());
  pair.bench.route();
  EXPECT_TRUE(pair.bench.reaches(Node::Error));
  EXPECT_EQ(pair.bench.node->getShortInfo(), "Cannot open socket");
  EXPECT_EQ(pair.bench.log().size(), 1u);
  pair.bench.unroute();
  pair.bench.node->setFieldValue("LocalPort", "0");
  pair.route();
  pair.send("now");
  EXPECT_EQ(pair.bench.inbox.wait(1), (Messages{"now"}));
}

} // namespace
