// The VNC node with servers that fall silent, lie or do not listen.
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <devices/VNCSupport.h>
#include <vantiflux/core/InterruptedException.h>
#include <vantiflux/devices/RFBStream.h>
#include <vantiflux/platform/pelorn/ServerSocket.h>

namespace {

using namespace Vantiflux;
using test::VNCClient;

/// As far as a server gets.
const std::string letIn = "RFB 003.003\n" + std::string("\0\0\0\1", 4);
const std::string screen =
    letIn +
    RFBMessage().u16(40).u16(30).u32(0x20180001).u16(255).u16(255).u16(255).u32(0x10080000).u16(0).u32(4).bytes() +
    "desk";

/// A server that says so much to whoever comes.
struct Server {
  Server() { socket.open("127.0.0.1", 0); }
  std::string port() const { return std::to_string(socket.getLocalAddress().getServicePort()); }
  std::unique_ptr<Pelorn::Socket> greet(const std::string& words) {
    auto peer = socket.accept();
    test::send(*peer, words);
    return peer;
  }
  Pelorn::ServerSocket socket;
};

std::string rectangle(unsigned x, unsigned y, unsigned width, unsigned height, std::uint32_t encoding) {
  return RFBMessage().u32(1).u16(x).u16(y).u16(width).u16(height).u32(encoding).bytes();
}

TEST(VNCTrouble, StopsAtAnyMoment) {
  Server server;
  const std::string pixels = rectangle(0, 0, 40, 30, 0) + "some of the pixels";
  const std::vector<std::string> moments{
      "", "RFB 0", letIn.substr(0, 14), letIn, screen.substr(0, screen.size() - 2), screen, screen + pixels};
  VNCClient client(server.port());
  client.ns.disable();
  for (const std::string& words : moments) {
    std::unique_ptr<Pelorn::Socket> peer;
    const auto begin = [&] {
      client.ns.enable();
      peer = server.greet(words);
      if (words.size() >= screen.size()) {
        EXPECT_TRUE(client.runs("Connected to desk"));
      }
    };
    EXPECT_TRUE(test::stopsAtOnce(begin, [&] { client.ns.disable(); })) << words.size();
    EXPECT_EQ(client.node->getState(), Node::Disabled);
  }
}

TEST(VNCTrouble, StopsWhileNobodyAnswers) {
  Pelorn::ServerSocket full;
  full.open("127.0.0.1", 0, 0);
  const std::uint16_t port = full.getLocalAddress().getServicePort();
  std::vector<std::unique_ptr<Pelorn::Socket>> waiting;
  for (bool answered = true; answered;) {
    waiting.push_back(std::make_unique<Pelorn::Socket>());
    try {
      waiting.back()->open("127.0.0.1", port, 300);
    } catch (const Pelorn::Exception&) {
      answered = false;
    }
  }
  VNCClient client(std::to_string(port));
  EXPECT_LT(test::secondsOf([&] { client.ns.disable(); }), test::soon);
}

TEST(VNCTrouble, SaysHowItEnded) {
  Server server;
  struct Case {
    std::string words;
    Node::State state;
    std::string info;
  };
  VNCClient client(server.port());
  for (const Case& c : std::initializer_list<Case>{
           {screen + rectangle(30, 0, 11, 1, 0), Node::Error,
            "A rectangle of 11 x 1 at 30, 0, outside the framebuffer of 40 x 30"},
           {screen + rectangle(0, 0, 60000, 60000, 0xFFFFFF21), Node::Error, "A framebuffer of 60000 x 60000"},
           {screen, Node::Sleeping, "Connection lost"},
           {screen + "\x4D", Node::Sleeping, "Got unknown message 77"},
           {screen + rectangle(0, 0, 1, 1, 99), Node::Sleeping, "Unknown encoding 99"},
       }) {
    server.greet(c.words)->shutdownOutput(); // and the client goes too
    EXPECT_TRUE(test::eventually([&] { return client.node->getShortInfo() == c.info; })) << c.info;
    EXPECT_EQ(client.node->getState(), c.state) << c.info;
    EXPECT_EQ(client.log().back(), c.info);
    client.ns.disable();
    client.ns.enable();
  }
}

TEST(VNCTrouble, TellsThatThereIsNoServer) {
  std::string port;
  {
    const test::Listener other; // bound, and closed to others
    port = other.port();
    ::shutdown(other.fd(), SHUT_RDWR);
    VNCClient client(port);
    EXPECT_TRUE(client.reaches(Node::Error));
    EXPECT_EQ(client.node->getShortInfo(), "Cannot connect to 127.0.0.1: " + port);
  }
}

TEST(VNCTrouble, SendsThePointerWithoutEverWaiting) {
  Server server;
  VNCClient client(server.port());
  client.position.push(Vec2<float>(1, 0)); // before there is anybody to tell
  const auto peer = server.greet(screen);
  ASSERT_TRUE(client.runs("Connected to desk"));
  const std::string sent = test::receive(*peer, 12 + 1 + 20 + 48 + 6);
  EXPECT_EQ(sent.substr(sent.size() - 6), RFBMessage().u8(5).u8(0).u16(39).u16(29).bytes());
  // This server does not listen any more.
  for (int i = 0; i < 1'500'000; ++i)
    client.position.push(Vec2<float>(static_cast<float>(i % 40) / 39, 0));
  // A reader that is woken says so to who writes.
  std::vector<LabeledInSlot> slots;
  client.ns.getInSlots("n/Mouse Position", slots);
  slots.at(0).slot->interrupt();
  EXPECT_THROW(client.position.push(Vec2<float>(0, 0)), InterruptedException);
  EXPECT_LT(test::secondsOf([&] { client.ns.disable(); }), test::soon);
}

} // namespace
