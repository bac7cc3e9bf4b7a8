// What clients can take of the server: time, memory, connections, threads; and its end while they are there.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <platform/DescriptorLimit.h>
#include <platform/support.h>
#include <web/Server.h>

namespace {

using namespace std::chrono_literals;
using test::Answer;
using test::Client;
using test::eventually;
using test::expectServing;
using test::Server;

// Each loop has one thread, so that it is seen who waited for whom.
TEST(WebServer, ServesOthersWhileOneAsksForMuch) {
  Pelorn::WebLimits limits;
  limits.blockedThreads = 0;
  Server server(limits);
  std::vector<Client> others; // some on each loop
  for (int i = 0; i < 8; ++i)
    EXPECT_EQ(others.emplace_back(server.port()).get("/static").status, 200);
  server.firstChange = [&others] {
    for (Client& other : others)
      other.send("GET /count HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(eventually([&] {
      return std::all_of(others.begin(), others.end(), [](const Client& other) {
        int onTheWay = 0;
        return ioctl(other.descriptor(), TIOCOUTQ, &onTheWay) == 0 && onTheWay == 0;
      });
    }));
  };
  Client busy(server.port());
  std::string all;
  for (int i = 0; i < 1000; ++i)
    all += "GET /change HTTP/1.1\r\n\r\n";
  busy.send(all);
  for (Client& other : others)
    EXPECT_LT(std::stoi(other.receive().body), 1000);
  for (int i = 0; i < 1000; ++i)
    EXPECT_EQ(busy.receive().status, 200);
}

TEST(WebServer, EndsABodyThatDoesNot) {
  Pelorn::WebLimits limits;
  limits.linger = 100ms;
  const Server server(limits);
  for (const char* const path : {"/echo", "/static"}) {
    Client client(server.port());
    client.send(std::string("POST ") + path + " HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n");
    const std::string chunk = "10000\r\n" + std::string(0x10000, 'x') + "\r\n";
    while (client.send(chunk)) {
    }
    expectServing(server);
  }
}

TEST(WebServer, BoundsLinesBetweenThePiecesOfABody) {
  Pelorn::WebLimits limits;
  limits.linger = 100ms;
  const Server server(limits);
  for (const std::string piece : {"5;e=", "0\r\nTrailer: "}) {
    Client client(server.port());
    client.send("POST /echo HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n" + piece);
    const std::string more(100, 'x');
    while (client.send(more)) {
    }
    expectServing(server);
  }
}

TEST(WebServer, EndsClientsThatAreTooSlow) {
  Pelorn::WebLimits limits;
  limits.headTime = limits.bodyTime = limits.linger = 100ms;
  limits.rate = 1 << 30;
  Server server(limits);
  Client head(server.port()), body(server.port()), drops(server.port());
  head.send("GET /echo HTTP/1.1\r\nHo");
  body.send("POST /echo HTTP/1.1\r\nContent-Length: 10\r\n\r\nabc");
  EXPECT_EQ(head.receive().status, 408);
  EXPECT_EQ(body.receive().status, 408);
  // Each byte comes in time, and all of them too slowly.
  drops.send("POST /echo HTTP/1.1\r\nContent-Length: 1000000\r\n\r\n");
  int dropped = 0;
  while (dropped < 1000000 && drops.send("x"))
    ++dropped;
  EXPECT_LT(dropped, 1000000);
  server.setLimits({});
  server.open("127.0.0.1", 0, "", "");
  expectServing(server);
}

TEST(WebServer, KeepsNoMoreThanItMay) {
  Pelorn::WebLimits limits;
  limits.memory = 200000;
  limits.bodyTime = 1h;
  const Server server(limits);
  const std::string head = "POST /echo HTTP/1.1\r\nContent-Length: ";
  for (int i = 0; i < 20; ++i) {
    {
      Client client(server.port()), large(server.port());
      EXPECT_EQ(client.post("/echo", std::string(90000, 'x')).status, 200);
      EXPECT_EQ(large.post("/echo", std::string(200001, 'x')).status, 503);
      EXPECT_EQ(client.get("/big").status, 503);
      std::optional<Client> slow; // another one each time: that may be refused which comes later
      EXPECT_TRUE(eventually([&] {
        slow.emplace(server.port()).send(head + "190000\r\n\r\n" + std::string(160000, 'x'));
        return Client(server.port()).post("/echo", std::string(70000, 'x')).status == 503;
      }));
      EXPECT_EQ(Client(server.port()).post("/echo", std::string(60000, 'x')).status, 200) << "beside that, too";
    }
    EXPECT_TRUE(eventually([&] { return server.getNumClients() == 0; })) << "what has gone counts no more";
  }
}

TEST(WebServer, MakesRoomAmongItsConnections) {
  Pelorn::WebLimits limits;
  limits.connections = 4;
  limits.idle = limits.headTime = 1h;
  const Server server(limits);
  std::vector<Client> clients;
  for (int i = 0; i < 12; ++i) // those before make room, the first first
    EXPECT_EQ(clients.emplace_back(server.port()).get("/static").status, 200) << i;
  EXPECT_TRUE(clients[0].readToEnd());
  for (int i = 0; i < 6; ++i)
    clients.emplace_back(server.port()).send("GET /static HTTP/1.1\r\nHost");
  EXPECT_EQ(clients.emplace_back(server.port()).get("/static").status, 200) << "where nobody is idle too";
  EXPECT_LE(server.getNumClients(), 4U);
}

