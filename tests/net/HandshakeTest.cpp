// A node and peers that do not behave, or are not welcome.
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include <sys/socket.h>

#include <gtest/gtest.h>

#include <vantiflux/core/Root.h>
#include <vantiflux/net/CommandEvent.h>
#include <vantiflux/platform/pelorn/Communicator.h>
#include <vantiflux/platform/pelorn/Discovery.h>
#include <vantiflux/platform/pelorn/HelloEvent.h>
#include <vantiflux/values/SlotTypes.h>

#include "Support.h"

namespace {

/// A type of value that has no codec.
struct Odd {};

} // namespace

template <>
struct Vantiflux::TypeName<Odd> {
  static const char* getName() { return "Odd"; }
};

namespace {

using namespace test;
using namespace Vantiflux;
using Pelorn::Communicator;
using Pelorn::Event;
using Pelorn::HelloEvent;

std::size_t countOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size())
    ++count;
  return count;
}

/// On a machine that has much to do a client may be too slow for the handshake; then it takes another one.
constexpr int attempts = 20;

/// A peer made by hand.
class Client {
public:
  explicit Client(const Space& space) {
    auto socket = std::make_unique<Pelorn::LinkSocket>();
    socket->connect("127.0.0.1", space.port(), 30000);
    link = std::make_shared<Communicator>(std::move(socket), [this](Communicator& busy) {
      while (busy.flush() == Communicator::Flushed::More) {
      }
    });
  }
  std::unique_ptr<Event> receive() const {
    std::unique_ptr<Event> event;
    if (link->waitForEvent(30000) == Pelorn::WaitResult::Data)
      Event::receive(link.get(), event);
    return event;
  }
  void sendRaw(const std::string& bytes) const {
    iovec piece{const_cast<char*>(bytes.data()), bytes.size()};
    EXPECT_EQ(link->socket().send({&piece, 1}), static_cast<ssize_t>(bytes.size()));
  }
  /// Introduces itself; the lesser instance number has the last word.
  void greet(const std::string& protocol, short major, short minor, short id, unsigned long instance = 1) const {
    HelloEvent hello(protocol, "a test", major, minor);
    hello.setLink(instance, id);
    hello.send(link.get());
    Pelorn::VerdictEvent(true).send(link.get());
  }
  /// One that the node has taken as a client.
  static std::unique_ptr<Client> admitted(const Space& space, unsigned long instance = 1, short minor = 0) {
    const auto clients = [&] { return countOf(space.node->getDetailedInfo(), "User: "); };
    const std::size_t before = clients();
    for (int i = 0; i < attempts; ++i) {
      auto client = std::make_unique<Client>(space);
      client->greet("Vantiflux", 2, minor, space.node->getId(), instance);
      client->receive();
      if (eventually(
              [&] { return clients() > before || client->link->waitForEvent(0) == Pelorn::WaitResult::Error; }) &&
          clients() > before)
        return client;
    }
    throw std::runtime_error("never admitted");
  }
  /// Whether it comes to its end, behind whatever is still said.
  bool ended() const {
    while (receive() != nullptr) {
    }
    return link->waitForEvent(30000) == Pelorn::WaitResult::Error;
  }

  std::shared_ptr<Communicator> link;
};

