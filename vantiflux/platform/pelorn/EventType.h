#pragma once

#include <memory>
#include <string>

#include <vantiflux/Export.h>

namespace Pelorn {

class Event;

/// The registry entry of an event class: events are received by the number that stands in front of them. Made once for
/// each class, as a static object; a later one of the same number takes the place of an earlier one.
/// *Threads.* Looking up from any thread, while libraries are loaded too.
class VANTIFLUX_API EventType {
public:
  /// Makes an event to be filled by receiving; with `new`.
  using Create = Event* (*)();
  /// Numbers go from 0 to this one.
  static constexpr short maxId = 1023;

  /// A number out of range throws std::out_of_range.
  EventType(const char* name, short id, Create factory);
  ~EventType();
  EventType(const EventType&) = delete;
  EventType& operator=(const EventType&) = delete;

  const std::string& getName() const noexcept { return name_; }
  short getId() const noexcept { return id_; }
  std::unique_ptr<Event> create() const;

  /// Null when there is none of this number.
  static const EventType* find(short id) noexcept;

private:
  const std::string name_;
  const short id_;
  const Create create_;
};

} // namespace Pelorn
