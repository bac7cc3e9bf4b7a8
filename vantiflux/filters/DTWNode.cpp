#include <vantiflux/filters/DTWNode.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <utility>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/core/TreeLock.h>
#include <vantiflux/platform/tarsil/Console.h>

namespace Vantiflux {

using N = DTWNode;

template <>
const char* const NodeDescription<N>::typeName_ = "DTWNode";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Driver for Foo trackers.";
template <>
const char* const NodeDescription<N>::longDescription_ = "Dynamic Time Warping (DTW) node";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("randMax", "The rand max for the vector values", "10", &N::setRandMax, &N::getRandMax),
    fieldRow<N>("TemplateFolder", "The folder with the templates of the gestures, absolute or looked for", "gestures",
                &N::setTemplateFolder, &N::getTemplateFolder),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* DTWNode::type() const {
  return &type_;
}

DTWNode::DTWNode() {
  test_.addListener(*this);
  distance_.addListener(*this);
  gesture_.addListener(*this);
  for (ButtonSlot& button : buttons_)
    button.slot.addListener(*this);
  acc_.addListener(*this);
  publishSlots();
}

DTWNode::~DTWNode() {
  disable();
  DTWNode::stop();
}

// Publishing connects slots, and who is called then may disable the node.
void DTWNode::initialize() {
  Tarsil::printErrorLine("Foo: Run initialize");
  Node::initialize();
  mode_ = GestureReader::RecordTemplates;
  {
    const std::lock_guard guard(queueLock_);
    queue_.clear(); // of the time before
    overflowed_ = false;
  }
  const TreeLock lock;
  const unsigned publication = publication_;
  const auto enabled = [&] { return publication_ == publication; };
  for (const auto& [label, slot] :
       {std::pair<const char*, BasicOutSlot*>("test", &test_), {"distance", &distance_}, {"gesture", &gesture_}})
    if (enabled())
      addOutSlot(label, slot);
  for (ButtonSlot& button : buttons_)
    if (enabled())
      addInSlot(button.label, &button.slot);
  if (enabled())
    addInSlot("acc", &acc_);
}

void DTWNode::shutdown() {
  Tarsil::printErrorLine("Foo: Run shutdown");
  stop();
  const TreeLock lock;
  ++publication_;
  removeInSlot("acc", &acc_);
  for (ButtonSlot& button : buttons_)
    removeInSlot(button.label, &button.slot);
  removeOutSlot("gesture", &gesture_);
  removeOutSlot("distance", &distance_);
  removeOutSlot("test", &test_);
  Node::shutdown();
}

// Two writers of one slot may leave one value for two calls: the second finds it taken.
void DTWNode::newData(BasicInSlot& slot) {
  Event event{nullptr, false, {}};
  const std::lock_guard guard(queueLock_);
  if (slot.empty())
    return;
  if (&slot == &acc_) {
    event.acceleration = acc_.pop().getValue();
  } else {
    const auto found =
        std::find_if(buttons_.begin(), buttons_.end(), [&slot](const ButtonSlot& b) { return &b.slot == &slot; });
    if (found == buttons_.end())
      return;
    event.button = &found->slot;
    event.down = found->slot.pop().getValue();
  }
  if (queue_.size() < maxQueued)
    queue_.push_back(event);
  else
    overflowed_ = true;
}

int DTWNode::thread() {
  processData();
  return 0;
}

void DTWNode::processData() {
  Tarsil::printErrorLine("Foo: Run processData");
  setState(Running);
  const auto goOn = [this] { return waitThread(0); };
  const DTW::mydtw known(getTemplateFolder(), goOn);
  logTemplates(known);
  GestureReader reader(known, mode_,
                       {[](const std::string& line) { Tarsil::printLine(line); },
                        [this](std::int32_t gesture, double distance) {
                          gesture_.push(static_cast<float>(gesture));
                          distance_.push(static_cast<float>(distance));
                        },
                        [this](const std::string& line) { addLog(line); }, goOn});
  std::vector<Event> events;
  while (waitThread(10)) {
    bool overflowed = false;
    {
      const std::lock_guard guard(queueLock_);
      events.clear();
      events.swap(queue_);
      std::swap(overflowed, overflowed_);
    }
    if (overflowed)
      addLog("What was written came faster than it could be taken, and was dropped");
    for (const Event& event : events) {
      if (!goOn())
        break;
      handle(reader, event);
    }
  }
  reportEnd();
  Tarsil::printErrorLine("Foo: finish processData");
}

void DTWNode::handle(GestureReader& reader, const Event& event) {
  if (event.button == nullptr) {
    reader.accelerate(event.acceleration);
    return;
  }
  for (const ButtonSlot& button : buttons_)
    if (&button.slot == event.button)
      reader.press(button.button, event.down);
}

void DTWNode::logTemplates(const DTW::mydtw& known) {
  std::size_t count = 0;
  for (const auto& ofClass : known.templates())
    count += ofClass.size();
  addLog(std::to_string(count) + " templates in " + DTW::mydtw::findFolder(getTemplateFolder()));
}

} // namespace Vantiflux
