#include <vantiflux/web/rest/RESTInterceptor.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <tests/web/rest/Client.h>
#include <tests/web/rest/Tree.h>
#include <vantiflux/web/WebNode.h>

using namespace Vantiflux;
using test::bodyOf;
using test::Connection;
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

  std::string ask(const std::string& head, const std::string& body = {}) { return test::request(port, head, body); }

  Planted<LocalWebNode> web{"the web"};
  Planted<SlotNode<float>> number{"number"};
  std::uint16_t port = 0;
};

bool has(const std::string& reply, const std::string& part) {
  return reply.find(part) != std::string::npos;
}

const std::string valuePath = "/Vantiflux/element/number/Out/data.string";

} // namespace

TEST_F(RESTServer, AnswersEveryMethod) {
  const std::string got = ask("GET " + valuePath + " HTTP/1.1");
  EXPECT_EQ(got.rfind("HTTP/1.1 200 OK\r\n", 0), 0U) << got;
  EXPECT_EQ(bodyOf(got), "1.5");
  for (const char* const header : {"Content-Type: text/plain\r\n", "Access-Control-Allow-Origin: *\r\n", "Date: "})
    EXPECT_TRUE(has(got, header)) << header;

  const std::string head = ask("HEAD " + valuePath + " HTTP/1.1");
  EXPECT_TRUE(has(head, " 200 OK") && has(head, "Content-Length: 0\r\n")) << head;
  EXPECT_EQ(bodyOf(head), "");

  const std::string options = ask("OPTIONS /x/Vantiflux HTTP/1.1");
  EXPECT_TRUE(has(options, " 200 OK") && has(options, "Connection: close\r\n"));
  EXPECT_TRUE(has(options, "Access-Control-Allow-Methods: GET, PUT, POST, DELETE, OPTIONS\r\n"));
  EXPECT_TRUE(has(options, "Access-Control-Allow-Headers: X-Accept-Encoding\r\n"));

  EXPECT_TRUE(has(ask("POST /Vantiflux/element/number/In HTTP/1.1", "-0.25"), " 200 OK"));
  EXPECT_EQ(number->in.pop().getValue(), -0.25F);
  const std::string refused = ask("POST /Vantiflux/element/number/In HTTP/1.1", "nonsense");
  EXPECT_EQ(refused.rfind("HTTP/1.1 406 Not Acceptable\r\n", 0), 0U) << refused;
  EXPECT_FALSE(has(refused, "Content-Type") || has(refused, "Access-Control"));
  EXPECT_EQ(bodyOf(refused), "");
  EXPECT_TRUE(has(ask("POST /Vantiflux/element/number/In HTTP/1.1"), " 406 ")) << "no body, no number";

  EXPECT_TRUE(has(ask("PUT /Vantiflux/element/number/In HTTP/1.1", "GET / HTTP/1.1\r\n\r\n"), " 200 OK"));
  EXPECT_TRUE(number->in.empty());
  EXPECT_TRUE(has(ask("DELETE /Vantiflux/element/number HTTP/1.1"), " 200 OK"));
  EXPECT_TRUE(has(ask("GET /index.html HTTP/1.1"), "Web Interface")) << "other paths are pages";
  EXPECT_TRUE(has(ask("GET /other/Vantiflux HTTP/1.1"), " 406 "));
  EXPECT_TRUE(has(ask("POST /Vantiflux/element/number/In HTTP/1.1\r\nContent-Length: 99999999"), " 413 "));
}

