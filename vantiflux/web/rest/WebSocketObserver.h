#pragma once

#include <memory>
#include <mutex>
#include <string>

#include <boost/smart_ptr/shared_ptr.hpp>

#include <vantiflux/Export.h>
#include <vantiflux/core/BasicInSlot.h>
#include <vantiflux/platform/pelorn/WebSocketBase.h>
#include <vantiflux/web/rest/VCAttribute.h>

namespace REST {

/// Subscribes a WebSocket client to an attribute for as long as its connection lasts.
///
/// | Attribute | The client gets                               | and what it sends is                 |
/// |-----------|-----------------------------------------------|--------------------------------------|
/// | out-slot  | the last value, and each new one              | ignored                              |
/// | in-slot   | nothing                                       | written into the slot                |
/// | field     | its text, once                                | ignored                              |
///
/// Each message is the text of one value, as the format "string" gives it; with another format nothing is sent, but for
/// a field's text, and nothing read. A value that comes while an earlier one is being sent takes the place of one that
/// waits, so a slow client gets fewer values; it always gets the last one.
///
/// What is written may have 16 MiB, any other message 64 KiB.
///
/// Values of an out-slot come by a route in the root, from "node/attribute" to an in-slot of the observer's own there.
///
/// *Threads.* `newData` runs in the writer's thread, and only tells the connection. The text is made on a thread of the
/// connection, a picture's on one that may be kept busy; what a client sends is written on one that may wait.
class VANTIFLUX_API WebSocketObserver final : public Vantiflux::BasicInSlot::Listener,
                                              public Pelorn::WebSocketBase::Listener,
                                              public std::enable_shared_from_this<WebSocketObserver> {
public:
  /// `label` is the in-slot's in the root, `extension` the request's.
  WebSocketObserver(std::unique_ptr<Pelorn::WebSocketBase> socket, std::string label,
                    boost::shared_ptr<VCAttribute> attribute, const std::string& extension, std::string name);
  ~WebSocketObserver() override;

  /// Subscribes, and has the connection begin. What throws, because of a listener or because the root has been
  /// disabled, leaves it to the caller to stop.
  void start();
  /// Takes the in-slot and its route out of the root and closes the connection, whatever listeners throw meanwhile.
  /// From any thread, any number of times.
  void stop() noexcept;

  /// Sends the text of a value. A lost connection stops the observer.
  void sendMessage(std::string message, bool binary);
  /// Writes what a client has sent into the in-slot.
  void recvMessage(const std::string& message);

  const std::string& getLabel() const noexcept { return label_; }
  const std::string& getName() const noexcept { return name_; }
  const VCAttribute& getAttribute() const noexcept { return *attribute_; }

  void newData(Vantiflux::BasicInSlot& slot) override;

  // Of the connection's listener.
  void ready() override;
  void received(const std::string& message) override;
  void closed() override;

private:
  void subscribe();
  bool writes() const;

  const std::string label_;
  const boost::shared_ptr<VCAttribute> attribute_;
  const std::string name_;
  std::string format_;
  std::string source_; ///< what the route comes from
  const std::unique_ptr<Pelorn::WebSocketBase> socket_;

  bool stopped_ = false; ///< guarded by the lock of structure

  std::mutex lock_; ///< innermost; guards the pointer
  std::shared_ptr<Vantiflux::BasicInSlot> inSlot_;
};

/// Whether the observer's attribute belongs to the resource's node.
VANTIFLUX_API bool belongsTo(const boost::shared_ptr<VCType>& resource, const WebSocketObserver* observer);

} // namespace REST
