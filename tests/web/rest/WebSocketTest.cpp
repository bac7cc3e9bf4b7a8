#include <vantiflux/web/rest/WebSocketObservers.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <core/Support.h>
#include <vantiflux/web/WebNode.h>
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

  /// What observers have in the root.
  static std::size_t traces() {
    std::vector<LabeledInSlot> slots;
    Root::the().getInSlots("ws*", slots);
    std::vector<Namespace::Route> routes;
    Root::the().getRoutes(routes);
    return slots.size() + routes.size();
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
  client.stream.close(test::beast::websocket::close_code::normal);
  waitFor([] { return observers() == 0; });
  EXPECT_EQ(traces(), 0U);
  EXPECT_FALSE(number->out.isConnected());
}

// However many values are skipped, the last one of a burst comes.
TEST_F(WebSocket, EveryClientOfABurstEndsWithTheLastValue) {
  std::vector<std::unique_ptr<Subscriber>> clients;
  for (int i = 0; i < 40; ++i)
    clients.push_back(std::make_unique<Subscriber>(port, path("number/Out/data.string")));
  for (long burst = 1; burst <= 5; ++burst) {
    for (long i = 0; i <= 500; ++i)
      number->out.push(burst * 1000 + i);
    for (const auto& client : clients)
      EXPECT_TRUE(client->receiveUntil(std::to_string(burst * 1000 + 500)));
  }
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

TEST_F(WebSocket, GetsAFieldOnce) {
  web->setFieldValue("UserId", "");
  web->setFieldValue("LogSize", "17");
  Subscriber client(port, path("the%20web/LogSize/data"));
  EXPECT_EQ(client.receive(), "17");
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
  const std::string handshake = "GET " + path("number/Out/data.string") +
                                " HTTP/1.1\r\nHost: x\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
                                "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: ";
  const std::string unmasked = "\x81\x01x";
  const std::string reserved = "\xf3\x80\x01\x02\x03\x04";
  const std::string huge = "\x81\xff\x7f\xff\xff\xff\xff\xff\xff\xff\x01\x02\x03\x04";
  const std::string notText = "\x81\x82\x01\x02\x03\x04\xfe\xfd";
  for (const std::string& frame : {unmasked, reserved, huge, notText, std::string(5000, '\xff')}) {
    test::Client client(port);
    client.send(handshake + "13\r\n\r\n");
    EXPECT_EQ(client.receive().status, 101);
    client.send(frame);
    EXPECT_TRUE(client.readToEnd());
  }
  for (const std::string& bad : {handshake + "12\r\n\r\n", handshake + "13\r\nSec-WebSocket-Key: short\r\n\r\n",
                                 handshake + "13\r\n\r\n" + std::string(4000, 'x')}) {
    test::Client client(port);
    client.send(bad);
    EXPECT_TRUE(client.readToEnd());
  }
  // Only a value can be subscribed to.
  for (const char* const tail : {"number", "number/Out", "number/Out/desc"}) {
    test::Client client(port);
    std::string plain = handshake + "13\r\n\r\n";
    plain.replace(plain.find(path("")), path("number/Out/data.string").size(), path(tail));
    client.send(plain);
    EXPECT_EQ(client.receive().status, 200) << tail;
  }
  waitFor([] { return observers() == 0; });
  number->out.push(3);
  Subscriber client(port, path("number/Out/data.string"));
  EXPECT_EQ(client.receive(), "3");
}

TEST_F(WebSocket, SendsBytesThatAreNoTextAsTheyAre) {
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
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return observers() == 0;
  });
}

TEST_F(WebSocket, ANodeThatGoesLeavesTheClientsOfAnother) {
  Subscriber stays(port, path("number/Out/data.string"));
  auto second = std::make_unique<Planted<LocalWebNode>>("second");
  Subscriber goes((*second)->getActualPort(), path("number/Out/data.string"));
  waitFor([] { return observers() == 2; });
  second.reset();
  waitFor([] { return observers() == 1; });
  EXPECT_EQ(goes.receive(), "");
  number->out.push(5);
  EXPECT_EQ(stays.receive(), "5");
}

// A message that removes the web node ends the connection, the server, and nothing else.
TEST_F(WebSocket, AMessageMayRemoveTheWebNode) {
  auto second = std::make_unique<LocalWebNode>();
  const std::uint16_t secondPort = [&] {
    LocalWebNode* const node = second.get();
    Root::the().addNamespace("second", std::move(second));
    return node->getActualPort();
  }();
  struct Remover : BasicInSlot::Listener {
    void newData(BasicInSlot&) override { Root::the().removeNamespace("second"); }
  } remover;
  number->in.addListener(remover);
  Subscriber client(secondPort, path("number/In/data.string"));
  client.send("1");
  EXPECT_EQ(client.receive(), "");
  waitFor([] { return observers() == 0; });
  number->in.removeListener(remover);
}