TEST_F(RESTServer, KeepsConnectionsAsTheyAsk) {
  Connection connection(port);
  const std::string get = "GET " + valuePath + " HTTP/1.1\r\nHost: x\r\n\r\n";
  for (int i = 1; i < 100; ++i) {
    connection.send(get);
    ASSERT_TRUE(has(connection.receive(), "Connection: Keep-Alive\r\n")) << i;
  }
  connection.send(get);
  EXPECT_TRUE(has(connection.receive(), "Connection: close\r\n")) << "the hundredth is the last";
  EXPECT_TRUE(connection.ends());

  const auto keeps = [this](const std::string& version, const std::string& header) {
    Connection one(port);
    one.send("GET " + valuePath + ' ' + version + "\r\nHost: x\r\n" + header + "\r\n");
    const bool kept = has(one.receive(), "Connection: Keep-Alive\r\n");
    if (!kept) {
      EXPECT_TRUE(one.ends()) << version << header;
    }
    return kept;
  };
  EXPECT_FALSE(keeps("HTTP/1.0", ""));
  EXPECT_TRUE(keeps("HTTP/1.0", "Connection: KEEP-alive\r\n"));
  EXPECT_TRUE(keeps("HTTP/1.1", "CONNECTION: whatever\r\n"));
  EXPECT_FALSE(keeps("HTTP/1.1", "connection: Close\r\n"));

  // The body of another method is never taken for a request.
  Connection put(port);
  put.send(
      "PUT /Vantiflux/element/number/In HTTP/1.1\r\nHost: x\r\nContent-Length: 22\r\n\r\nDELETE / HTTP/1.1\r\n\r\n");
  EXPECT_TRUE(has(put.receive(), " 200 OK"));
  EXPECT_TRUE(put.ends());
}

TEST_F(RESTServer, AsksForCredentialsEverywhere) {
  web->setUserId("who");
  web->setPassword("secret");
  const std::string upgrade = "\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
                              "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==";
  for (const char* const method : {"GET", "POST", "PUT", "HEAD", "DELETE", "OPTIONS"})
    EXPECT_TRUE(has(ask(method + (" " + valuePath) + " HTTP/1.1"), " 401 ")) << method;
  Connection socket(port);
  socket.send("GET " + valuePath + " HTTP/1.1\r\nHost: x\r\nConnection: Upgrade" + upgrade + "\r\n\r\n");
  EXPECT_TRUE(has(socket.receive(), " 401 "));
  EXPECT_TRUE(has(ask("OPTIONS " + valuePath + " HTTP/1.1\r\nOrigin: http://x\r\nAccess-Control-Request-Method: POST"),
                  " 200 "));
  EXPECT_TRUE(has(ask("GET " + valuePath + " HTTP/1.1\r\nAuthorization: Basic d2hvOndyb25n"), " 401 "));
  const std::string mine = "\r\nAuthorization: Basic d2hvOnNlY3JldA==";
  EXPECT_EQ(bodyOf(ask("GET " + valuePath + " HTTP/1.1" + mine)), "1.5");
  Connection admitted(port);
  admitted.send("GET " + valuePath + " HTTP/1.1\r\nHost: x\r\nConnection: Upgrade" + upgrade + mine + "\r\n\r\n");
  EXPECT_TRUE(has(admitted.receive(), " 101 "));
}

// Every reply is a whole one, whatever becomes of the nodes meanwhile.
TEST_F(RESTServer, NodesComeAndGoUnderItsHands) {
  constexpr int enough = 400;
  std::atomic<int> replies{0};
  std::atomic<bool> done{false};
  std::vector<std::thread> walkers;
  for (int i = 0; i < 3; ++i)
    walkers.emplace_back([this, &done, &replies, i] {
      const std::vector<std::string> tails = {"GET %/data.string", "GET %.xml", "POST %", "GET 1/0", "DELETE %"};
      for (std::size_t n = static_cast<std::size_t>(i); !done; ++n) {
        Connection connection(port);
        std::string path = tails[n % tails.size()];
        const std::string slot = path[0] == 'P' ? "short/In" : "short/Out";
        if (const auto at = path.find('%'); at != std::string::npos)
          path.replace(at, 1, slot);
        path.insert(path.find(' ') + 1, "/Vantiflux/element/");
        for (int k = 0; k < 20 && !done; ++k) {
          connection.send(path + " HTTP/1.1\r\nHost: x\r\nContent-Length: 1\r\n\r\n1");
          const std::string reply = connection.receive();
          ASSERT_TRUE(has(reply, " 200 OK") || has(reply, " 406 ")) << reply;
          ++replies;
          if (path[0] != 'P')
            break; // its body was not read
        }
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
