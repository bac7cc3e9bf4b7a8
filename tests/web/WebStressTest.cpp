// Pages while the tree changes, and while the node itself goes.
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <platform/support.h>
#include <vantiflux/core/ClockNode.h>
#include <vantiflux/core/InSlot.h>
#include <vantiflux/core/Namespace.h>
#include <vantiflux/values/SlotTypes.h>
#include <web/WebSupport.h>

namespace {

using namespace Vantiflux;
using test::Answer;
using test::Client;
using test::Site;

/// For the end of a scope.
class Threads {
public:
  ~Threads() {
    for (std::thread& thread : threads_)
      thread.join();
  }
  template <class Work>
  void add(Work work) {
    threads_.emplace_back(std::move(work));
  }

private:
  std::vector<std::thread> threads_;
};

TEST(WebStress, ShowsATreeThatChanges) {
  const Site site;
  std::atomic<bool> done{false};
  {
    Threads threads;
    for (const char* const pages :
         {"/SubNamespaces.html /Nodes.html /Nodes.html?node=Web /Save",
          "/Routes.html /OutSlots.html /InSlots.html /ExternalRoutes.html /ExternalRoutes.html?namespace=a"})
      threads.add([&, list = std::string(pages) + ' '] {
        Client client(site.port());
        for (std::size_t start = 0; !done; start = (list.find(' ', start) + 1) % list.size()) {
          const Answer answer = client.get(list.substr(start, list.find(' ', start) - start));
          EXPECT_TRUE(answer.status == 200 || answer.status == 500) << answer.status; // 500: "a" is not there now
        }
      });
    threads.add([&] {
      Client client(site.port());
      while (!done) {
        EXPECT_EQ(client.get("/CreateNamespace.html?label=a").status, 303);
        EXPECT_NE(client.get("/CreateNode.html?_type=Clock&_name=c&_namespace=a").status, 0);
        EXPECT_NE(client.get("/AddRoute.html?namespace=a&from=c/Time&to=*").status, 0);
        EXPECT_NE(client.get("/RemoveNamespace.html?label=a").status, 0);
      }
    });
    threads.add([&] { // with no lock either: what is removed is destroyed at once
      while (!done) {
        const auto slot = std::make_unique<InSlot<float>>("A slot that comes and goes, with a description");
        Root::the().addInSlot("passing", slot.get());
        Root::the().addExternalRoute("passing, and long enough for the heap", "external");
        Root::the().removeExternalRoute("passing, and long enough for the heap", "external");
        Root::the().removeInSlot("passing", slot.get());
      }
    });
    for (int i = 0; i < 60; ++i) {
      {
        const Root::WriteLock lock;
        Root::the().addNamespace("host", std::make_unique<ClockNode>());
        Root::the().addRoute("host/Time", "a");
      }
      Root::the().addNamespace("other", std::make_unique<ClockNode>()); // with no lock: the tree guards itself
      const Answer answer = site.get("/Nodes.html");
      EXPECT_EQ(answer.status, 200);
      {
        const Root::WriteLock lock;
        Root::the().removeNamespace("host");
        Root::the().removeRoute("host/Time", "a");
        Root::the().removeNamespace("other"); // pages keep pointers while they hold the lock
      }
    }
    done = true;
  }
  EXPECT_EQ(site.get("/index.html").status, 200);
}

TEST(WebStress, SurvivesItsOwnRemoval) {
  for (int i = 0; i < 20; ++i) {
    const Site site;
    Threads threads;
    std::atomic<int> asked{0};
    for (int t = 0; t < 3; ++t)
      threads.add([&asked, port = site.port()] {
        for (bool goesOn = true; goesOn;) { // until the connection ends
          Client client;
          goesOn = client.connect(port);
          while (goesOn && client.get("/Nodes.html").status == 200)
            ++asked;
        }
      });
    EXPECT_TRUE(test::eventually([&] { return asked > 3; }));
    const Answer answer = site.get("/RemoveNode.html?label=Web");
    EXPECT_EQ(answer.status, 303);
    EXPECT_EQ(answer.header("Connection"), "close");
    EXPECT_FALSE(Client().connect(site.port()));
  }
}

TEST(WebStress, LoadsWhatReplacesIt) {
  const Site site;
  const std::string saved = site.get("/Save").body;
  std::atomic<bool> done{false};
  {
    Threads threads;
    threads.add([&] {
      while (!done)
        Client(site.port()).get("/Nodes.html?node=Web"); // there may be none just now
    });
    for (int i = 0; i < 20; ++i) {
      const Answer answer = test::postFile(site.port(), "/Load", saved);
      EXPECT_TRUE(answer.has("State successfully loaded!")) << i << ": " << answer.head << answer.body;
      EXPECT_TRUE(site.get("/Nodes.html").has("Webserver listening on"));
    }
    done = true;
  }
}

// Who closes the server waits for no request that waits for what the closing thread holds, or anybody else.
TEST(WebStress, ClosesWhileRequestsWaitForTheRootLock) {
  for (const bool another : {false, true}) {
    const Site site;
    std::vector<Client> waiting;
    std::atomic<bool> locked{false}, removed{false};
    std::thread holder;
    if (another)
      holder = std::thread([&] {
        const Root::WriteLock lock;
        locked = true;
        EXPECT_TRUE(test::eventually([&] { return removed.load(); }));
      });
    else
      Root::writeLock();
    EXPECT_TRUE(!another || test::eventually([&] { return locked.load(); }));
    for (int i = 0; i < 12; ++i)
      waiting.emplace_back(site.port()).send("GET /Nodes.html HTTP/1.1\r\n\r\n");
    for (int i = 0; i < 4; ++i)
      EXPECT_EQ(site.get("/Style.css").body.size(), 840U) << "those that need no lock are served";
    Root::the().removeNamespace("Web");
    removed = true;
    if (another)
      holder.join();
    else
      Root::unlock();
    for (Client& client : waiting)
      EXPECT_TRUE(client.readToEnd());
    EXPECT_FALSE(Client().connect(site.port()));
  }
}

} // namespace
