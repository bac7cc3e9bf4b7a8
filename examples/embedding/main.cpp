// An application that embeds the library: it has a slot of its own in the tree and reads values from it, without
// knowing where they come from. Here they come from a clock; any other out-slot of the same type could take its place
// by a route.
#include <iostream>

#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeType.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/values/SlotTypes.h>

int main() {
  using namespace Vantiflux;

  InSlot<Time> time("What the application wants to know");
  Root& root = Root::the();
  {
    const Root::WriteLock lock;
    root.addNamespace(NodeType::newInstance("Clock"));
    root.addInSlot("My time", &time);
    root.addRoute("Clock/Time", "My time"); // the clock starts: it has a reader now
  }
  for (int i = 0; i < 3; ++i)
    std::cout << time.pop().getValue() << std::endl; // blocks until there is a new value

  const Root::WriteLock lock;
  root.removeInSlot("My time", &time);
  root.clear();
}
