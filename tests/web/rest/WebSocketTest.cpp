#include <vantiflux/web/rest/WebSocketObservers.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>

#include <gtest/gtest.h>

#include <core/Support.h>
#include <platform/DescriptorLimit.h>
#include <vantiflux/platform/pelorn/WebSocketServer.h>
#include <vantiflux/platform/tarsil/ObjectThread.h>
#include <vantiflux/web/WebNode.h>
#include <vantiflux/web/rest/RESTInterceptor.h>
#include <web/Client.h>
#include <web/rest/Subscriber.h>
#include <web/rest/Tree.h>

using namespace Vantiflux;
using test::Planted;
using test::SlotNode;
using test::Subscriber;
using test::waitFor;

namespace {

std::size_t observers() {
  return REST::WebSocketObservers::the().size();
}

/// What observers have in the root.
std::size_t traces() {
  std::vector<LabeledInSlot> slots;
  Root::the().getInSlots("ws*", slots);
  std::vector<Namespace::Route> routes;
  Root::the().getRoutes(routes);
  return slots.size() + routes.size();
}

/// Of the one observer that there is.
std::string label() {
  std::vector<LabeledInSlot> slots;
  Root::the().getInSlots("ws*", slots);
  return slots.size() == 1 ? slots.front().label : std::string();
}

class LocalWebNode : public WebNode {
public:
  LocalWebNode() { setAddress("127.0.0.1"); }
};

class WebSocket : public testing::Test {
protected:
  // What the last test left behind goes when its clients are seen to be gone.
  WebSocket() {
    waitFor([] { return observers() == 0; });
    port = web->getActualPort();
  }

  static std::string path(const std::string& tail) { return "/Vantiflux/element/" + tail; }

  static std::string handshake(const std::string& tail, const std::string& rest = "13\r\n\r\n") {
    return "GET " + path(tail) +
           " HTTP/1.1\r\nHost: x\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
           "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: " +
           rest;
  }

  Planted<LocalWebNode> web{"the web"};
  Planted<SlotNode<long>> number{"number"};
  std::uint16_t port = 0;
};

} // namespace

TEST_F(WebSocket, GetsTheLastValueAndEachNewOne) {
  number->out.push(1);
  Subscriber client(port, path("NUMBER/Out/data.string"));
  EXPECT_EQ(client.receive(), "1");
  for (long i = 2; i < 50; ++i) {
    number->out.push(i);
    EXPECT_EQ(client.receive(), std::to_string(i));
  }
  EXPECT_TRUE(client.stream.got_text());
  EXPECT_EQ(traces(), 2U);
  const std::string next = "WS" + std::to_string(std::stol(label().substr(2)) + 1);
  client.stream.close(test::beast::websocket::close_code::normal);
  waitFor([] { return observers() == 0; });
  EXPECT_EQ(traces(), 0U);
  EXPECT_FALSE(number->out.isConnected());

  // A tree that was saved while somebody watched may have led something else to the next client.
  const Planted<SlotNode<long>> other("other");
  other->out.push(77);
  Root::the().addRoute("other/Out", next);
  Subscriber second(port, path("NUMBER/Out/data.string"));
  EXPECT_EQ(second.receive(), "49");
  other->out.push(78);
  number->out.push(50);
  EXPECT_EQ(second.receive(), "50");
  EXPECT_EQ(traces(), 2U);
}

// The writer never waits for clients: none reads before all is pushed. However many values are skipped, the last comes.
TEST_F(WebSocket, ManyClientsEndWithTheLastValueOfABurst) {
  std::vector<std::unique_ptr<Subscriber>> clients(
      std::min<std::size_t>(200, Pelorn::WebSocketServer::getMaxConnections()));
  for (auto& client : clients)
    client = std::make_unique<Subscriber>(port, path("number/Out/data.string"));
  auto next = std::chrono::steady_clock::now();
  for (long i = 1; i <= 1000; ++i) {
    number->out.push(i);
    std::this_thread::sleep_until(next += std::chrono::milliseconds(1));
  }
  for (long i = 1001; i <= 3000; ++i)
    number->out.push(i);
  for (const auto& client : clients)
    EXPECT_TRUE(client->receiveUntil("3000"));
}

TEST_F(WebSocket, WritesTextsIntoAnInSlotAndIgnoresNonsense) {
  Subscriber client(port, path("number/In/data.string"));
  for (const char* const text : {"", "nonsense", "1.5", " 1", "99999999999999999999", "42"})
    client.send(text);
  client.stream.binary(true);
  EXPECT_EQ(number->in.pop().getValue(), 42);
  client.send("-7");
  EXPECT_EQ(number->in.pop().getValue(), -7);
  // With another format nothing is read, and nothing sent.
  Subscriber other(port, path("number/In/data"));
  other.send("1");
  Subscriber reader(port, path("number/Out/data.xml"));
  number->out.push(3);
  for (Subscriber* const one : {&client, &other, &reader}) {
    one->stream.ping({});
    one->stream.close(test::beast::websocket::close_code::normal);
  }
  waitFor([] { return observers() == 0; });
  EXPECT_TRUE(number->in.empty());
}

