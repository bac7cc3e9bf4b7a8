#include <vantiflux/core/Root.h>

#include <vantiflux/core/Graveyard.h>

#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

namespace Vantiflux {

constinit std::atomic<std::uint64_t> Root::releases_{0};
constinit Root* Root::the_ = nullptr;
constinit std::atomic<bool> Root::initialized_{false};

/// Makes the root while the library is loaded.
struct RootHolder {
  RootHolder() {
    Root::the_ = ::new (memory) Root;
    std::atexit(destroy);
  }

  static void destroy() {
    static std::atomic<bool> begun{false};
    if (!begun.exchange(true))
      Root::the_->~Root();
  }

  alignas(Root) static inline unsigned char memory[sizeof(Root)];
};

namespace {

const RootHolder holder;

} // namespace

void Root::goFirstAtExit() {
  static const int armed = std::atexit(RootHolder::destroy);
  static_cast<void>(armed);
}

Root::Root() {
  initialized_ = true;
  enable();
}

// The tree is stopped while the root can still be reached, for the sake of workers that look at it on their way out.
// Libraries go before the nodes; a host with plug-ins has cleared the tree by then.
Root::~Root() {
  disable();
  initialized_ = false;
  std::vector<std::unique_ptr<Tarsil::DynamicLibrary>> libraries;
  {
    const TreeLock lock;
    libraries.swap(libraries_);
  }
  libraries.clear();
}

// Not a member: threads that still run when the root goes may hold it or wait for it.
Tarsil::Mutex& Root::mutex() noexcept {
  static auto* const mutex = new Tarsil::Mutex;
  return *mutex;
}

void Root::readLock() {
  mutex().lock();
}

void Root::writeLock() {
  mutex().lock();
}

void Root::unlock() {
  if (mutex().isLastLock())
    releases_.fetch_add(1, std::memory_order_seq_cst);
  mutex().unlock();
  Graveyard::visit();
}

void Root::failUninitialized() {
  std::fputs("FATAL: Accessed Vantiflux::Root that is not initialized!\n", stderr);
  std::abort();
}

Namespace* Root::getNamespaceFromPath(const std::string& path) {
  Namespace* current = this;
  if (path.empty())
    return current;
  for (std::size_t start = 0;;) {
    const std::size_t slash = path.find('/', start);
    current = current->getNamespace(path.substr(start, slash - start));
    if (slash == std::string::npos)
      return current;
    start = slash + 1;
  }
}

void Root::addLibrary(std::unique_ptr<Tarsil::DynamicLibrary> library) {
  const TreeLock lock;
  libraries_.push_back(std::move(library));
}

} // namespace Vantiflux