TEST(Handshake, StrangersAreDroppedWithALineInTheLog) {
  Space space(loopbackFields());
  const short id = space.node->getId();
  {
    const Client silent(space);
    const auto hello = silent.receive();
    ASSERT_NE(dynamic_cast<HelloEvent*>(hello.get()), nullptr);
    EXPECT_EQ(dynamic_cast<HelloEvent&>(*hello).getProtocol(), "Vantiflux");
    EXPECT_EQ(dynamic_cast<HelloEvent&>(*hello).getClientName(), "C++ NetworkNode");
    EXPECT_EQ(dynamic_cast<HelloEvent&>(*hello).getMajor(), 2);
    EXPECT_TRUE(silent.ended());
    EXPECT_TRUE(space.logs("Client accepted\nClient did not perform handshake for more than one second - "
                           "disconnected\n"));
  }
  const auto expectLog = [&](const std::function<void(const Client&)>& say, const std::string& line) {
    const std::size_t before = countOf(space.log(), line + '\n');
    for (int i = 0; i < attempts && countOf(space.log(), line + '\n') == before; ++i) {
      const Client client(space);
      client.receive();
      say(client);
      EXPECT_TRUE(client.ended()) << line;
    }
    EXPECT_EQ(countOf(space.log(), line + '\n'), before + 1) << space.log();
  };
  const std::string silent = "Client accepted\nClient did not perform handshake - disconnected";
  expectLog([](const Client& c) { c.sendRaw("GET / HTTP/1.1\r\n\r\n"); }, silent);
  expectLog([](const Client& c) { CommandEvent(3).send(c.link.get()); }, silent);
  expectLog([&](const Client& c) { c.greet("Telnet", 2, 0, id); },
            "Client does not use Vantiflux protocol (it is using Telnet) - disconnected");
  expectLog([&](const Client& c) { c.greet("Vantiflux", 3, 0, id); },
            "Client does not use protocol major version 2 (it is using 3) - disconnected");
  expectLog([&](const Client& c) { c.greet("Vantiflux", 2, 0, static_cast<short>(id + 1)); },
            "Client has another ID (it is using " + std::to_string(id + 1) + ") - disconnected");
  EXPECT_EQ(space.node->getDetailedInfo(), "No clients are currently connected to the NetworkNode.<p>\n");

  // A minor version does not matter. What comes after the handshake may be nonsense, as long as it can be told apart.
  const auto admitted = Client::admitted(space, 1, 7);
  const Client& guest = *admitted;
  EXPECT_TRUE(space.logs("Handshake ok - "));
  EXPECT_NE(space.node->getDetailedInfo().find("Client: a test<br>\nProtocol: Vantiflux 2.7<p>\n"), std::string::npos);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  CommandEvent(5).send(guest.link.get());
  HelloEvent("late", "hello", 0, 0).send(guest.link.get());
  SlotCommandEvent(CommandEvent::StopOutSlot, 99).send(guest.link.get());
  CommandEvent(CommandEvent::StartInSlot).send(guest.link.get()); // of the wrong class
  AddSlotEvent add(CommandEvent::AddOutSlot);
  add.setLabel("<b>");
  add.setCodec("SFUnheardOf");
  add.send(guest.link.get());
  add.setCodec("SFString");
  add.setLabel(std::string(1025, 'x'));
  add.send(guest.link.get());
  add.setLabel("<b>");
  add.send(guest.link.get());
  EXPECT_TRUE(eventually([&] { return space.hasOut("<b>"); }));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ERROR: Unknown VantifluxCommand ID5\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Got invalid Event of type Vantiflux::CommandEvent command: 5 from client 0\n"
            "Got invalid Event of type Vantiflux::SlotCommandEvent command: 4 from client 0\n"
            "Got invalid Event of type Vantiflux::CommandEvent command: 9 from client 0\n"
            "Got invalid Event of type Vantiflux::AddSlotEvent command: 1 from client 0\n"
            "Got invalid Event of type Vantiflux::AddSlotEvent command: 1 from client 0\n");
  EXPECT_TRUE(guest.link->isOpen());
  guest.sendRaw("\xff\xff\xff\xff");
  EXPECT_TRUE(guest.ended());
  EXPECT_TRUE(space.logs("Client disconnected - "));
  EXPECT_TRUE(eventually([&] { return !space.hasOut("<b>"); }));
}

