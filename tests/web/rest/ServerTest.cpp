#include <vantiflux/web/rest/RESTInterceptor.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/web/WebNode.h>
#include <web/Client.h>
#include <web/rest/Subscriber.h>
#include <web/rest/Tree.h>

using namespace Vantiflux;
using test::Answer;
using test::Client;
using test::Planted;
using test::SlotNode;

namespace {

class LocalWebNode : public WebNode {
public:
  LocalWebNode() { setAddress("127.0.0.1"); }
};

class RESTServer : public testing::Test {
protected:
  RESTServer() {
    number->out.push(1.5F);
    port = web->getActualPort();
  }

  Answer ask(const std::string& method, const std::string& path, const std::string& headers = {}) const {
    return Client(port).ask(method, path, headers);
  }
  Answer post(const std::string& path, const std::string& body) const { return Client(port).post(path, body); }

  Planted<LocalWebNode> web{"the web"};
  Planted<SlotNode<float>> number{"number"};
  std::uint16_t port = 0;
};

const std::string valuePath = "/Vantiflux/element/number/Out/data.string";
const std::string inPath = "/Vantiflux/element/number/In";

} // namespace

// What curl can ask stands in rest_story.py.
TEST_F(RESTServer, TheBodyOfAnotherMethodIsNeverTakenForARequest) {
  Client put(port);
  put.send("PUT " + inPath + " HTTP/1.1\r\nHost: x\r\nContent-Length: 22\r\n\r\nDELETE / HTTP/1.1\r\n\r\n");
  EXPECT_EQ(put.receive().status, 200);
  std::size_t rest = 0;
  EXPECT_TRUE(put.readToEnd(&rest));
  EXPECT_EQ(rest, 0U);
}

TEST_F(RESTServer, AsksForCredentialsEverywhere) {
  web->setUserId("who");
  web->setPassword("secret");
  const std::string upgrade = "Connection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
                              "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n";
  const std::string mine = "Authorization: Basic d2hvOnNlY3JldA==\r\n";
  for (const char* const method : {"GET", "POST", "PUT", "HEAD", "DELETE", "OPTIONS"})
    EXPECT_EQ(ask(method, valuePath).status, 401) << method;
  EXPECT_EQ(ask("OPTIONS", valuePath, "Origin: http://x\r\nAccess-Control-Request-Method: POST\r\n").status, 200);
  EXPECT_EQ(ask("GET", valuePath, "Authorization: Basic d2hvOndyb25n\r\n").status, 401);
  EXPECT_EQ(ask("GET", valuePath, mine).body, "1.5");
  EXPECT_EQ(ask("GET", valuePath, upgrade).status, 401);
  EXPECT_EQ(ask("GET", valuePath, upgrade + mine).status, 101);
  // Nor does another site write with what the browser knows.
  const std::string other = mine + "Origin: http://elsewhere\r\n";
  EXPECT_EQ(ask("GET", valuePath, other).status, 200);
  EXPECT_EQ(ask("GET", valuePath, upgrade + other).status, 403);
  EXPECT_EQ(ask("DELETE", valuePath, other).status, 403);
  EXPECT_EQ(ask("DELETE", valuePath, mine + "Origin: http://localhost\r\n").status, 200);
  web->setUserId("");
  web->setPassword("");
  EXPECT_EQ(ask("DELETE", valuePath, other).status, 200) << "where nobody is asked who he is, anybody may";
}

namespace {

/// Nested nodes, and slots that come and go with what they belong to.
struct Lively {
  Lively() {
    node->addNamespace("inner", std::make_unique<SlotNode<test::List<float>>>());
    auto& inner = dynamic_cast<SlotNode<test::List<float>>&>(*node->getNamespace("inner"));
    inner.in.push(test::listOf<float>({1, 2}));
    node->out.push(1);
  }
  /// A pair of slots of a node that stays.
  static void lendSlots(Node& node) {
    struct Reader : BasicInSlot::Listener {
      void newData(BasicInSlot& slot) override {
        std::this_thread::yield();
        sum += dynamic_cast<InSlot<float>&>(slot).pop().getValue();
      }
      float sum = 0;
    };
    const auto reader = std::make_unique<Reader>();
    const auto in = std::make_unique<InSlot<float>>();
    const auto out = std::make_unique<OutSlot<float>>();
    const auto list = std::make_unique<InSlot<test::List<float>>>();
    in->addListener(*reader);
    out->push(1);
    list->push(test::listOf<float>({1}));
    node.addInSlot("Lent", in.get());
    node.addInSlot("List", list.get());
    node.addOutSlot("Given", out.get());
    std::this_thread::yield();
    node.removeOutSlot("Given", out.get());
    node.removeInSlot("List", list.get());
    node.removeInSlot("Lent", in.get());
  }

  Planted<SlotNode<float>> node{"short"};
};

} // namespace

// Every reply is a whole one, whatever becomes of nodes and slots meanwhile.
TEST_F(RESTServer, NodesComeAndGoUnderItsHands) {
  constexpr int enough = 600;
  std::atomic<int> replies{0};
  std::atomic<bool> done{false};
  std::vector<std::thread> walkers;
  for (int i = 0; i < 3; ++i)
    walkers.emplace_back([this, &done, &replies, i] {
      const std::vector<std::pair<std::string, std::string>> asked = {
          {"GET", "short/inner/In"}, {"GET", "short/-/Out/data.string"},
          {"POST", "short/-/In"},    {"GET", "1/0/0"},
          {"POST", "number/Lent"},   {"GET", "number/Given/data.xml"},
          {"GET", "number/List"},    {"GET", "number"},
          {"GET", "short.xml"},      {"DELETE", "short/-/Out"},
          {"POST", "1/0/In"},        {"GET", "number/3/data"}};
      for (std::size_t n = static_cast<std::size_t>(i); !done; ++n) {
        const auto& [method, tail] = asked[n % asked.size()];
        const std::string path = "/Vantiflux/element/" + tail;
        const int status = method == "POST" ? post(path, "1").status : ask(method, path).status;
        ASSERT_TRUE(status == 200 || status == 406) << method << tail << status;
        ++replies;
      }
    });
  std::thread subscriber([this, &done] {
    while (!done) {
      try {
        test::Subscriber socket(port, "/Vantiflux/element/short/-/Out/data.string");
        socket.receive();
      } catch (const boost::system::system_error&) { // the node was not there
      }
    }
  });
  while (replies < enough) {
    const Lively lively;
    Lively::lendSlots(*number);
  }
  {
    // Let the subscriber that is waiting get its value.
    const Lively lively;
    done = true;
    for (std::thread& walker : walkers)
      walker.join();
    subscriber.join();
  }
}
