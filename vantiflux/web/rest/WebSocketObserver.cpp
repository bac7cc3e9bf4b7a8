#include <vantiflux/web/rest/WebSocketObserver.h>

#include <utility>
#include <vector>

#include <vantiflux/core/Labels.h>
#include <vantiflux/core/RetiredSlots.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/core/TreeLock.h>
#include <vantiflux/platform/pelorn/WebSocketServer.h>
#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/web/rest/SlotText.h>
#include <vantiflux/web/rest/TreeAccess.h>
#include <vantiflux/web/rest/URLPath.h>
#include <vantiflux/web/rest/WebSocketObservers.h>

namespace REST {

using namespace Vantiflux;

namespace {

/// A step that the next one does not depend on. What listeners throw has nobody here to go to.
template <class Step>
void carryOut(Step step) noexcept {
  try {
    step();
  } catch (...) { // NOLINT(bugprone-empty-catch)
  }
}

// A tree that was saved while a client watched, and loaded again, still has that client's route. What was there before
// the client is not its fault.
void removeRoutesTo(const std::string& label) {
  std::vector<Route> routes;
  Root::the().getRoutesTo(label, routes);
  for (const Route& route : routes)
    if (Labels::lower(route.to) == label)
      carryOut([&] { Root::the().removeRoute(route.from, route.to); });
}

} // namespace

WebSocketObserver::WebSocketObserver(std::unique_ptr<Pelorn::WebSocketBase> socket, std::string label,
                                     boost::shared_ptr<VCAttribute> attribute, const std::string& extension,
                                     std::string name)
    : label_(std::move(label)), attribute_(std::move(attribute)), name_(std::move(name)), socket_(std::move(socket)) {
  std::string base;
  mimetype(extension, base, format_);
  const std::string& attributeName = attribute_->getName();
  const bool isPath = attributeName.find('/') != std::string::npos;
  source_ = isPath ? attributeName : attribute_->getNodeLabel() + '/' + attributeName;
}

WebSocketObserver::~WebSocketObserver() = default;

bool WebSocketObserver::writes() const {
  return attribute_->getKind() == VCAttribute::Kind::InSlot && format_ == "string";
}

void WebSocketObserver::start() {
  Pelorn::WebSocketBase::Incoming incoming;
  incoming.isHeard = writes();
  if (incoming.isHeard)
    incoming.limit = Pelorn::WebSocketServer::messageLimit;
  incoming.takesLong = attribute_->getType().name == "jpg"; // decoding it, and encoding
  socket_->start(weak_from_this(), incoming);
  if (attribute_->getKind() == VCAttribute::Kind::Field)
    sendMessage(attribute_->getFieldValue(), false);
  else if (attribute_->getKind() == VCAttribute::Kind::OutSlot)
    subscribe();
}

// The value that the slot has already comes from inside `addRoute`. Each step may lend the lock of structure to a
// thread that stops the observer.
void WebSocketObserver::subscribe() {
  const TreeAccess access;
  removeRoutesTo(label_);
  const BasicOutSlot* const outSlot = stopped_ ? nullptr : attribute_->findOutSlot();
  if (outSlot == nullptr)
    return stop();
  const std::shared_ptr<BasicInSlot> inSlot = outSlot->createMatchingInSlot();
  inSlot->addListener(*this);
  {
    const std::lock_guard guard(lock_);
    inSlot_ = inSlot;
  }
  Root::the().addInSlot(label_, inSlot.get());
  if (!stopped_)
    Root::the().addRoute(source_, label_);
}

// A delivery may be under way in the slot, on a thread that has lent the lock of structure.
void WebSocketObserver::stop() noexcept {
  std::shared_ptr<BasicInSlot> inSlot;
  {
    const TreeLock lock;
    stopped_ = true;
    {
      const std::lock_guard guard(lock_);
      inSlot.swap(inSlot_);
    }
    if (inSlot != nullptr) {
      carryOut([&] { Root::the().removeRoute(source_, label_); });
      carryOut([&] { Root::the().removeInSlot(label_, inSlot.get()); });
    }
  }
  if (inSlot != nullptr) {
    carryOut([&] { inSlot->removeListener(*this); });
    const Slot* const slot = inSlot.get();
    carryOut([&] { retireSlot(std::move(inSlot), slot); });
  }
  carryOut([this] { socket_->close(); });
}

void WebSocketObserver::sendMessage(std::string message, bool binary) {
  if (binary)
    socket_->sendBinaryMessage(std::move(message));
  else
    socket_->sendMessage(std::move(message));
}

void WebSocketObserver::newData(BasicInSlot&) {
  socket_->requestReady();
}

// Who looks and takes under the slot's lock does not wait for a value that somebody else took in between. The text is
// made when the writer may go on.
void WebSocketObserver::ready() {
  std::shared_ptr<BasicInSlot> inSlot;
  {
    const std::lock_guard guard(lock_);
    inSlot = inSlot_;
  }
  if (inSlot == nullptr || format_ != "string")
    return;
  std::unique_ptr<HeldValue> value;
  {
    const std::lock_guard<const Slot> guard(*inSlot);
    if (inSlot->empty())
      return;
    value = hold<BasicInSlot, InSlot>(inSlot.get());
  }
  sendMessage(value->text(), false);
}

void WebSocketObserver::received(const std::string& message) {
  recvMessage(message);
}

// A text that is no value is the client's own affair, and what listeners throw is not the client's.
void WebSocketObserver::recvMessage(const std::string& message) {
  if (writes())
    carryOut([&] { attribute_->write(message); });
}

void WebSocketObserver::closed() {
  WebSocketObservers::the().release(*this);
}

bool belongsTo(const boost::shared_ptr<VCType>& resource, const WebSocketObserver* observer) {
  return resource->getNode() == observer->getAttribute().getNode();
}

} // namespace REST
