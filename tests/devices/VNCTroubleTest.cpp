// The VNC node with servers that fall silent, lie or do not listen.
#include <array>
#include <memory>
#include <string>
#include <vector>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <gtest/gtest.h>

#include <devices/VNCSupport.h>
#include <platform/Printed.h>
#include <vantiflux/core/InterruptedException.h>
#include <vantiflux/core/TreeLock.h>
#include <vantiflux/devices/RFBStream.h>
#include <vantiflux/platform/pelorn/ServerSocket.h>

namespace {

using namespace Vantiflux;
using test::Listener;
using test::VNCClient;

/// As far as a server gets.
const std::string letIn = "RFB 003.003\n" + std::string("\0\0\0\1", 4);
std::string screenOf(unsigned width, unsigned height) {
  return letIn +
         RFBMessage()
             .u16(width)
             .u16(height)
             .u32(0x20180001)
             .u16(255)
             .u16(255)
             .u16(255)
             .u32(0x10080000)
             .u16(0)
             .u32(4)
             .bytes() +
         "desk";
}
const std::string screen = screenOf(40, 30);

std::string rectangle(unsigned x, unsigned y, unsigned width, unsigned height, std::uint32_t encoding) {
  return RFBMessage().u32(1).u16(x).u16(y).u16(width).u16(height).u32(encoding).bytes();
}

TEST(VNCTrouble, StopsAtAnyMoment) {
  const Listener server;
  const std::string pixels = rectangle(0, 0, 40, 30, 0) + "some of the pixels";
  const std::vector<std::string> moments{
      "", "RFB 0", letIn.substr(0, 14), letIn, screen.substr(0, screen.size() - 2), screen, screen + pixels};
  VNCClient client(server.port());
  server.greet(""); // or it would be there instead of the next
  client.ns.disable();
  for (const std::string& words : moments) {
    Pelorn::Descriptor peer;
    const auto begin = [&] {
      client.ns.enable();
      peer = server.greet(words);
      if (words.size() >= screen.size()) {
        EXPECT_TRUE(client.runs("Connected to desk"))
            << client.node->getState() << ' ' << testing::PrintToString(client.log());
      }
    };
    EXPECT_TRUE(test::stopsAtOnce(begin, [&] { client.ns.disable(); })) << words.size();
    EXPECT_EQ(client.node->getState(), Node::Disabled);
  }
}

// An update that has all come may still be the work of minutes. While it begins with little, the rest comes.
TEST(VNCTrouble, StopsInTheMidstOfAnUpdate) {
  constexpr unsigned small = 8000;
  constexpr unsigned large = 7000;
  RFBMessage update;
  update.u16(0).u16(small + large);
  for (unsigned i = 0; i < small + large; ++i)
    update.u16(0).u16(1).u16(i < small ? 1 : 4096).u16(i < small ? 1 : 2047).u32(1).u32(0);
  const Listener server;
  const test::Printed printed;
  VNCClient client(server.port());
  const auto peer = server.greet(screenOf(4096, 2048) + update.bytes());
  EXPECT_TRUE(test::eventually([&] {
    const std::string text = printed.text();
    return text.size() > text.find("CopyRect") + small * std::string("CopyRect \n").size();
  }));
  EXPECT_LT(test::secondsOf([&] { client.ns.disable(); }), test::soon);
  EXPECT_EQ(client.node->getState(), Node::Disabled);
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
  const Listener server;
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
    ::shutdown(server.greet(c.words).get(), SHUT_WR); // and the client goes too
    EXPECT_TRUE(test::eventually([&] { return client.node->getShortInfo() == c.info; })) << c.info;
    EXPECT_EQ(client.node->getState(), c.state) << c.info;
    EXPECT_EQ(client.log().back(), c.info);
    client.ns.disable();
    client.ns.enable();
  }
}

