#pragma once

#include <memory>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Frame.h>

namespace Pelorn {

class Event;

/// Where events go: one connection, or all of a connector's.
class VANTIFLUX_API Sender {
public:
  virtual ~Sender();
  /// Takes the event and returns at once; it is written as the other side takes it. False when there is no connection
  /// any more. *Threads.* From any.
  virtual bool send(const Frame::Pointer& frame) = 0;
};

/// Where events come from.
class VANTIFLUX_API Receiver {
public:
  virtual ~Receiver();
  /// The next event that has arrived whole; null when there is none, or when what has arrived is no event.
  virtual std::unique_ptr<Event> receiveEvent() = 0;
};

} // namespace Pelorn
