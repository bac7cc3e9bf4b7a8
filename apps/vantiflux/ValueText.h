#pragma once

#include <functional>
#include <memory>
#include <string>

#include <vantiflux/core/BasicInSlot.h>
#include <vantiflux/core/BasicOutSlot.h>
#include <vantiflux/core/Data.h>

namespace Host {

/// Local time to the millisecond: "2024-02-29 12:34:56.789".
std::string timeText(Vantiflux::BasicData::TimeStamp timeStamp);

/// An in-slot that turns each value that arrives into text as people read it: components between blanks, lists in
/// brackets, images and sound as a summary, what is long cut short. Of a type that is not the library's own, the name
/// of the type is told.
class TextSlot : private Vantiflux::BasicInSlot::Listener {
public:
  /// Called in the writer's thread.
  using Sink = std::function<void(Vantiflux::BasicData::TimeStamp timeStamp, const std::string& text)>;

  /// For values of the out-slot's type.
  TextSlot(const Vantiflux::BasicOutSlot& source, Sink sink);
  ~TextSlot() override;
  TextSlot(const TextSlot&) = delete;
  TextSlot& operator=(const TextSlot&) = delete;

  Vantiflux::BasicInSlot& slot() const noexcept { return *slot_; }

private:
  void newData(Vantiflux::BasicInSlot& slot) override;

  const Sink sink_;
  std::unique_ptr<Vantiflux::BasicInSlot> slot_;
};

} // namespace Host
