#include <vantiflux/net/CommandEvent.h>

namespace Vantiflux {

Pelorn::EventType CommandEvent::type_("Vantiflux::CommandEvent", 300, &CommandEvent::create);
Pelorn::EventType AddSlotEvent::type_("Vantiflux::AddSlotEvent", 301, &AddSlotEvent::create);
Pelorn::EventType SlotCommandEvent::type_("Vantiflux::SlotCommandEvent", 302, &SlotCommandEvent::create);

void CommandEvent::addFields() {
  Event::addFields();
  addField(command_);
}

void CommandEvent::getFields() {
  Event::getFields();
  getField(command_);
}

void SlotCommandEvent::addFields() {
  CommandEvent::addFields();
  addField(slotId_);
}

void SlotCommandEvent::getFields() {
  CommandEvent::getFields();
  getField(slotId_);
}

void AddSlotEvent::addFields() {
  CommandEvent::addFields();
  addField(slotId_);
  addField(label_);
  addField(description_);
  addField(codec_);
}

void AddSlotEvent::getFields() {
  CommandEvent::getFields();
  getField(slotId_);
  getField(label_);
  getField(description_);
  getField(codec_);
}

} // namespace Vantiflux
