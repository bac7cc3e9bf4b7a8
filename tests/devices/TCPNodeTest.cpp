#include <vantiflux/devices/TCPClientNode.h>
#include <vantiflux/devices/TCPServerNode.h>

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <devices/Support.h>

namespace {

using namespace Vantiflux;
using test::Bench;
using test::Messages;

using Server = Bench<TCPServerNode>;
using Client = Bench<TCPClientNode>;

test::Fields to(std::uint16_t port, test::Fields more = test::Fields({})) {
  more.insert(more.begin(), {{"Address", "127.0.0.1"}, {"Port", std::to_string(port)}});
  return more;
}

test::Fields local(test::Fields more = test::Fields({})) {
  more.insert(more.begin(), {"Address", "127.0.0.1"});
  return more;
}

TEST(TCPServerNode, IsReachableWithoutRoutesAndTellsItsPort) {
  Server bench(local());
  ASSERT_TRUE(bench.runs("Waiting for client on 127.0.0.1:"));
  Pelorn::Socket client;
  client.open("127.0.0.1", bench.port());
  EXPECT_TRUE(bench.runs("Communicating with client from "));
  EXPECT_EQ(bench.port(), client.getLocalAddress().getServicePort());
}

TEST(TCPServerNode, ServesClientsThatComeAndGo) {
  Server bench(local({{"Delimiter", "10"}, {"InitString", "hello"}}));
  bench.route();
  ASSERT_TRUE(bench.runs("Waiting"));
  const std::uint16_t port = bench.port();
  bench.writer.push(std::string("to nobody"));
  for (std::size_t round = 1; round <= 5; ++round) {
    Pelorn::Socket client;
    client.open("127.0.0.1", port);
    EXPECT_EQ(test::receive(client, 5), "hello");
    ASSERT_TRUE(bench.runs("Communicating"));
    bench.writer.push(std::string("down\xE4"));
    EXPECT_EQ(test::receive(client, 5), "down\xE4");
    test::send(client, "up\xE4\npart");
    EXPECT_EQ(bench.inbox.wait(round).back(), "up\xE4\n");
    client.close();
    ASSERT_TRUE(bench.runs("Waiting for client on 127.0.0.1:" + std::to_string(port)));
  }
  EXPECT_EQ(bench.inbox.messages().size(), 5u);
  EXPECT_TRUE(bench.log().empty());
}

TEST(TCPServerNode, ServesOneClientAtATime) {
  Server bench(local({{"DeinitString", "bye"}}));
  bench.route();
  ASSERT_TRUE(bench.runs("Waiting"));
  const std::uint16_t port = bench.port();
  auto first = std::make_unique<Pelorn::Socket>();
  first->open("127.0.0.1", port);
  ASSERT_TRUE(bench.runs("Communicating"));
  Pelorn::Socket second;
  second.open("127.0.0.1", port);
  test::send(second, "second");
  test::send(*first, "first");
  EXPECT_EQ(bench.inbox.wait(1), (Messages{"first"}));
  first.reset();
  EXPECT_EQ(bench.inbox.wait(2), (Messages{"first", "second"}));
  bench.ns.disable();
  EXPECT_EQ(test::receive(second, 4), "bye"); // and then the end
  EXPECT_EQ(bench.node->getState(), Node::Disabled);
}

TEST(TCPServerNode, SaysWhyItCannotListen) {
  Pelorn::ServerSocket taken;
  const std::string port = std::to_string(test::freePort());
  taken.open("127.0.0.1", static_cast<std::uint16_t>(std::stoi(port)));
  Server bench(local({{"Port", port}}));
  EXPECT_EQ(bench.node->getState(), Node::Error);
  EXPECT_EQ(bench.node->getShortInfo().rfind("Cannot open server - ", 0), 0u);
  taken.close();
  bench.ns.disable();
  bench.ns.enable();
  EXPECT_TRUE(bench.runs("Waiting for client on 127.0.0.1:" + port));
}

TEST(TCPClientNode, WaitsForAServerThatComesLate) {
  const std::uint16_t port = test::freePort();
  const std::string name = "127.0.0.1:" + std::to_string(port);
  Client bench(to(port, {{"InitString", "hello"}}));
  bench.route();
  ASSERT_TRUE(bench.runs("Trying to connect to " + name));
  ASSERT_TRUE(test::eventually([&] { return bench.log().size() == 1; })); // the first attempt has failed
  bench.writer.push(std::string("to nobody"));
  Pelorn::ServerSocket server;
  server.open("127.0.0.1", port);
  auto peer = server.accept();
  ASSERT_NE(peer, nullptr);
  EXPECT_EQ(test::receive(*peer, 5), "hello");
  ASSERT_TRUE(bench.runs("Communicating with server on " + name));
  bench.writer.push(std::string("up"));
  EXPECT_EQ(test::receive(*peer, 2), "up");
  test::send(*peer, "down");
  EXPECT_EQ(bench.inbox.waitBytes(4), "down");
  peer.reset();
  peer = server.accept(); // the client comes again
  ASSERT_NE(peer, nullptr);
  EXPECT_EQ(test::receive(*peer, 5), "hello");
}

TEST(TCPClientNode, SaysGoodbyeInPieces) {
  Pelorn::ServerSocket server;
  server.open("127.0.0.1", 0);
  Client bench(to(server.getLocalAddress().getServicePort(), {{"DeinitString", "good#bye"}}));
  const auto peer = server.accept();
  ASSERT_TRUE(bench.runs("Communicating"));
  bench.ns.disable();
  EXPECT_EQ(test::receive(*peer, 9), "goodbye");
  EXPECT_EQ(bench.node->getState(), Node::Disabled);
}

TEST(TCPClientNode, GivesTextAndBytes) {
  Pelorn::ServerSocket server;
  server.open("127.0.0.1", 0);
  Client bench(to(server.getLocalAddress().getServicePort(), {{"Delimiter", "10"}}));
  InSlot<SmartPtr<std::vector<long>>> bytes;
  bench.ns.addInSlot("bytes", &bytes);
  const auto peer = server.accept();
  bench.route();
  test::send(*peer, "text\n");
  EXPECT_EQ(bench.inbox.wait(1), (Messages{"text\n"}));
  EXPECT_TRUE(bytes.empty());
  bench.ns.addRoute("n/Data out", "bytes");
  test::send(*peer, std::string("\x01\xE4\0\n", 4));
  const auto data = bytes.pop();
  EXPECT_EQ(*data.getValue(), (std::vector<long>{1, 0xE4, 0, 10}));
  EXPECT_NE(data.getTimeStamp(), 0u);
  EXPECT_EQ(bench.inbox.wait(2).back(), std::string("\x01\xE4\0\n", 4));
  bench.ns.removeRoute("n/Data out", "bytes");
  bench.ns.removeInSlot("bytes", &bytes);
}

TEST(TCPNodes, TalkToEachOther) {
  Server server(local({{"Delimiter", "10"}}));
  server.route();
  ASSERT_TRUE(server.runs("Waiting"));
  Client client(to(server.port(), {{"MaxBytes", "2"}}));
  client.route();
  ASSERT_TRUE(server.runs("Communicating") && client.runs("Communicating"));
  std::string all;
  for (int i = 0; i < 500; ++i) {
    all += std::to_string(i) + "\n";
    client.writer.push(std::to_string(i) + "\n");
  }
  EXPECT_EQ(server.inbox.waitBytes(all.size()), all);
  EXPECT_EQ(server.inbox.messages().size(), 500u);
  server.writer.push(std::string("odd"));
  EXPECT_EQ(client.inbox.wait(2), (Messages{"od", "d"}));
}

/// Pushes more than the system and the queue take, to a peer that reads nothing, and ends the node.
template <class NodeBench>
void flood(NodeBench& bench) {
  bench.route();
  ASSERT_TRUE(bench.runs("Communicating"));
  const std::string block(1 << 18, 'x');
  for (int i = 0; i < 200; ++i)
    bench.writer.push(block);
  EXPECT_GE(bench.log().size(), 1u);
  bench.ns.disable();
  EXPECT_EQ(bench.node->getState(), Node::Disabled);
}

TEST(TCPNodes, APeerThatReadsNothingBlocksNobody) {
  Pelorn::ServerSocket listener;
  listener.open("127.0.0.1", 0);
  Client client(to(listener.getLocalAddress().getServicePort(), {{"DeinitString", "unsendable"}}));
  const auto peer = listener.accept();
  flood(client);
  Server server(local());
  ASSERT_TRUE(server.runs("Waiting"));
  Pelorn::Socket mute;
  mute.open("127.0.0.1", server.port());
  flood(server);
}

TEST(TCPNodes, APeerThatTakesNoInitStringIsHeardAllTheSame) {
  const std::string hello(20'000'000, 'h');
  Server server(local({{"InitString", hello + "#end"}, {"DeinitString", "bye"}}));
  server.route();
  ASSERT_TRUE(server.runs("Waiting"));
  Pelorn::Socket client;
  client.open("127.0.0.1", server.port());
  test::send(client, "up");
  EXPECT_EQ(server.inbox.wait(1), (Messages{"up"}));
  EXPECT_EQ(test::receive(client, hello.size()), hello);
  server.writer.push(std::string("|down"));
  server.ns.disable();
  EXPECT_EQ(test::receive(client, 12), "end|downbye"); // and the end
}

TEST(TCPNodes, WhatIsQueuedArrivesWhole) {
  Server server(local());
  server.route();
  ASSERT_TRUE(server.runs("Waiting"));
  Pelorn::Socket client;
  client.open("127.0.0.1", server.port());
  ASSERT_TRUE(server.runs("Communicating"));
  const std::string block(1 << 18, 'x');
  std::size_t pushed = 0;
  while (server.log().empty()) {
    server.writer.push(block);
    ++pushed;
  }
  // The last one was refused, as a whole.
  EXPECT_EQ(test::receive(client, (pushed - 1) * block.size()).size(), (pushed - 1) * block.size());
  server.writer.push(std::string("after"));
  EXPECT_EQ(test::receive(client, 5), "after");
}

} // namespace
