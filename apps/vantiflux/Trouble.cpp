#include "Trouble.h"

#include <utility>

#include <vantiflux/core/Node.h>
#include <vantiflux/core/Root.h>

#include "Messages.h"
#include "Printable.h"

namespace Host {

using Vantiflux::Namespace;
using Vantiflux::Node;
using Vantiflux::Root;

namespace {

void addTrouble(const Namespace& space, const std::string& place, std::vector<std::string>& lines) {
  for (const Namespace* const child : space.getNamespaces()) {
    const std::string label = place + child->getLabel();
    const auto* const node = dynamic_cast<const Node*>(child);
    if (node != nullptr && node->getState() == Node::Error)
      lines.push_back(printable(label + ": " + node->getShortInfo()));
    addTrouble(*child, label + "/", lines);
  }
}

} // namespace

std::vector<std::string> troubleIn(const Namespace& space) {
  std::vector<std::string> lines;
  addTrouble(space, "", lines);
  return lines;
}

void TroubleTeller::look() {
  std::set<std::string> now;
  {
    const Root::ReadLock lock;
    for (std::string& line : troubleIn(Root::the()))
      now.insert(std::move(line));
  }
  for (const std::string& line : now)
    if (!told_.contains(line))
      tell(line);
  told_ = std::move(now);
}

} // namespace Host
