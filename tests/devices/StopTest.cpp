// Stream nodes are stopped at any moment, from any thread. A test that hangs has failed.
#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <devices/Support.h>
#include <vantiflux/core/NodeType.h>
#include <vantiflux/devices/SerialNode.h>
#include <vantiflux/devices/SerialStateNode.h>
#include <vantiflux/devices/TCPClientNode.h>
#include <vantiflux/devices/TCPServerNode.h>
#include <vantiflux/devices/UDPNode.h>

namespace {

using namespace Vantiflux;
using test::Bench;
using test::eventually;

/// Stops and starts a node that is in the middle of something, by several threads at once.
template <class NodeClass>
void stopFromAllSides(Bench<NodeClass>& bench, const std::function<bool()>& busy) {
  for (int round = 0; round < 5; ++round) {
    bench.route();
    ASSERT_TRUE(busy());
    std::vector<std::thread> threads;
    threads.emplace_back([&] { bench.ns.disable(); });
    threads.emplace_back([&] { bench.unroute(); });
    threads.emplace_back([&] { bench.ns.disable(); });
    for (std::thread& thread : threads)
      thread.join();
    EXPECT_EQ(bench.node->getState(), Node::Disabled);
    bench.ns.enable();
  }
}

const std::string pauses(100, '#');

TEST(Stop, WhileALineIsSilent) {
  test::Pty pty;
  Bench<SerialNode> serial({{"Device", pty.path()}});
  stopFromAllSides(serial, [&] { return serial.runs("Operating"); });
  Bench<UDPNode> udp({{"LocalAddress", "127.0.0.1"}});
  stopFromAllSides(udp, [&] { return udp.runs("Operating"); });
  Bench<TCPServerNode> server({{"Address", "127.0.0.1"}});
  stopFromAllSides(server, [&] { return server.runs("Waiting"); });
}

TEST(Stop, WhileAnInitStringPauses) {
  test::Pty pty;
  Bench<SerialNode> serial({{"Device", pty.path()}, {"InitString", "a" + pauses}});
  stopFromAllSides(serial, [&] { return pty.receive(1) == "a"; });
  Pelorn::UDP peer;
  peer.open("127.0.0.1", 0);
  Bench<UDPNode> udp({{"RemoteAddress", "127.0.0.1"},
                      {"RemotePort", std::to_string(peer.getLocalAddress().getServicePort())},
                      {"InitString", "a" + pauses}});
  stopFromAllSides(udp, [&] {
    char byte = 0;
    int size = 1;
    return peer.waitForData(30000) == Pelorn::WaitResult::Data && peer.receive(&byte, size) && byte == 'a';
  });
}

TEST(Stop, WhileAPeerIsSilent) {
  Pelorn::ServerSocket listener;
  listener.open("127.0.0.1", 0);
  Bench<TCPClientNode> client(
      {{"Address", "127.0.0.1"}, {"Port", std::to_string(listener.getLocalAddress().getServicePort())}});
  stopFromAllSides(client, [&] { return client.runs("Communicating") && listener.accept(); });
  Bench<TCPServerNode> server({{"Address", "127.0.0.1"}, {"InitString", "a" + pauses}});
  Pelorn::Socket peer;
  stopFromAllSides(server, [&] {
    if (!server.runs("Waiting"))
      return false;
    peer.open("127.0.0.1", server.port());
    return test::receive(peer, 1) == "a";
  });
}

TEST(Stop, WhileAClientFindsNoServer) {
  Bench<TCPClientNode> refused({{"Address", "127.0.0.1"}, {"Port", std::to_string(test::freePort())}});
  stopFromAllSides(refused, [&] { return refused.runs("Trying"); });
  // A listener whose queue is full answers nothing at all.
  Pelorn::ServerSocket full;
  full.open("127.0.0.1", 0, 0);
  const std::uint16_t port = full.getLocalAddress().getServicePort();
  std::vector<std::unique_ptr<Pelorn::Socket>> waiting;
  bool answered = true;
  while (answered) {
    waiting.push_back(std::make_unique<Pelorn::Socket>());
    try {
      waiting.back()->open("127.0.0.1", port, 300);
    } catch (const Pelorn::Exception&) {
      answered = false;
    }
  }
  Bench<TCPClientNode> unanswered({{"Address", "127.0.0.1"}, {"Port", std::to_string(port)}});
  stopFromAllSides(unanswered, [&] { return unanswered.runs("Trying"); });
}

TEST(Stop, WhileAPeerTakesNoInitString) {
  std::string endless;
  endless.resize(20'000'000, 'x');
  Bench<TCPServerNode> server({{"Address", "127.0.0.1"}, {"InitString", endless}});
  Pelorn::Socket peer;
  for (int round = 0; round < 2; ++round) {
    ASSERT_TRUE(server.runs("Waiting"));
    peer.open("127.0.0.1", server.port());
    ASSERT_EQ(test::receive(peer, 1), "x");
    server.ns.disable();
    server.ns.enable();
  }
}

/// Does something on the worker's thread when the first message arrives.
struct Acting : BasicInSlot::Listener {
  explicit Acting(std::function<void()> a) : act(std::move(a)) { slot.addListener(*this); }
  ~Acting() override { slot.removeListener(*this); }
  void newData(BasicInSlot&) override {
    if (calls++ == 0) // enabling again delivers the message again
      act();
  }
  std::function<void()> act;
  std::atomic<int> calls{0};
  InSlot<std::string> slot;
};

TEST(Stop, FromTheNodesOwnMessage) {
  for (const char* const what : {"unroute", "disable", "again", "delete", "throw"}) {
    SCOPED_TRACE(what);
    const std::string action = what;
    Bench<TCPServerNode> server({{"Address", "127.0.0.1"}, {"DeinitString", "bye"}, {"MaxBytes", "1"}});
    test::Pty pty;
    Bench<SerialNode> serial({{"Device", pty.path()}, {"DeinitString", "bye"}, {"MaxBytes", "1"}});
    const auto perform = [&action](Namespace& ns, const std::string& reader) {
      if (action == "unroute")
        ns.removeRoute("n/Data out", reader);
      if (action == "disable" || action == "again")
        ns.disable();
      if (action == "again")
        ns.enable();
      if (action == "delete")
        ns.clearNamespaces();
      if (action == "throw")
        throw std::runtime_error("a listener's own trouble");
    };
    Acting onServer([&] { perform(server.ns, "acting"); });
    Acting onSerial([&] { perform(serial.ns, "acting"); });
    server.ns.addInSlot("acting", &onServer.slot);
    serial.ns.addInSlot("acting", &onSerial.slot);
    server.ns.addRoute("n/Data out", "acting");
    serial.ns.addRoute("n/Data out", "acting");
    ASSERT_TRUE(server.runs("Waiting") && serial.runs("Operating"));
    Pelorn::Socket peer;
    peer.open("127.0.0.1", server.port());
    test::send(peer, "1");
    pty.send("1");
    ASSERT_TRUE(eventually([&] { return onServer.calls > 0 && onSerial.calls > 0; }));
    if (action == "unroute") {
      EXPECT_TRUE(serial.reaches(Node::Sleeping));
    } else if (action == "disable") {
      EXPECT_EQ(test::receive(peer, 4), "bye"); // up to the end of the connection
      EXPECT_EQ(pty.receive(3), "bye");
      EXPECT_TRUE(serial.reaches(Node::Disabled) && server.reaches(Node::Disabled));
    } else if (action == "again") {
      EXPECT_EQ(test::receive(peer, 4), "bye");
      EXPECT_EQ(pty.receive(3), "bye");
      EXPECT_TRUE(server.runs("Waiting") && serial.runs("Operating"));
    } else if (action == "throw") {
      EXPECT_TRUE(serial.reaches(Node::Error) && server.reaches(Node::Error));
      EXPECT_EQ(server.node->getShortInfo(), "a listener's own trouble");
    }
    server.ns.removeInSlot("acting", &onServer.slot);
    serial.ns.removeInSlot("acting", &onSerial.slot);
  }
}

/// Nodes of all five types that are made, configured, used and removed at random, while others talk to them.
class Turmoil {
public:
  Turmoil() {
    ns_.enable();
    ns_.addInSlot("reader", &inbox_.slot);
    ns_.addOutSlot("writer", &writer_);
    listener_.open("127.0.0.1", 0);
    datagrams_.open("127.0.0.1", 0);
  }
  ~Turmoil() {
    ns_.clear();
    ns_.removeInSlot("reader", &inbox_.slot);
    ns_.removeOutSlot("writer", &writer_);
  }

