#pragma once

#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Event.h>

namespace Vantiflux {

/// What network nodes say to each other once they have introduced themselves. "Exporter" is the side that has the slot,
/// "importer" the one that has a twin of it.
class VANTIFLUX_API CommandEvent : public Pelorn::Event {
public:
  enum Command : short {
    AddOutSlot = 1,      ///< AddSlotEvent, from the exporter
    RemoveOutSlot = 2,   ///< SlotCommandEvent, from the exporter
    StartOutSlot = 3,    ///< SlotCommandEvent, from the importer
    StopOutSlot = 4,     ///< SlotCommandEvent, from the importer
    SetOutSlotState = 6, ///< SetStateEvent, from the exporter
    AddInSlot = 7,       ///< AddSlotEvent, from the exporter
    RemoveInSlot = 8,    ///< SlotCommandEvent, from the exporter
    StartInSlot = 9,     ///< SlotCommandEvent, from the importer
    StopInSlot = 10,     ///< SlotCommandEvent, from the importer
    SetInSlotState = 11  ///< SetStateEvent, from the importer
  };

  CommandEvent() = default;
  explicit CommandEvent(short command) : command_(command) {}

  const Pelorn::EventType& type() const override { return type_; }
  void addFields() override;
  void getFields() override;
  static Pelorn::Event* create() { return new CommandEvent; }

  short getCommand() const noexcept { return command_; }

private:
  static Pelorn::EventType type_;

  short command_ = 0;
};

/// A command about a slot, which is meant by the number that its exporter gave it.
class VANTIFLUX_API SlotCommandEvent : public CommandEvent {
public:
  SlotCommandEvent() = default;
  explicit SlotCommandEvent(short command, unsigned long slotId = 0) : CommandEvent(command), slotId_(slotId) {}

  const Pelorn::EventType& type() const override { return type_; }
  void addFields() override;
  void getFields() override;
  static Pelorn::Event* create() { return new SlotCommandEvent; }

  unsigned long getSlotId() const noexcept { return slotId_; }
  void setSlotId(unsigned long id) noexcept { slotId_ = id; }

private:
  static Pelorn::EventType type_;

  unsigned long slotId_ = 0;
};

/// Offers a slot.
class VANTIFLUX_API AddSlotEvent : public CommandEvent {
public:
  AddSlotEvent() = default;
  explicit AddSlotEvent(short command) : CommandEvent(command) {}

  const Pelorn::EventType& type() const override { return type_; }
  void addFields() override;
  void getFields() override;
  static Pelorn::Event* create() { return new AddSlotEvent; }

  unsigned long getSlotId() const noexcept { return slotId_; }
  void setSlotId(unsigned long id) noexcept { slotId_ = id; }
  /// The label under which the slot is offered.
  const std::string& getLabel() const noexcept { return label_; }
  void setLabel(const std::string& label) { label_ = label; }
  const std::string& getDescription() const noexcept { return description_; }
  void setDescription(const std::string& description) { description_ = description; }
  /// The name of the codec that its values are encoded with.
  const std::string& getCodec() const noexcept { return codec_; }
  void setCodec(const std::string& codec) { codec_ = codec; }

private:
  static Pelorn::EventType type_;

  unsigned long slotId_ = 0;
  std::string label_;
  std::string description_;
  std::string codec_;
};

} // namespace Vantiflux
