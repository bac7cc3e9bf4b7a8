#include <vantiflux/core/Node.h>

#include <algorithm>

#include <vantiflux/core/Root.h>

namespace Vantiflux {

Node::Node() {
  Root::goFirstAtExit();
}

Node::~Node() = default;

Node::State Node::getState() const {
  const std::lock_guard guard(reportLock_);
  return state_;
}

void Node::setState(State state) {
  const std::lock_guard guard(reportLock_);
  state_ = state;
}

void Node::setState(State state, const std::string& shortInfo) {
  const std::lock_guard guard(reportLock_);
  state_ = state;
  shortInfo_ = shortInfo;
}

bool Node::changeState(State from, State next) {
  const std::lock_guard guard(reportLock_);
  const bool changes = state_ == from;
  if (changes)
    state_ = next;
  return changes;
}

std::string Node::getShortInfo() const {
  const std::lock_guard guard(reportLock_);
  return shortInfo_;
}

void Node::setShortInfo(const std::string& shortInfo) {
  const std::lock_guard guard(reportLock_);
  shortInfo_ = shortInfo;
}

const char* Node::stateName(State state) noexcept {
  switch (state) {
  case Running:
    return "Running";
  case Sleeping:
    return "Sleeping";
  case Error:
    return "Error";
  case Disabled:
    return "Disabled";
  }
  return "[NA]";
}

void Node::addLog(const std::string& line) {
  const std::lock_guard guard(reportLock_);
  log_[logWrite_] = line;
  logWrite_ = (logWrite_ + 1) % logCapacity;
  if (logWrite_ == logRead_)
    logRead_ = (logRead_ + 1) % logCapacity;
}

void Node::getLog(std::vector<std::string>& lines) const {
  lines.clear();
  const std::lock_guard guard(reportLock_);
  lines.reserve(logCapacity);
  for (std::uint32_t at = logRead_; at != logWrite_; at = (at + 1) % logCapacity)
    lines.push_back(log_[at]);
}

std::string Node::typeName() const {
  const NodeType* const nodeType = type();
  return nodeType == nullptr ? "Node" : nodeType->getName();
}

const Field* Node::findField(const std::string& name) const {
  const NodeType* const nodeType = type();
  return nodeType == nullptr ? nullptr : nodeType->getField(name);
}

void Node::setFieldValue(const std::string& name, const std::string& value) {
  if (const Field* const field = findField(name))
    field->getAccessor().set(*this, value);
  else
    Namespace::setFieldValue(name, value);
}

std::string Node::getFieldValue(const std::string& name) const {
  if (const Field* const field = findField(name))
    return field->getAccessor().get(*this);
  return Namespace::getFieldValue(name);
}

void Node::getFieldNames(std::vector<std::string>& names) const {
  Namespace::getFieldNames(names);
  const NodeType* const nodeType = type();
  if (nodeType == nullptr)
    return;
  for (std::uint32_t i = 0; i < nodeType->getNumFields(); ++i) {
    const Field& field = nodeType->getFields()[i];
    if (!field.getAccessor().sameValue(*this, field.getDefaultValue()))
      names.push_back(field.getName());
  }
}

std::string Node::getDetailedInfo() const {
  return {};
}

const NodeType* Node::type() const {
  return nullptr;
}

void Node::start() {}

void Node::stop() {}

void Node::slotStarted() {
  const Change change(*this);
  if (++startedSlots_ == 1)
    start();
}

// A slot may be stopped more often than it was started (see OutSlot::disconnect); that must not count.
void Node::slotStopped() {
  const Change change(*this);
  if (startedSlots_ > 0 && --startedSlots_ == 0)
    stop();
}

void Node::startOutSlot(BasicOutSlot&) {
  slotStarted();
}
void Node::stopOutSlot(BasicOutSlot&) {
  slotStopped();
}
void Node::startInSlot(BasicInSlot&) {
  slotStarted();
}
void Node::stopInSlot(BasicInSlot&) {
  slotStopped();
}

void Node::initialize() {
  Namespace::initialize();
  setState(Sleeping);
}

void Node::shutdown() {
  setState(Disabled);
  Namespace::shutdown();
}

bool Node::hasAttached(const Slot& slot) const {
  return std::find(attached_.begin(), attached_.end(), &slot) != attached_.end();
}

void Node::attachSlot(const std::string& label, BasicOutSlot& slot) {
  slot.addListener(*this);
  addOutSlot(label, &slot);
  attached_.push_back(&slot);
}

void Node::attachSlot(const std::string& label, BasicInSlot& slot) {
  slot.addListener(*this);
  addInSlot(label, &slot);
  attached_.push_back(&slot);
}

void Node::publishSlots() {
  addExternalRoute("*", "{NamespaceLabel}/{SlotLabel}");
}

} // namespace Vantiflux
