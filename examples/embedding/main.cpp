// A program that embeds the library: it loads a tree, places slots of its own beside it, and reads and writes values
// without knowing what is behind them.
#include <exception>
#include <fstream>
#include <iostream>

#include <vantiflux/core/Root.h>
#include <vantiflux/state/StateKeeperXML.h>
#include <vantiflux/values/SlotTypes.h>

using namespace Vantiflux;

namespace {

void run(const char* file) {
  InSlot<Time> time("What the program wants to know");
  InSlot<std::string> texts("What it is told");
  OutSlot<std::string> answers("What it says itself");
  Root& root = Root::the();
  {
    const Root::WriteLock lock; // for as long as the tree is changed
    std::ifstream stream(file);
    StateKeeperXML::load(root, stream);
    root.addInSlot("My time", &time);
    root.addInSlot("My texts", &texts);
    root.addOutSlot("My answers", &answers);
    root.addRoute("Clock/Time", "My time"); // the clock starts: it has a reader now
    root.addRoute("My answers", "My texts");
  }
  for (int i = 0; i < 3; ++i) {
    const Data<Time> now = time.pop(); // blocks until there is a new value
    answers.push(Data<std::string>("tick", now.getTimeStamp()));
    std::cout << now.getValue() << ' ' << texts.pop().getValue() << std::endl;
  }
  const Root::WriteLock lock; // slots go before they are destroyed
  root.removeInSlot("My time", &time);
  root.removeInSlot("My texts", &texts);
  root.removeOutSlot("My answers", &answers);
  root.clear();
}

} // namespace

int main(int argc, char** argv) {
  try {
    run(argc > 1 ? argv[1] : "examples/trees/clock.vfx");
    return 0;
  } catch (const std::exception& e) {
    std::cerr << "embedding: " << e.what() << std::endl;
    return 1;
  }
}
