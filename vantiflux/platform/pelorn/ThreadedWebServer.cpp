#include <vantiflux/platform/pelorn/ThreadedWebServer.h>

#include <cerrno>
#include <utility>

#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/Lookup.h>
#include <vantiflux/platform/pelorn/WebCore.h>
#include <vantiflux/platform/pelorn/WebVisitors.h>

namespace Pelorn {

ThreadedWebServer::ThreadedWebServer() : visitors_(std::make_shared<WebVisitors>()) {}

ThreadedWebServer::~ThreadedWebServer() {
  closeAndWait();
}

void ThreadedWebServer::closeAndWait() {
  ThreadedWebServer::close();
  visitors_->end();
}

void ThreadedWebServer::open(const std::string& address, std::uint16_t port, const std::string& realm,
                             const std::string& product) {
  close();
  const InetAddress interface =
      address.empty() ? InetAddress::any() : lookUpAddress(address, Deadline(lookUpTime), nullptr);
  if (!interface.isValid())
    throw IOException("Cannot listen on " + address + ": unknown host", EADDRNOTAVAIL);
  setRealm(realm);
  std::shared_ptr<WebCore> core;
  {
    const std::lock_guard guard(lock_);
    core = std::make_shared<WebCore>(*this, visitors_, limits_, keeper_, product.empty() ? getName() : product);
  }
  core->open(interface, port);
  const std::lock_guard guard(lock_);
  core_ = std::move(core);
}

void ThreadedWebServer::close() {
  std::shared_ptr<WebCore> core;
  {
    const std::lock_guard guard(lock_);
    core.swap(core_);
  }
  if (core)
    core->close();
}

std::shared_ptr<WebCore> ThreadedWebServer::core() const {
  const std::lock_guard guard(lock_);
  return core_;
}

std::size_t ThreadedWebServer::getNumClients() const {
  const auto core = this->core();
  return core ? core->getNumConnections() : 0;
}

void ThreadedWebServer::addLog(const std::string& line) {
  WebServer::addLog(line);
}

SocketAddress ThreadedWebServer::getSocketAddress() const {
  const auto core = this->core();
  return core ? core->getAddress() : SocketAddress();
}

void ThreadedWebServer::setLimits(const WebLimits& limits) {
  const std::lock_guard guard(lock_);
  limits_ = limits;
}

void ThreadedWebServer::setKeeper(Keeper keeper) {
  const std::lock_guard guard(lock_);
  keeper_ = std::move(keeper);
}

} // namespace Pelorn