  void run() {
    std::atomic<bool> over{false};
    test::Worker writing([&] {
      while (!over)
        writer_.push(std::string("text"));
    });
    // Nobody may be reading: a full line must not keep this thread.
    ASSERT_EQ(::fcntl(pty_.master(), F_SETFL, O_NONBLOCK), 0);
    test::Worker line([&] {
      char unread[4096];
      while (!over) {
        static_cast<void>(::write(pty_.master(), "line\n", 5));
        static_cast<void>(::read(pty_.master(), unread, sizeof unread));
        std::this_thread::yield();
      }
    });
    test::Worker serving([&] { serve(); });
    std::vector<std::unique_ptr<test::Worker>> changing;
    for (unsigned seed = 1; seed <= 3; ++seed)
      changing.push_back(std::make_unique<test::Worker>([this, seed] { change(seed); }));
    changing.clear();
    over = true;
    listener_.breakWait();
  }

private:
  void serve() {
    while (const auto client = listener_.accept())
      test::send(*client, "served");
  }

  void change(unsigned seed) {
    std::mt19937 random(seed);
    for (int step = 0; step < 300; ++step) {
      const std::string label = "n" + std::to_string(random() % 4);
      try {
        act(random() % 8, label, random);
      } catch (const InvalidNamespaceException&) {
        // another thread removed the node
      }
    }
  }