// What is told of the last time does not outlive the next one.
TEST(VNCTrouble, TellsThatThereIsNoServer) {
  const Listener server(false);
  VNCClient client(server.port());
  EXPECT_TRUE(client.reaches(Node::Error));
  EXPECT_EQ(client.node->getShortInfo(), "Cannot connect to 127.0.0.1: " + server.port());
  server.listen();
  {
    const TreeLock lock;
    client.node->stop();
    client.node->start();
  }
  server.greet(screen.substr(0, screen.size() - 2));
  EXPECT_TRUE(client.reaches(Node::Sleeping));
  EXPECT_TRUE(test::eventually([&] { return client.node->getShortInfo() == "Connection lost"; }));
}

/// A server that can take little at once, and listens when it is asked to.
class NarrowServer {
public:
  NarrowServer() {
    const int buffer = 4096;
    const int segment = 536;
    EXPECT_EQ(::setsockopt(listener_.fd(), SOL_SOCKET, SO_RCVBUF, &buffer, sizeof buffer), 0);
    EXPECT_EQ(::setsockopt(listener_.fd(), IPPROTO_TCP, TCP_MAXSEG, &segment, sizeof segment), 0);
  }
  std::string port() const { return listener_.port(); }
  void greet(const std::string& words) { peer_ = listener_.greet(words); }
  std::string receive(std::size_t size) {
    while (buffer_.size() < size) {
      std::array<char, 4096> part{};
      pollfd entry{peer_.get(), POLLIN, 0};
      const ssize_t got = ::poll(&entry, 1, 30000) == 1 ? ::recv(peer_.get(), part.data(), part.size(), 0) : 0;
      if (got <= 0)
        return {};
      buffer_.append(part.data(), static_cast<std::size_t>(got));
    }
    const std::string taken = buffer_.substr(0, size);
    buffer_.erase(0, size);
    return taken;
  }
  /// What is said of the pointer next. Requests are passed over; with the 300th, nothing is to be expected any more.
  std::string pointer() {
    std::string type = receive(1);
    for (int requests = 0; type == "\3" && ++requests < 300; type = receive(1))
      receive(9);
    return type == "\5" ? type + receive(5) : std::string();
  }

private:
  Listener listener_;
  Pelorn::Descriptor peer_;
  std::string buffer_;
};

std::string pointerEvent(unsigned buttons, unsigned x, unsigned y) {
  return RFBMessage().u8(5).u8(buttons).u16(x).u16(y).bytes();
}

TEST(VNCTrouble, SendsThePointerWithoutEverWaiting) {
  NarrowServer server;
  VNCClient client(server.port());
  client.position.push(Vec2<float>(1, 0)); // before there is anybody to tell
  server.greet(screen);
  ASSERT_TRUE(client.runs("Connected to desk"));
  server.receive(12 + 1 + 20 + 48);
  EXPECT_EQ(server.pointer(), pointerEvent(0, 39, 29));
  // This server does not listen any more: at last not even of a button all can be kept.
  for (int i = 0; i < 100'000; ++i)
    client.position.push(Vec2<float>(static_cast<float>(i % 40) / 39, 1));
  for (int i = 0; i < 100'000; ++i)
    client.buttons[0].push(i % 2 == 0);
  client.buttons[2].push(true);
  // When it listens again, it comes to know how things are.
  std::size_t events = 0;
  std::string event;
  do
    event = server.pointer();
  while (!event.empty() && event != pointerEvent(4, 39, 0) && ++events < 400'000);
  EXPECT_EQ(event, pointerEvent(4, 39, 0)) << events;
  EXPECT_LT(events, 90'000u); // or there was room for all
  // A reader that is woken says so to who writes.
  std::vector<LabeledInSlot> slots;
  client.ns.getInSlots("n/Mouse Position", slots);
  slots.at(0).slot->interrupt();
  EXPECT_THROW(client.position.push(Vec2<float>(0, 0)), InterruptedException);
  EXPECT_LT(test::secondsOf([&] { client.ns.disable(); }), test::soon);
}

} // namespace