TEST_F(WebSocket, OutlivesItsNodeAndFindsTheNextOneOfThatName) {
  auto first = std::make_unique<Planted<SlotNode<float>>>("passing");
  (*first)->out.push(1);
  Subscriber reader(port, path("passing/Out/data.string"));
  Subscriber writer(port, path("passing/In/data.string"));
  EXPECT_EQ(reader.receive(), "1");
  first.reset();
  writer.send("5"); // nowhere to go
  const Planted<SlotNode<float>> second("passing");
  second->out.push(2);
  EXPECT_EQ(reader.receive(), "2");
  writer.send("6");
  while (second->in.pop().getValue() != 6)
    ;
}

TEST_F(WebSocket, DeletingTakesObserversOutOfTheListOnly) {
  Subscriber client(port, path("number/Out/data.string"));
  number->out.push(1);
  EXPECT_EQ(client.receive(), "1");
  const Planted<SlotNode<long>> other("other");
  Subscriber second(port, path("other/Out/data.string"));
  waitFor([] { return observers() == 2; });
  EXPECT_EQ(REST::WebSocketObservers::the().listed(), 2U);
  EXPECT_EQ(test::ask("DELETE", path("number/In")).status, 200U) << "any attribute of the node";
  EXPECT_EQ(REST::WebSocketObservers::the().listed(), 1U);
  number->out.push(2);
  EXPECT_EQ(client.receive(), "2") << "it goes on";
  client.stream.close(test::beast::websocket::close_code::normal);
  waitFor([] { return observers() == 1; });
}

TEST_F(WebSocket, AnswersPingsAndSaysGoodBye) {
  Subscriber client(port, path("number/Out/data.string"));
  std::string pong;
  client.stream.control_callback([&](test::beast::websocket::frame_type type, test::beast::string_view payload) {
    if (type == test::beast::websocket::frame_type::pong)
      pong = payload.to_string();
  });
  client.stream.ping("hallo");
  number->out.push(1);
  while (pong.empty() && !client.receive().empty())
    number->out.push(1);
  EXPECT_EQ(pong, "hallo");
  REST::cleanup();
  EXPECT_EQ(traces(), 0U);
  EXPECT_TRUE(client.receiveUntil("") || client.stream.reason());
  EXPECT_EQ(client.stream.reason().code, test::beast::websocket::close_code::going_away);
}

// Clients that break the protocol lose their connection and nothing else.
TEST_F(WebSocket, EndsConnectionsThatBreakTheRules) {
  const std::string out = "number/Out/data.string";
  const std::string unmasked = "\x81\x01x";
  const std::string reserved = "\xf3\x80\x01\x02\x03\x04";
  const std::string huge = "\x81\xff\x7f\xff\xff\xff\xff\xff\xff\xff\x01\x02\x03\x04";
  const std::string notText = "\x81\x82\x01\x02\x03\x04\xfe\xfd";
  const std::string tooLong("\x81\xff\0\0\0\0\0\x01\0\x01\x01\x02\x03\x04", 14); // for who writes nothing
  for (const std::string& frame : {unmasked, reserved, huge, notText, tooLong, std::string(5000, '\xff')}) {
    test::Client client(port);
    client.send(handshake(out));
    EXPECT_EQ(client.receive().status, 101);
    client.send(frame);
    EXPECT_TRUE(client.readToEnd());
  }
  for (const std::string& bad : {handshake(out, "12\r\n\r\n"), handshake(out, "13\r\nSec-WebSocket-Key: short\r\n\r\n"),
                                 handshake(out) + std::string(4000, 'x')}) {
    test::Client client(port);
    client.send(bad);
    EXPECT_TRUE(client.readToEnd());
  }
  // Only a value can be subscribed to.
  for (const char* const tail : {"number", "number/Out", "number/Out/desc"}) {
    test::Client client(port);
    client.send(handshake(tail));
    EXPECT_EQ(client.receive().status, 200) << tail;
  }
  waitFor([] { return observers() == 0; });
  number->out.push(3);
  Subscriber client(port, path("number/Out/data.string"));
  EXPECT_EQ(client.receive(), "3");
}

