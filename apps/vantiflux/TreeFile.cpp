#include "TreeFile.h"

#include <exception>

#include <vantiflux/core/Exception.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/platform/pelorn/URL.h>
#include <vantiflux/state/StateKeeperXML.h>

namespace Host {

using Vantiflux::Root;

void loadTree(const std::string& file) {
  const Root::WriteLock lock;
  try {
    Vantiflux::StateKeeperXML::load(Root::the(), Pelorn::URL::parse(file));
  } catch (const std::exception& error) {
    const std::string why = error.what();
    throw Vantiflux::Exception((file.empty() ? "\"\"" : file) + ": " + (why.empty() ? "cannot be loaded" : why));
  }
  Root::the().setDirty(false);
}

ClearAtEnd::~ClearAtEnd() {
  const Root::WriteLock lock;
  Root::the().clear();
}

} // namespace Host
