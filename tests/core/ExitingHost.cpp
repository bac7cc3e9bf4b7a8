// Ends as the first argument says. Status 0 and silence are the test.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <core/Support.h>
#include <vantiflux/core/ClockNode.h>
#include <vantiflux/core/Root.h>

namespace {

using namespace Vantiflux;

std::atomic<int> seen{0};
std::atomic<bool> act{false};
void (*action)() = nullptr;

// Static, as in many hosts; made before main, so the root goes first.
test::Reader reader([] {
  ++seen;
  if (action != nullptr && act.exchange(false))
    action();
});

void buildTree() {
  const Root::WriteLock lock;
  Root& root = Root::the();
  root.addNamespace("s", std::make_unique<test::SourceNode>());
  root.addNamespace("f", std::make_unique<test::FilterNode>());
  root.addNamespace(std::make_unique<ClockNode>());
  root.addNamespace("deep", std::make_unique<Namespace>());
  root.getNamespaceFromPath("deep")->addNamespace("clock", std::make_unique<ClockNode>());
  root.addInSlot("reader", &reader.slot);
  root.addRoute("s/Out", "f/In");
  root.addRoute("f/Out", "reader");
  root.addRoute("*", "*");
}

void waitForData(int more) {
  const int before = seen;
  test::waitFor([&] { return seen > before + more; });
}

} // namespace

int main(int argc, char** argv) {
  const char* const way = argc > 1 ? argv[1] : "";
  if (std::strcmp(way, "exit_from_worker") == 0)
    action = [] { std::exit(0); };
  else if (std::strcmp(way, "root_lock_at_exit") == 0)
    action = [] { const Root::WriteLock lock; };
  else if (std::strcmp(way, "deleted_from_worker") == 0)
    action = [] { Root::the().removeNamespace("s"); };
  else if (std::strcmp(way, "buried") == 0)
    action = [] {
      Root::the().removeNamespace("s");
      std::exit(0);
    };
  buildTree();
  waitForData(3);
  act = true;
  if (action != nullptr && std::strcmp(way, "root_lock_at_exit") == 0)
    return 0; // while the worker's listener may be on its way to the root lock
  if (action != nullptr)
    test::waitFor([] { return !act.load(); });
  if (std::strcmp(way, "exit_from_worker") == 0 || std::strcmp(way, "buried") == 0)
    for (;;)
      std::this_thread::yield(); // the worker ends the process
  return 0;
}
