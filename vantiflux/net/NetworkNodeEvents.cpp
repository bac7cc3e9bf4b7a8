// What peers say.
#include <vantiflux/net/NetworkNode.h>

#include <optional>
#include <string>
#include <utility>

#include <vantiflux/core/Root.h>
#include <vantiflux/net/ExportedSlots.h>
#include <vantiflux/net/ImportedSlots.h>
#include <vantiflux/platform/tarsil/Console.h>
#include <vantiflux/values/BasicCodec.h>

namespace Vantiflux {

using Pelorn::Communicator;

namespace {

constexpr std::size_t maxTwins = 65536;
constexpr std::size_t maxLabel = 1024;
constexpr std::size_t maxDescription = 4096;

} // namespace

void NetworkNode::recvThread() {
  if (!connector_.isOpen() && !openServer())
    return;
  setState(Running);
  while (connector_.waitForCommunicators()) {
    Communicator* found = nullptr;
    if (!connector_.receiveCommunicator(found))
      break;
    if (found == nullptr)
      continue;
    const auto communicator = found->shared_from_this(); // a call back may close the connector
    bool alive = false;
    guarded([&] { alive = receiveFrom(*communicator); });
    if (alive)
      continue;
    guarded([&] { removeClient(communicator.get()); });
    connector_.removeCommunicator(communicator.get());
    communicator->close();
  }
  setState(Sleeping, "");
}

// Takes what has arrived, for one read of the socket, so that no peer has the thread to itself. False when the client
// is gone.
bool NetworkNode::receiveFrom(Communicator& communicator) {
  int count = 0;
  if (!communicator.dataAvail(count))
    return false;
  while (communicator.hasEvent()) {
    std::unique_ptr<Pelorn::Event> event;
    if (!Pelorn::Event::receive(&communicator, event))
      return false;
    guarded([&] {
      if (auto* const command = dynamic_cast<CommandEvent*>(event.get()))
        dispatchEvent(&communicator, command);
    });
    if (!communicator.isOpen())
      return false;
  }
  return !communicator.reader().failed(); // behind good events, an impossible length
}

bool NetworkNode::dispatchEvent(Communicator* communicator, CommandEvent* event) {
  const short command = event->getCommand();
  bool done = false;
  switch (command) {
  case CommandEvent::AddOutSlot:
    done = !getImportSlots() || handleAddOutSlotEvent(communicator, dynamic_cast<AddSlotEvent*>(event));
    break;
  case CommandEvent::RemoveOutSlot:
    done = !getImportSlots() || handleRemoveOutSlotEvent(communicator, dynamic_cast<SlotCommandEvent*>(event));
    break;
  case CommandEvent::StartOutSlot:
    done = handleStartOutSlotEvent(communicator, dynamic_cast<SlotCommandEvent*>(event));
    break;
  case CommandEvent::StopOutSlot:
    done = handleStopOutSlotEvent(communicator, dynamic_cast<SlotCommandEvent*>(event));
    break;
  case CommandEvent::SetOutSlotState:
    done = handleSetOutSlotStateEvent(communicator, dynamic_cast<SetStateEvent*>(event));
    break;
  case CommandEvent::AddInSlot:
    done = !getImportSlots() || handleAddInSlotEvent(communicator, dynamic_cast<AddSlotEvent*>(event));
    break;
  case CommandEvent::RemoveInSlot:
    done = !getImportSlots() || handleRemoveInSlotEvent(communicator, dynamic_cast<SlotCommandEvent*>(event));
    break;
  case CommandEvent::StartInSlot:
    done = handleStartInSlotEvent(communicator, dynamic_cast<SlotCommandEvent*>(event));
    break;
  case CommandEvent::StopInSlot:
    done = handleStopInSlotEvent(communicator, dynamic_cast<SlotCommandEvent*>(event));
    break;
  case CommandEvent::SetInSlotState:
    done = handleSetInSlotStateEvent(communicator, dynamic_cast<SetStateEvent*>(event));
    break;
  default:
    Tarsil::printErrorLine("ERROR: Unknown VantifluxCommand ID" + std::to_string(command));
  }
  if (!done)
    Tarsil::printLine("Got invalid Event of type " + event->type().getName() + " command: " + std::to_string(command) +
                      " from client " + std::to_string(event->getClient()));
  return done;
}

template <class Imported>
bool NetworkNode::hasRoom(const ImportMap<Imported>& map, Communicator* communicator, const AddSlotEvent& event) const {
  const std::lock_guard lock(slotsLock_);
  const auto client = map.find(communicator);
  return event.getLabel().size() <= maxLabel && event.getDescription().size() <= maxDescription &&
         (client == map.end() || client->second.size() < maxTwins);
}

template <class Imported>
void NetworkNode::enter(ImportMap<Imported>& map, Communicator* communicator, unsigned long id,
                        const std::shared_ptr<Imported>& slot) {
  std::shared_ptr<Imported> old;
  {
    const std::lock_guard lock(slotsLock_);
    old = std::exchange(map[communicator][id], slot);
  }
  if (old != nullptr)
    withdrawImports({old});
  slot->init();
}

// In the receive thread, which holds no lock. Slots that were found under the root lock stay until it is released;
// whoever waits for this thread under it lends it.
void NetworkNode::withdrawImports(const std::vector<std::shared_ptr<ImportedSlot>>& slots) {
  std::optional<Root::WriteLock> root;
  if (Root::isInitialized()) // a host's own namespaces may outlive the root
    root.emplace();
  for (const auto& slot : slots)
    guarded([&] { slot->withdraw(); });
}

bool NetworkNode::handleAddOutSlotEvent(Communicator* communicator, AddSlotEvent* event) {
  const BasicCodec* const codec = event == nullptr || !hasRoom(importedOutSlots_, communicator, *event)
                                      ? nullptr
                                      : BasicCodec::findCodec(event->getCodec());
  auto decoder = codec == nullptr ? nullptr : codec->createDecoder();
  if (decoder == nullptr)
    return false;
  decoder->initialize(event->getLabel(), event->getDescription());
  markOwn(decoder->getOutSlot());
  enter(importedOutSlots_, communicator, event->getSlotId(),
        std::make_shared<ImportedOutSlot>(*this, std::move(decoder), communicator, event->getSlotId(),
                                          event->getLabel()));
  return true;
}

bool NetworkNode::handleAddInSlotEvent(Communicator* communicator, AddSlotEvent* event) {
  const BasicCodec* const codec = event == nullptr || !hasRoom(importedInSlots_, communicator, *event)
                                      ? nullptr
                                      : BasicCodec::findCodec(event->getCodec());
  auto encoder = codec == nullptr ? nullptr : codec->createEncoder();
  if (encoder == nullptr)
    return false;
  encoder->initialize(event->getLabel(), event->getDescription());
  markOwn(encoder->getInSlot());
  enter(
      importedInSlots_, communicator, event->getSlotId(),
      std::make_shared<ImportedInSlot>(*this, std::move(encoder), communicator, event->getSlotId(), event->getLabel()));
  return true;
}

template <class Imported>
bool NetworkNode::withdrawImport(ImportMap<Imported>& map, Communicator* communicator, const SlotCommandEvent* event) {
  std::shared_ptr<Imported> removed;
  {
    const std::lock_guard lock(slotsLock_);
    const auto client = event == nullptr ? map.end() : map.find(communicator);
    if (client == map.end())
      return false;
    const auto found = client->second.find(event->getSlotId());
    if (found == client->second.end())
      return false;
    removed = std::move(found->second);
    client->second.erase(found);
    if (client->second.empty())
      map.erase(client);
  }
  withdrawImports({removed});
  return true;
}

bool NetworkNode::handleRemoveOutSlotEvent(Communicator* communicator, SlotCommandEvent* event) {
  return withdrawImport(importedOutSlots_, communicator, event);
}

bool NetworkNode::handleRemoveInSlotEvent(Communicator* communicator, SlotCommandEvent* event) {
  return withdrawImport(importedInSlots_, communicator, event);
}

template <class Exported>
std::shared_ptr<Exported> NetworkNode::findExported(const ExportMap<Exported>& map, unsigned long id) const {
  const std::lock_guard lock(slotsLock_);
  const auto found = map.find(id);
  return found == map.end() ? nullptr : found->second;
}

template <class Imported>
std::shared_ptr<Imported> NetworkNode::findImported(const ImportMap<Imported>& map, Communicator* communicator,
                                                    unsigned long id) const {
  const std::lock_guard lock(slotsLock_);
  const auto client = map.find(communicator);
  if (client == map.end())
    return nullptr;
  const auto found = client->second.find(id);
  return found == client->second.end() ? nullptr : found->second;
}

bool NetworkNode::handleStartOutSlotEvent(Communicator* communicator, SlotCommandEvent* event) {
  const auto slot = event == nullptr ? nullptr : findExported(exportedOutSlots_, event->getSlotId());
  return slot != nullptr && slot->addCommunicator(communicator);
}

bool NetworkNode::handleStopOutSlotEvent(Communicator* communicator, SlotCommandEvent* event) {
  const auto slot = event == nullptr ? nullptr : findExported(exportedOutSlots_, event->getSlotId());
  return slot != nullptr && slot->removeCommunicator(communicator);
}

bool NetworkNode::handleStartInSlotEvent(Communicator* communicator, SlotCommandEvent* event) {
  const auto slot = event == nullptr ? nullptr : findExported(exportedInSlots_, event->getSlotId());
  return slot != nullptr && slot->addCommunicator(communicator);
}

bool NetworkNode::handleStopInSlotEvent(Communicator* communicator, SlotCommandEvent* event) {
  const auto slot = event == nullptr ? nullptr : findExported(exportedInSlots_, event->getSlotId());
  return slot != nullptr && slot->removeCommunicator(communicator);
}

bool NetworkNode::handleSetOutSlotStateEvent(Communicator* communicator, SetStateEvent* event) {
  const auto slot = event == nullptr ? nullptr : findImported(importedOutSlots_, communicator, event->getSlotId());
  if (slot == nullptr)
    return false;
  if (slot->isWanted()) // a value that was under way when the last reader went would meet the next one as an old one
    slot->handleSetStateEvent(*event);
  return true;
}

bool NetworkNode::handleSetInSlotStateEvent(Communicator*, SetStateEvent* event) {
  const auto slot = event == nullptr ? nullptr : findExported(exportedInSlots_, event->getSlotId());
  if (slot == nullptr)
    return false;
  slot->handleSetStateEvent(*event);
  return true;
}

// A large value, whose bytes are still arriving, is received straight to where it stays.
std::unique_ptr<Pelorn::Event> NetworkNode::beginBulk(Communicator* communicator, std::string_view& head,
                                                      std::size_t length, std::span<std::byte>& rest) {
  std::size_t stateLength = 0;
  std::string_view state = head;
  auto event = SetStateEvent::begin(state, length, stateLength);
  if (event == nullptr)
    return nullptr;
  std::shared_ptr<BasicDecoder> decoder; // not the slot, which keeps the communicator, which keeps the event
  if (event->getCommand() == CommandEvent::SetOutSlotState) {
    if (const auto slot = findImported(importedOutSlots_, communicator, event->getSlotId()))
      decoder = slot->decoder();
  } else if (event->getCommand() == CommandEvent::SetInSlotState) {
    if (const auto slot = findExported(exportedInSlots_, event->getSlotId()))
      decoder = slot->decoder();
  }
  auto value = decoder == nullptr ? nullptr : decoder->begin(state, stateLength);
  if (value == nullptr)
    return nullptr;
  rest = value->block();
  head = state;
  event->setPending(std::move(decoder), std::move(value));
  return event;
}

} // namespace Vantiflux
