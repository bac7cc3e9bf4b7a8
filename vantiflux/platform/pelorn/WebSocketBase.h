#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include <vantiflux/Export.h>

namespace Pelorn {

/// One WebSocket connection, from the side of who talks to the client.
///
/// *Threads.* All operations from any thread; none waits for the client.
class VANTIFLUX_API WebSocketBase {
public:
  /// Is told what happens. The calls follow each other, but for `ready`, which may come beside another. An exception
  /// that leaves one, whatever it is, ends the connection.
  class VANTIFLUX_API Listener {
  public:
    virtual ~Listener();
    /// Nothing is being sent, and it was asked for (see requestReady). On a thread of the event loop, where it must not
    /// wait, unless it takes long (see Incoming).
    virtual void ready() = 0;
    /// A message has come, text or binary. It may wait; one more message is read meanwhile.
    virtual void received(const std::string& message) = 0;
    /// The connection has ended, whoever ended it. The last call; it may wait.
    virtual void closed() = 0;
  };

  /// What a client may send, and whether that, or what it gets, is dear.
  struct Incoming {
    std::size_t limit = std::size_t{64} << 10; ///< bytes of a message; a client that sends more loses the connection
    bool isHeard = true;                       ///< or else messages are dropped, and `received` is not called
    bool takesLong = false;                    ///< for the listener: `received` and `ready` may keep a thread busy
  };

  virtual ~WebSocketBase();

  /// Begins to read. The listener is kept by whoever wants to; when it is gone, the connection ends.
  virtual void start(std::weak_ptr<Listener> listener, Incoming incoming) = 0;

  /// Has `ready` called once, as soon as nothing is being sent. Asking again before that changes nothing.
  virtual void requestReady() = 0;

  /// Send a message when those before it have gone out. A lost connection is told by `closed`. Text must be UTF-8;
  /// other bytes than that go out as a binary message, because clients end a connection for them.
  virtual void sendMessage(std::string text) = 0;
  virtual void sendBinaryMessage(std::string bytes) = 0;

  /// Says good-bye to the client and ends the connection.
  virtual void close() = 0;
};

} // namespace Pelorn
