#include <vantiflux/platform/pelorn/HelloEvent.h>

#include <vantiflux/platform/tarsil/SysInfo.h>

namespace Pelorn {

EventType HelloEvent::type_("Pelorn::HelloEvent", 1, &HelloEvent::create);
EventType VerdictEvent::type_("Pelorn::VerdictEvent", 2, &VerdictEvent::create);

HelloEvent::HelloEvent(const std::string& protocol, const std::string& client, short major, short minor)
    : protocol_(protocol), clientName_(client), major_(major), minor_(minor),
      user_(Tarsil::SysInfo::the().getUserName()), host_(Tarsil::SysInfo::the().getHostName()),
      system_(Tarsil::SysInfo::the().getSystemName()) {}

void HelloEvent::addFields() {
  Event::addFields();
  addField(protocol_);
  addField(clientName_);
  addField(major_);
  addField(minor_);
  addField(user_);
  addField(host_);
  addField(system_);
  addField(instance_);
  addField(id_);
}

void HelloEvent::getFields() {
  Event::getFields();
  getField(protocol_);
  getField(clientName_);
  getField(major_);
  getField(minor_);
  getField(user_);
  getField(host_);
  getField(system_);
  getField(instance_);
  getField(id_);
}

void VerdictEvent::addFields() {
  Event::addFields();
  addField(stays_);
}

void VerdictEvent::getFields() {
  Event::getFields();
  getField(stays_);
}

} // namespace Pelorn
