// A host whose tree has a web node and a namespace "Many" of 50 out-slots, for web_bench.sh. Prints the port, and what
// memory an idle connection costs; ends with its standard input.
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <malloc.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <vantiflux/core/Root.h>
#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/web/WebNode.h>

namespace {

using namespace Vantiflux;

constexpr int idleConnections = 1000;

int ask(std::uint16_t port) {
  const int client = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  if (connect(client, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0)
    return client;
  const std::string request = "GET /Style.css HTTP/1.1\r\nHost: localhost\r\n\r\n";
  char reply[4096];
  if (write(client, request.data(), request.size()) > 0 && read(client, reply, sizeof(reply)) > 0)
    return client;
  return client;
}

std::size_t bytesPerConnection(std::uint16_t port) {
  std::vector<int> clients(idleConnections);
  clients[0] = ask(port);
  const std::size_t before = mallinfo2().uordblks;
  for (int i = 1; i < idleConnections; ++i)
    clients[static_cast<std::size_t>(i)] = ask(port);
  const std::size_t after = mallinfo2().uordblks;
  for (const int client : clients)
    close(client);
  return (after - before) / (idleConnections - 1);
}

} // namespace

int main() {
  const rlimit limit{4096, 4096};
  setrlimit(RLIMIT_NOFILE, &limit);
  std::vector<std::unique_ptr<OutSlot<float>>> slots;
  Root& root = Root::the();
  auto node = std::make_unique<WebNode>();
  const WebNode& web = *node;
  node->setAddress("127.0.0.1");
  {
    const Root::WriteLock lock;
    root.addNamespace(std::move(node));
    root.addNamespace("Many", std::make_unique<Namespace>());
    for (int i = 0; i < 50; ++i) {
      slots.push_back(std::make_unique<OutSlot<float>>("A slot among others, with a description of its own"));
      root.getNamespace("Many")->addOutSlot("Sensor/Channel " + std::to_string(i), slots.back().get());
    }
  }
  std::printf("%d %zu\n", web.getActualPort(), bytesPerConnection(web.getActualPort()));
  std::fflush(stdout);
  while (std::getchar() != EOF) {
  }
  const Root::WriteLock lock;
  root.clear();
}
