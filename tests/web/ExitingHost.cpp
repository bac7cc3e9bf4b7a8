// Ends, with a web node in the tree, while clients do what the first argument says. Status 0 and silence are the test.
#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>

#include <core/Support.h>
#include <vantiflux/core/ClockNode.h>
#include <web/WebSupport.h>

namespace {

using namespace Vantiflux;

std::atomic<int> answers{0};

void keepAsking(std::uint16_t port) {
  for (;;) {
    test::Client client(port);
    while (client.get("/Nodes.html").status == 200)
      ++answers;
  }
}

} // namespace

int main(int argc, char** argv) {
  const std::string way = argc > 1 ? argv[1] : "";
  static auto* const site = new test::Site; // its end is not to empty the tree
  Root::the().addNamespace("Clock", std::make_unique<ClockNode>());
  const std::uint16_t port = site->port();
  test::Client client(port);
  if (client.get("/index.html").status != 200)
    return 1;
  if (way == "busy") {
    for (int i = 0; i < 3; ++i)
      std::thread(keepAsking, port).detach();
    test::waitFor([] { return answers > 50; });
  } else if (way == "locked" || way == "locked_elsewhere") {
    std::atomic<bool> locked{false};
    if (way == "locked") {
      Root::the().writeLock();
    } else {
      std::thread([&locked] {
        Root::the().writeLock();
        locked = true;
        std::this_thread::sleep_for(std::chrono::hours(1));
      }).detach();
      test::waitFor([&] { return locked.load(); });
    }
    client.send("GET /Nodes.html HTTP/1.1\r\n\r\n");
    test::Client(port).get("/Style.css"); // by now the other one has begun, or will find the node closed
  }
  std::exit(0);
}
