#include <vantiflux/platform/pelorn/EventType.h>

#include <array>
#include <atomic>
#include <stdexcept>

#include <vantiflux/platform/pelorn/Event.h>

namespace Pelorn {

namespace {

// Without a constructor of its own, so that it is there for every static initialiser.
constinit std::array<std::atomic<const EventType*>, EventType::maxId + 1> types{};

} // namespace

EventType::EventType(const char* name, short id, Create factory) : name_(name), id_(id), create_(factory) {
  types.at(static_cast<std::size_t>(static_cast<unsigned short>(id))).store(this, std::memory_order_release);
}

EventType::~EventType() {
  const EventType* self = this;
  types[static_cast<std::size_t>(id_)].compare_exchange_strong(self, nullptr);
}

std::unique_ptr<Event> EventType::create() const {
  return std::unique_ptr<Event>(create_());
}

const EventType* EventType::find(short id) noexcept {
  return id < 0 || id > maxId ? nullptr : types[static_cast<std::size_t>(id)].load(std::memory_order_acquire);
}

} // namespace Pelorn