  void act(unsigned action, const std::string& label, std::mt19937& random) {
    switch (action) {
    case 0:
      ns_.addNamespace(label, NodeType::newInstance(types[random() % types.size()]));
      break;
    case 1:
      ns_.removeNamespace(label).reset();
      break;
    case 2:
      ns_.addRoute(label + "/Data out", "reader");
      ns_.addRoute("writer", label + "/Data in");
      break;
    case 3:
      ns_.removeRoute(label + "/Data out", "reader");
      break;
    case 4:
      ns_.removeRoute("writer", label + "/Data in");
      break;
    case 5:
      ns_.disable();
      ns_.enable();
      break;
    default:
      configure(label, random);
    }
  }

  /// The lock of structure keeps the node, as a page of a browser would by the root lock.
  void configure(const std::string& label, std::mt19937& random) {
    const TreeLock lock;
    Namespace& node = *ns_.getNamespace(label);
    node.setFieldValue("Device", pty_.path());
    node.setFieldValue("Delimiter", random() % 2 == 0 ? "10" : "-1");
    node.setFieldValue("InitString", random() % 2 == 0 ? "" : "hello#");
    node.setFieldValue("DeinitString", random() % 2 == 0 ? "" : "bye");
    node.setFieldValue("Address", "127.0.0.1");
    node.setFieldValue("LocalAddress", "127.0.0.1");
    node.setFieldValue("RemoteAddress", "127.0.0.1");
    node.setFieldValue("RemotePort", std::to_string(datagrams_.getLocalAddress().getServicePort()));
    if (node.typeName() == "TCPClient")
      node.setFieldValue("Port", std::to_string(listener_.getLocalAddress().getServicePort()));
  }

  static constexpr std::array<const char*, 5> types{"Serial", "SerialState", "TCPClient", "TCPServer", "UDP"};

  test::Pty pty_;
  Pelorn::ServerSocket listener_;
  Pelorn::UDP datagrams_;
  Namespace ns_;
  test::Inbox inbox_;
  OutSlot<std::string> writer_;
};

TEST(Stop, InAnyTurmoil) {
  Turmoil().run();
}

} // namespace
