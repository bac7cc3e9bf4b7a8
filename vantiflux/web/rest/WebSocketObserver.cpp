#include <vantiflux/web/rest/WebSocketObserver.h>

#include <exception>
#include <utility>

#include <vantiflux/core/Root.h>
#include <vantiflux/core/TreeLock.h>
#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/web/rest/SlotText.h>
#include <vantiflux/web/rest/TreeAccess.h>
#include <vantiflux/web/rest/URLPath.h>
#include <vantiflux/web/rest/WebSocketObservers.h>

namespace REST {

using namespace Vantiflux;

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

void WebSocketObserver::start() {
  socket_->start(weak_from_this());
  if (attribute_->getKind() == VCAttribute::Kind::Field)
    socket_->sendMessage(attribute_->getFieldValue());
  else if (attribute_->getKind() == VCAttribute::Kind::OutSlot)
    subscribe();
}

// The value that the slot has already comes from inside `addRoute`.
void WebSocketObserver::subscribe() {
  const TreeAccess access;
  const BasicOutSlot* const outSlot = stopped_ ? nullptr : attribute_->findOutSlot();
  if (outSlot == nullptr)
    return stop();
  const std::shared_ptr<BasicInSlot> inSlot = outSlot->createMatchingInSlot();
  {
    const std::lock_guard guard(lock_);
    inSlot_ = inSlot;
  }
  inSlot->addListener(*this);
  Root::the().addInSlot(label_, inSlot.get());
  Root::the().addRoute(source_, label_);
}

// Once out of the root, nothing is delivered to the slot any more; who still reads it keeps it.
void WebSocketObserver::stop() {
  std::shared_ptr<BasicInSlot> inSlot;
  {
    const TreeLock lock;
    stopped_ = true;
    {
      const std::lock_guard guard(lock_);
      inSlot.swap(inSlot_);
    }
    if (inSlot != nullptr) {
      Root::the().removeRoute(source_, label_);
      Root::the().removeInSlot(label_, inSlot.get());
    }
  }
  if (inSlot != nullptr)
    inSlot->removeListener(*this);
  socket_->close();
}

void WebSocketObserver::newData(BasicInSlot&) {
  socket_->requestReady();
}

// Nobody else takes values out of the slot, so one that is there stays there.
void WebSocketObserver::ready() {
  std::shared_ptr<BasicInSlot> inSlot;
  {
    const std::lock_guard guard(lock_);
    inSlot = inSlot_;
  }
  if (inSlot != nullptr && format_ == "string" && !inSlot->empty())
    socket_->sendMessage(REST::toString<BasicInSlot, InSlot>(inSlot.get()));
}

// A text that is no value is the client's own affair.
void WebSocketObserver::received(const std::string& message) {
  if (format_ != "string")
    return;
  try {
    attribute_->write(message);
  } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
  }
}

void WebSocketObserver::closed() {
  WebSocketObservers::the().release(*this);
}

bool belongsTo(const VCType& resource, const WebSocketObserver& observer) {
  return resource.getNode() == observer.getAttribute().getNode();
}

} // namespace REST
