#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <boost/smart_ptr/shared_ptr.hpp>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/WebSocketBase.h>
#include <vantiflux/web/rest/VCAttribute.h>

namespace REST {

class WebSocketObserver;

/// All observers of the process. Each is kept until its connection has ended; the list (`websockets`) names those that
/// no DELETE has taken out.
///
/// *Threads.* All operations from any thread.
class VANTIFLUX_API WebSocketObservers {
public:
  static WebSocketObservers& the();

  /// Says, for the length of a scope, for which server this thread answers.
  class VANTIFLUX_API Serving {
  public:
    explicit Serving(const void* server) noexcept;
    ~Serving();
    Serving(const Serving&) = delete;
    Serving& operator=(const Serving&) = delete;
  };

  /// Makes the observer "ws1", "ws2" and so on and starts it. Closes the connection when there are too many already
  /// (see WebSocketServer), when the process is about to end, and when starting throws.
  void add(std::unique_ptr<Pelorn::WebSocketBase> socket, boost::shared_ptr<VCAttribute> attribute,
           const std::string& extension, const std::string& name);
  /// Takes those that belong to the resource's node out of the list. They go on.
  void unlist(const boost::shared_ptr<VCType>& resource);
  /// Stops an observer whose connection has ended, and lets go of it.
  void release(WebSocketObserver& observer) noexcept;
  /// Stops all, or those that were made while that server was served. When it returns, none of them has a slot in the
  /// tree.
  void clear(const void* server = nullptr);
  /// Stops all, and from then on none is made.
  void end();

  /// How many there are, and how many of them are in the list.
  std::size_t size() const;
  std::size_t listed() const;

private:
  struct Entry {
    std::shared_ptr<WebSocketObserver> observer;
    const void* server;
  };

  WebSocketObservers();

  mutable std::mutex lock_; ///< innermost; guards the rest
  std::vector<Entry> observers_;
  std::vector<const WebSocketObserver*> websockets_;
  std::uint64_t counter_ = 0; ///< of all observers there ever were
  bool ended_ = false;
};

} // namespace REST