TEST(WebServer, EndsClientsThatDoNothing) {
  Pelorn::WebLimits limits;
  limits.idle = limits.stall = 100ms;
  const Server server(limits);
  Client idle(server.port()), reader;
  reader.setReceiveBuffer(4096);
  ASSERT_TRUE(reader.connect(server.port()));
  reader.send("GET /big HTTP/1.1\r\n\r\n");
  std::size_t size = 1;
  EXPECT_TRUE(idle.readToEnd(&size));
  EXPECT_EQ(size, 0U);
  pollfd reply{reader.descriptor(), POLLIN, 0}; // it has been accepted then
  EXPECT_EQ(poll(&reply, 1, 60000), 1);
  EXPECT_TRUE(eventually([&] { return server.getNumClients() == 0; })) << "one that takes nothing is ended too";
  EXPECT_TRUE(reader.readToEnd(&size));
  EXPECT_LT(size, Server::bigSize);
}

std::size_t numberOfThreads() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

TEST(WebServer, SpendsNoThreadOnAThousandConnections) {
  const test::DescriptorLimit limit;
  if (!limit.set(4096))
    GTEST_SKIP() << "the system does not let a process have so many descriptors";
  const Server server;
  expectServing(server);
  const std::size_t threads = numberOfThreads();
  std::vector<Client> clients;
  for (int i = 0; i < 1000; ++i)
    EXPECT_EQ(clients.emplace_back(server.port()).get("/static").status, 200) << i;
  EXPECT_EQ(server.getNumClients(), 1000U);
  EXPECT_LT(numberOfThreads(), threads + 32) << "a few may have stood in for one that was held up";
  for (Client& client : clients)
    client.send("GET /echo?again HTTP/1.1\r\n\r\n");
  for (Client& client : clients)
    EXPECT_EQ(client.receive().body, "GET|again=|");
}

std::size_t numberOfDescriptors() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

const std::size_t descriptorsAtStart = numberOfDescriptors();

TEST(WebServer, MakesRoomWhenDescriptorsRunOut) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer looks at memory by means of descriptors";
#endif
  ASSERT_TRUE(eventually([] { return numberOfDescriptors() <= descriptorsAtStart; }))
      << "earlier servers give theirs back";
  const Server server;
  const test::DescriptorLimit limit;
  std::vector<Client> clients(60); // all have their own descriptors now
  ASSERT_TRUE(clients[0].connect(server.port()));
  ASSERT_EQ(clients[0].get("/static").status, 200);
  // None is left below the highest in use.
  int highest = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
    highest = std::max(highest, std::stoi(entry.path().filename()));
  std::vector<Pelorn::Descriptor> fillers;
  for (int filler = 0; filler <= highest; filler = fillers.back().get())
    fillers.emplace_back(dup(0));
  fillers.pop_back();
  ASSERT_TRUE(limit.set(static_cast<rlim_t>(highest) + 1));
  for (std::size_t i = 1; i < clients.size(); ++i) {
    ASSERT_TRUE(clients[i].connect(server.port()));
    EXPECT_EQ(clients[i].get("/static").status, 200) << i;
  }
  EXPECT_TRUE(clients[0].readToEnd());
}

TEST(WebServer, ServesOthersWhileRequestsWait) {
  Server server;
  std::vector<Client> waiting;
  for (int i = 0; i < 24; ++i)
    waiting.emplace_back(server.port()).send("GET /wait HTTP/1.1\r\n\r\nGET /echo?then HTTP/1.1\r\n\r\n");
  EXPECT_TRUE(eventually([&] { return server.door.waiting() == 24; }));
  for (int i = 0; i < 8; ++i)
    expectServing(server);
  server.door.open();
  for (Client& client : waiting) {
    EXPECT_EQ(client.receive().body, "through");
    EXPECT_EQ(client.receive().body, "GET|then=|");
  }
}

TEST(WebServer, ClosesWithoutWaitingAndStillReplies) {
  auto server = std::make_unique<Server>();
  const std::uint16_t port = server->port();
  Client waiting(port), idle(port);
  EXPECT_EQ(idle.get("/static").status, 200);
  waiting.send("GET /wait HTTP/1.1\r\n\r\n");
  EXPECT_TRUE(eventually([&] { return server->door.waiting() == 1; }));
  server->close();
  EXPECT_FALSE(server->getSocketAddress().isValid());
  EXPECT_TRUE(idle.readToEnd());
  EXPECT_FALSE(Client().connect(port));
  server->open("127.0.0.1", port, "", "");
  expectServing(*server);
  server->close();
  server->door.open();
  const Answer answer = waiting.receive();
  EXPECT_EQ(answer.body, "through");
  EXPECT_EQ(answer.header("Connection"), "close");
  EXPECT_TRUE(waiting.readToEnd());
  server.reset(); // waits for whoever is still inside
  EXPECT_THROW(Server().open("192.0.2.1", 0, "", ""), Pelorn::IOException);
}

TEST(WebServer, EndsClientsThatComeWhileItCloses) {
  for (int i = 0; i < 100; ++i) {
    Server server;
    const std::uint16_t port = server.port();
    std::vector<Client> clients(20);
    std::atomic<std::size_t> connected{0};
    std::thread comer([&] {
      for (Client& client : clients)
        connected += client.connect(port) ? 1 : 0;
    });
    EXPECT_TRUE(eventually([&] { return connected > 0; }));
    server.close();
    comer.join();
    for (std::size_t k = 0; k < connected; ++k) {
      clients[k].send("GET /static HTTP/1.1\r\n\r\n"); // the system may tell only who says something
      EXPECT_TRUE(clients[k].readToEnd());
    }
  }
}

} // namespace