TEST_F(WebSocket, SendsFieldsOnceAndBytesAsTheyAre) {
  web->setFieldValue("LogSize", "17");
  EXPECT_EQ(Subscriber(port, path("the%20web/LogSize/data")).receive(), "17");
  const Planted<SlotNode<std::string>> text("text");
  Subscriber client(port, path("text/Out/data.string"));
  text->out.push(std::string("gr\xc3\xbc\xc3\x9f"));
  EXPECT_TRUE(client.receiveUntil("gr\xc3\xbc\xc3\x9f"));
  EXPECT_TRUE(client.stream.got_text());
  text->out.push(std::string("\xc3\x28"));
  EXPECT_TRUE(client.receiveUntil("\xc3\x28"));
  EXPECT_TRUE(client.stream.got_binary());
}

// The writer goes on as if the client were not there, and after a while the client is not there any more.
TEST_F(WebSocket, DropsAClientThatTakesNothing) {
  const Planted<SlotNode<std::string>> text("text");
  Subscriber client(port, path("text/Out/data.string"), 4096);
  const std::string large(std::size_t{4} << 20, 'x');
  text->out.push(large);
  waitFor([&] {
    text->out.push(large);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    return observers() == 0;
  });
}

// Whoever closes the door: who is in stays, unless the node goes.
TEST_F(WebSocket, ANodeThatGoesLeavesTheClientsOfAnother) {
  Subscriber stays(port, path("number/Out/data.string"));
  auto second = std::make_unique<Planted<LocalWebNode>>("second");
  Subscriber goes((*second)->getActualPort(), path("number/Out/data.string"));
  waitFor([] { return observers() == 2; });
  second.reset();
  waitFor([] { return observers() == 1; });
  EXPECT_EQ(goes.receive(), "");
  web->disable();
  number->out.push(5);
  EXPECT_EQ(stays.receive(), "5");
}

// Whatever listeners throw, clients come and go as ever.
TEST_F(WebSocket, ListenersMayThrowAnything) {
  struct Thrower : BasicOutSlot::Listener, BasicInSlot::Listener, Namespace::Listener {
    void startOutSlot(BasicOutSlot&) override {
      if (refuses)
        throw 0;
    }
    void stopOutSlot(BasicOutSlot&) override { throw 1; }
    void newData(BasicInSlot&) override { throw 2; }
    void routeRemoved(Namespace&, const std::string&, const std::string&) override { throw 3; }
    bool refuses = false;
  } thrower;
  number->out.push(1);
  number->out.addListener(thrower);
  number->in.addListener(thrower);
  Root::the().addListener(thrower);
  {
    Subscriber leaves(port, path("number/Out/data.string"));
    EXPECT_EQ(leaves.receive(), "1");
  }
  waitFor([] { return observers() == 0; });
  EXPECT_EQ(traces(), 0U);
  {
    const Planted<LocalWebNode> second("second");
    Subscriber loses(second->getActualPort(), path("number/Out/data.string"));
    EXPECT_EQ(loses.receive(), "1");
  }
  waitFor([] { return traces() == 0; });
  Subscriber writer(port, path("number/In/data.string"));
  for (const long value : {5, 6}) {
    writer.send(std::to_string(value));
    EXPECT_EQ(number->in.pop().getValue(), value);
  }
  thrower.refuses = true;
  try {
    EXPECT_TRUE(Subscriber(port, path("number/Out/data.string")).receiveUntil("")) << "refused";
  } catch (const boost::system::system_error&) { // before it was greeted
  }
  waitFor([] { return observers() == 1; });
  EXPECT_EQ(traces(), 0U);
  number->out.removeListener(thrower);
  number->in.removeListener(thrower);
  Root::the().removeListener(thrower);
}

// A thread that waits, and lends what it holds, while it joins something to the observer's slot finds the slot there.
TEST_F(WebSocket, EndsWhileItsSlotIsBeingJoined) {
  struct Cleaner : BasicOutSlot::Listener {
    int clean() {
      REST::cleanup();
      return 0;
    }
    void startOutSlot(BasicOutSlot&) override {
      Tarsil::ObjectThread<Cleaner> thread(this, &Cleaner::clean);
      thread.start();
      thread.join();
    }
  } cleaner;
  const Planted<SlotNode<long>> other("other");
  other->out.addListener(cleaner);
  const Subscriber client(port, path("number/Out/data.string"));
  waitFor([] { return !label().empty(); });
  const std::string to = label();
  Root::the().addRoute("other/Out", to);
  EXPECT_EQ(observers(), 0U);
  Root::the().removeRoute("other/Out", to);
  EXPECT_EQ(traces(), 0U);
}