// What was received until then goes with it.
TEST(Handshake, APeerMayEndInTheMiddleOfAnImage) {
  for (const bool disabled : {false, true}) {
    Space space(loopbackFields());
    const auto client = Client::admitted(space);
    AddSlotEvent add(CommandEvent::AddOutSlot);
    add.setSlotId(5);
    add.setLabel("camera");
    add.setCodec("SFImage");
    add.send(client->link.get());
    SetStateEvent state(CommandEvent::SetOutSlotState);
    state.setSlotId(5);
    state.getState().append("\0\1\0\0\0\1\0\0\5\0\0\0", 12); // 256 by 256
    state.getState().text().resize(12 + std::size_t{3} * 256 * 256);
    client->sendRaw(state.encode()->bytes.str().substr(0, 100'000));
    EXPECT_TRUE(eventually([&] { return space.hasOut("camera"); }));
    if (disabled)
      space.node->disable();
    else
      client->link->close();
    EXPECT_TRUE(eventually([&] { return !space.hasOut("camera"); }));
  }
}

TEST(Handshake, SlotsAreOfferedStartedAndStopped) {
  Space space(loopbackFields() + std::vector<std::string>{"Prefix="}); // means the default
  OutSlot<std::string> out("of the test");
  OutSlot<Odd> odd("of a type without a codec");
  space.top.addOutSlot("out", &out);
  space.top.addOutSlot("odd", &odd);
  const auto one = Client::admitted(space, 1);
  const auto other = Client::admitted(space, 2);
  const Client& first = *one;
  const Client& second = *other;
  const auto offered = [](const Client& client) {
    const auto event = client.receive();
    const auto& add = dynamic_cast<const AddSlotEvent&>(*event);
    EXPECT_EQ(add.getCommand(), CommandEvent::AddOutSlot);
    EXPECT_EQ(add.getLabel(), Pelorn::InetAddress::getLocalHostName() + "/out");
    EXPECT_EQ(add.getDescription(), "of the test");
    EXPECT_EQ(add.getCodec(), "SFString");
    return add.getSlotId();
  };
  const unsigned long id = offered(first);
  ASSERT_EQ(offered(second), id);
  const auto expectValue = [&](const Client& client, const std::string& text, unsigned long stamp) {
    const auto event = client.receive();
    const auto& state = dynamic_cast<const SetStateEvent&>(*event);
    EXPECT_EQ(state.getSlotId(), id);
    EXPECT_EQ(state.getTimeStamp(), stamp);
    EXPECT_EQ(state.getState().text(), std::string(1, static_cast<char>(text.size())) + std::string(3, '\0') + text);
  };
  out.push(Data<std::string>("one", 1));
  EXPECT_FALSE(out.isConnected());
  SlotCommandEvent start(CommandEvent::StartOutSlot, id);
  SlotCommandEvent stop(CommandEvent::StopOutSlot, id);
  start.send(first.link.get());
  start.send(first.link.get()); // once is enough
  expectValue(first, "one", 1);
  start.send(second.link.get());
  expectValue(second, "one", 1);
  out.push(Data<std::string>("two", 2));
  expectValue(first, "two", 2);
  expectValue(second, "two", 2);
  stop.send(first.link.get());
  // Events are handled one after the other: the answer to this one comes after the stop.
  OutSlot<bool> later;
  space.top.addOutSlot("later", &later);
  SlotCommandEvent(CommandEvent::StartOutSlot, dynamic_cast<AddSlotEvent&>(*first.receive()).getSlotId())
      .send(first.link.get());
  EXPECT_TRUE(eventually([&] { return later.isConnected(); }));
  out.push(Data<std::string>("three", 3));
  dynamic_cast<AddSlotEvent&>(*second.receive());
  expectValue(second, "three", 3);
  stop.send(second.link.get());
  EXPECT_TRUE(eventually([&] { return !out.isConnected(); }));
  space.top.removeOutSlot("later", &later);
  const auto removed = first.receive();
  EXPECT_EQ(dynamic_cast<SlotCommandEvent&>(*removed).getCommand(), CommandEvent::RemoveOutSlot);
  space.top.removeOutSlot("out", &out);
  space.top.removeOutSlot("odd", &odd);
}

TEST(Handshake, AServerThatCannotOpenIsAnErrorThatPasses) {
  Space first(loopbackFields());
  testing::internal::CaptureStderr();
  Space second(loopbackFields() + std::vector<std::string>{"Port=" + std::to_string(first.port())});
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ERROR: Cannot open server for Vantiflux Network node\n");
  EXPECT_EQ(second.node->getState(), Node::Error);
  EXPECT_EQ(second.node->getShortInfo(), "Cannot open server");
  second.node->setPort(0);
  testing::internal::CaptureStdout();
  second.node->enable();
  const std::string info = second.node->getShortInfo(); // with the name that the host has
  EXPECT_EQ(info.rfind("Server listening on ", 0), 0u);
  EXPECT_NE(second.port(), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Vantiflux Network node l" + info.substr(8) + '\n');
  EXPECT_TRUE(eventually([&] { return second.node->getState() == Node::Running; }));
  second.node->disable();
  EXPECT_EQ(second.node->getState(), Node::Sleeping);
  EXPECT_EQ(second.node->getShortInfo(), "");

  // Addresses that somebody may have to be asked for are opened by the receive thread.
  second.node->setAddress("192.0.2.1"); // of no host
  second.node->enable();
  EXPECT_TRUE(eventually([&] { return second.node->getState() == Node::Error; }));
  EXPECT_EQ(second.node->getShortInfo(), "Cannot open server");
  second.node->setAddress("localhost");
  second.node->enable();
  EXPECT_TRUE(eventually([&] { return second.node->getState() == Node::Running; }));
  EXPECT_NE(second.port(), 0);
}

TEST(Handshake, ServersAreParsed) {
  NetworkNode node;
  testing::internal::CaptureStderr();
  node.setServers("a:1,,b,c:x:2,:3");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ERROR: Invalid server definition \"b\"\n");
  EXPECT_EQ(node.getServers(), "a:1,,b,c:x:2,:3");
  // Itself among its servers does no harm.
  const auto fields = loopbackFields();
  Space space(fields);
  space.node->setServers("127.0.0.1:" + std::to_string(space.port()));
  EXPECT_TRUE(space.logs("Client is this network node itself - disconnected"));
  EXPECT_EQ(space.node->getDetailedInfo(), "No clients are currently connected to the NetworkNode.<p>\n");
}

/// Removes the node that delivers to it.
class Remover : public BasicInSlot::Listener {
public:
  explicit Remover(Space& space) : space_(space) { slot.addListener(*this); }
  ~Remover() override { slot.removeListener(*this); }
  void newData(BasicInSlot&) override {
    space_.top.removeNamespace("Net");
    removed = true;
  }
  InSlot<std::string> slot;
  std::atomic<bool> removed{false};

private:
  Space& space_;
};

TEST(Handshake, ANodeMayBeRemovedByAValueThatItReceives) {
  const auto fields = loopbackFields();
  Space source(fields + std::vector<std::string>{"Prefix=S/{SlotLabel}"});
  OutSlot<std::string> out;
  source.top.addOutSlot("x", &out);
  {
    Space space(fields);
    Remover remover(space);
    space.top.addInSlot("here", &remover.slot);
    space.top.addRoute("S/x", "here");
    out.push(std::string("go"));
    EXPECT_TRUE(eventually([&] { return remover.removed.load(); }));
    EXPECT_TRUE(eventually([&] { return !space.hasOut("S/x"); }));
    space.top.removeInSlot("here", &remover.slot);
  }
  EXPECT_TRUE(eventually([&] { return !out.isConnected(); }));
  source.top.removeOutSlot("x", &out);
}

} // namespace
