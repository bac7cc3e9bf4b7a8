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

TEST_F(RESTServer, AnswersEveryMethod) {
  const Answer got = ask("GET", valuePath);
  EXPECT_EQ(got.head.rfind("HTTP/1.1 200 OK\r\n", 0), 0U) << got.head;
  EXPECT_EQ(got.body, "1.5");
  EXPECT_EQ(got.header("Content-Type"), "text/plain");
  EXPECT_EQ(got.header("Access-Control-Allow-Origin"), "*");
  EXPECT_NE(got.header("Date"), "");

  const Answer head = ask("HEAD", valuePath);
  EXPECT_EQ(head.status, 200);
  EXPECT_EQ(head.header("Content-Length"), "0");

  const Answer options = ask("OPTIONS", "/x/Vantiflux");
  EXPECT_EQ(options.status, 200);
  EXPECT_EQ(options.header("Connection"), "close");
  EXPECT_EQ(options.header("Access-Control-Allow-Methods"), "GET, PUT, POST, DELETE, OPTIONS");
  EXPECT_EQ(options.header("Access-Control-Allow-Headers"), "X-Accept-Encoding");

  EXPECT_EQ(post(inPath, "-0.25").status, 200);
  EXPECT_FALSE(number->in.empty());
  EXPECT_EQ(number->in.top().getValue(), -0.25F);
  const Answer refused = post(inPath, "nonsense");
  EXPECT_EQ(refused.head.rfind("HTTP/1.1 406 Not Acceptable\r\n", 0), 0U) << refused.head;
  EXPECT_EQ(refused.header("Content-Type") + refused.header("Access-Control-Allow-Origin") + refused.body, "");
  EXPECT_EQ(post(inPath, "").status, 406) << "no body, no number";
  EXPECT_EQ(ask("POST", inPath).status, 406);
  EXPECT_EQ(ask("POST", inPath, "Content-Length: 99999999\r\n").status, 413);

  EXPECT_EQ(ask("PUT", inPath).status, 200);
  EXPECT_EQ(ask("DELETE", "/Vantiflux/element/number").status, 200);
  EXPECT_TRUE(ask("GET", "/index.html").has("Web Interface")) << "other paths are pages";
  EXPECT_EQ(ask("GET", "/other/Vantiflux").status, 406);
  EXPECT_EQ(ask("GET", valuePath + "?Accept=x").body, "");
}

TEST_F(RESTServer, KeepsConnectionsAsTheyAsk) {
  Client connection(port);
  for (int i = 1; i < 100; ++i)
    ASSERT_EQ(connection.get(valuePath).header("Connection"), "Keep-Alive") << i;
  EXPECT_EQ(connection.get(valuePath).header("Connection"), "close") << "the hundredth is the last";
  EXPECT_TRUE(connection.readToEnd());

  const auto keeps = [this](const std::string& version, const std::string& header) {
    Client one(port);
    one.send("GET " + valuePath + ' ' + version + "\r\nHost: x\r\n" + header + "\r\n");
    const bool kept = one.receive().header("Connection") == "Keep-Alive";
    if (!kept) {
      EXPECT_TRUE(one.readToEnd()) << version << header;
    }
    return kept;
  };
  EXPECT_FALSE(keeps("HTTP/1.0", ""));
  EXPECT_TRUE(keeps("HTTP/1.0", "Connection: KEEP-alive\r\n"));
  EXPECT_TRUE(keeps("HTTP/1.1", "CONNECTION: whatever\r\n"));
  EXPECT_FALSE(keeps("HTTP/1.1", "connection: Close\r\n"));

  // The body of another method is never taken for a request.
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

// Every reply is a whole one, whatever becomes of the nodes meanwhile.
TEST_F(RESTServer, NodesComeAndGoUnderItsHands) {
  constexpr int enough = 400;
  std::atomic<int> replies{0};
  std::atomic<bool> done{false};
  std::vector<std::thread> walkers;
  for (int i = 0; i < 3; ++i)
    walkers.emplace_back([this, &done, &replies, i] {
      constexpr const char* node = "/Vantiflux/element/short/";
      const std::vector<std::pair<std::string, std::string>> asked = {
          {"GET", "Out/data.string"}, {"GET", "Out.xml"}, {"GET", "0"}, {"GET", ""}, {"DELETE", "Out"}, {"POST", "In"}};
      for (std::size_t n = static_cast<std::size_t>(i); !done; ++n) {
        const auto& [method, tail] = asked[n % asked.size()];
        const int status = method == "POST" ? post(node + tail, "1").status : ask(method, node + tail).status;
        ASSERT_TRUE(status == 200 || status == 406) << method << tail << status;
        ++replies;
      }
    });
  std::thread subscriber([this, &done] {
    while (!done) {
      try {
        test::Subscriber socket(port, "/Vantiflux/element/short/Out/data.string");
        socket.receive();
      } catch (const boost::system::system_error&) { // the node was not there
      }
    }
  });
  for (int i = 0; replies < enough; ++i) {
    const Planted<SlotNode<float>> node("short");
    node->out.push(static_cast<float>(i));
    std::this_thread::yield();
  }
  {
    // Let the subscriber that is waiting get its value.
    const Planted<SlotNode<float>> node("short");
    node->out.push(1);
    done = true;
    for (std::thread& walker : walkers)
      walker.join();
    subscriber.join();
  }
}