TEST_F(WebSocket, ABareServerEndsInTheMiddleOfItsRequests) {
  for (int round = 0; round < 10; ++round) {
    auto server = std::make_unique<REST::RESTInterceptor>();
    server->open("127.0.0.1", 0, "", "");
    std::atomic<int> accepted{0};
    const auto ask = [&accepted, to = server->getSocketAddress().getServicePort()] {
      for (int status = 101; status == 101; ++accepted) {
        test::Client client(to);
        client.send(handshake("number/Out/data.string"));
        status = client.receive().status;
      }
    };
    std::thread first(ask);
    std::thread second(ask);
    waitFor([&] { return accepted > 5; });
    server.reset();
    EXPECT_EQ(observers(), 0U);
    EXPECT_EQ(traces(), 0U);
    first.join();
    second.join();
  }
}

// A message may take away all there is, the server that it came to, too.
TEST(WebSocketRoot, MayBeClearedByAMessage) {
  struct Clearer : BasicInSlot::Listener {
    void newData(BasicInSlot&) override { Root::the().clear(); }
  } clearer;
  auto web = std::make_unique<LocalWebNode>();
  auto number = std::make_unique<SlotNode<long>>();
  number->in.addListener(clearer);
  LocalWebNode& kept = *web;
  Root::the().addNamespace("web", std::move(web));
  Root::the().addNamespace("number", std::move(number));
  Subscriber client(kept.getActualPort(), "/Vantiflux/element/number/Out/data.string");
  Subscriber writer(kept.getActualPort(), "/Vantiflux/element/number/In/data.string");
  waitFor([] { return observers() == 2; });
  writer.send("1");
  EXPECT_EQ(client.receive(), "");
  EXPECT_EQ(writer.receive(), "");
  waitFor([] { return observers() == 0; });
  EXPECT_EQ(traces(), 0U);
  EXPECT_TRUE(Root::the().getNamespaces().empty());
}

TEST_F(WebSocket, LeavesDescriptorsForOthers) {
  // So much that there is room for both ends of a quarter, and something more.
  unsigned used = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
    used = std::max(used, static_cast<unsigned>(std::stoul(entry.path().filename())));
  const test::DescriptorLimit limit;
  ASSERT_TRUE(limit.set(2 * (used + 60)));
  number->out.push(1);
  const std::size_t most = Pelorn::WebSocketServer::getMaxConnections();
  std::vector<std::unique_ptr<Subscriber>> clients;
  while (clients.size() < most)
    clients.push_back(std::make_unique<Subscriber>(port, path("number/Out/data.string")));
  test::Client over(port);
  over.send(handshake("number/Out/data.string"));
  EXPECT_TRUE(over.readToEnd());
  clients.pop_back();
  waitFor([&] { return observers() == most - 1; });
  EXPECT_EQ(Subscriber(port, path("number/Out/data.string")).receive(), "1");
}

TEST_F(WebSocket, BoundsWhatClientsSend) {
  const Planted<SlotNode<std::string>> text("text");
  const std::string in = "text/In/data.string";
  const std::string largest(Pelorn::WebSocketServer::messageLimit, 'x');
  Subscriber client(port, path(in));
  client.send(largest); // in many frames
  EXPECT_EQ(text->in.pop().getValue().size(), largest.size());
  client.send(largest + 'x');
  EXPECT_EQ(client.receive(), "");
  EXPECT_EQ(client.stream.reason().code, test::beast::websocket::close_code::too_big);
  // Together more than there is room for, and each comes only in part.
  {
    struct Tight {
      ~Tight() { Pelorn::WebSocketServer::setMemoryLimit(before); }
      const std::size_t before = Pelorn::WebSocketServer::setMemoryLimit(Pelorn::WebSocketServer::messageLimit);
    } const tight;
    std::vector<test::Client> holders;
    std::vector<pollfd> looked;
    for (int i = 0; i < 2; ++i) {
      test::Client& holder = holders.emplace_back(port);
      holder.send(handshake(in));
      EXPECT_EQ(holder.receive().status, 101);
      holder.send(std::string("\x82\xff\0\0\0\0\x01\0\0\0\0\0\0\0", 14));
      holder.send({largest.data(), largest.size() / 2 + 1});
      looked.push_back({holder.descriptor(), POLLIN, 0});
    }
    EXPECT_GT(poll(looked.data(), looked.size(), 60000), 0);
    EXPECT_TRUE(std::any_of(looked.begin(), looked.end(), [](const pollfd& one) {
      char said[4] = {};
      return one.revents != 0 && recv(one.fd, said, sizeof said, MSG_WAITALL) == 4 &&
             std::string(said, 4) == "\x88\x02\x03\xf5";
    })) << "try again later";
  }
  waitFor([] { return observers() == 0; });
  Subscriber later(port, path(in));
  later.send(largest);
  EXPECT_EQ(text->in.pop().getValue().size(), largest.size());
}
