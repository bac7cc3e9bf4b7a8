#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include <boost/asio/basic_waitable_timer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/basic_stream.hpp>
#include <boost/beast/core/rate_policy.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <vantiflux/platform/pelorn/Descriptor.h>
#include <vantiflux/platform/pelorn/WebSocketBase.h>
#include <vantiflux/platform/pelorn/WebSocketMemory.h>
#include <vantiflux/platform/pelorn/WebSocketThreads.h>

namespace Pelorn {

/// What of a WebSocket connection lives in the event loop. The loop has one thread, which is the strand: all members
/// but the atomic ones are used there alone. Handlers that are under way keep the session.
class WebSocketSession : public std::enable_shared_from_this<WebSocketSession> {
public:
  /// `request` is the head of the client's request, and what came behind it.
  WebSocketSession(WebSocketThreads& threads, const boost::asio::ip::tcp& family, Descriptor descriptor,
                   std::string request, std::string protocol);

  // From any thread.
  void start(std::weak_ptr<WebSocketBase::Listener> listener, WebSocketBase::Incoming incoming);
  void requestReady();
  void send(std::string message, bool binary);
  void close();

private:
  /// Counts the bytes that the client takes; limits nothing.
  class Progress {
  public:
    std::uint64_t written() const noexcept { return written_; }

  private:
    friend class boost::beast::rate_policy_access;
    static std::size_t available_read_bytes() noexcept { return SIZE_MAX; }
    static std::size_t available_write_bytes() noexcept { return SIZE_MAX; }
    static void transfer_read_bytes(std::size_t) noexcept {}
    void transfer_write_bytes(std::size_t size) noexcept { written_ += size; }
    static void on_timer() noexcept {}

    std::uint64_t written_ = 0;
  };

  using Executor = boost::asio::io_context::executor_type;
  using Tcp = boost::beast::basic_stream<boost::asio::ip::tcp, Executor, Progress>;
  using Clock = std::chrono::steady_clock;
  using Timer = boost::asio::basic_waitable_timer<Clock, boost::asio::wait_traits<Clock>, Executor>;
  using Error = boost::system::error_code;

  enum class State { Handshake, Open, Closing, Ended };

  /// A message, with the room it takes.
  struct Message {
    std::string text;
    WebSocketMemory memory;
    bool binary = false; ///< of one for the client
  };

  /// A handler on the strand: a step of this session, which it keeps.
  template <class Step>
  auto onStrand(Step step);
  template <class Call>
  void callListener(WebSocketThreads::Context& thread, bool WebSocketSession::*busy, Call call);
  void returned();
  void refuse();
  void accept();
  void end(boost::beast::websocket::close_code why);
  void read();
  bool makeRoom();
  void received(std::size_t bytes);
  void hand();
  void sendNext();
  void sent(const Error& error);
  void tellReady();
  void watch();
  bool isTooSlow();
  void shut();
  void ended();
  void tellEnd();

  WebSocketThreads& threads_;
  const Executor strand_;
  boost::beast::websocket::stream<Tcp> stream_;
  Timer watch_;
  std::string request_;
  const std::string protocol_;
  std::weak_ptr<WebSocketBase::Listener> listener_;
  WebSocketBase::Incoming incoming_;
  State state_ = State::Handshake;

  std::string input_;    ///< room for a message, which is there in part
  std::size_t size_ = 0; ///< of that part
  WebSocketMemory memory_;
  Clock::time_point begun_;        ///< when the message was
  bool reading_ = false;           ///< a read is under way
  std::optional<Message> waiting_; ///< a whole message that the listener has no time for yet; nothing is read meanwhile
  bool handed_ = false;            ///< the listener has one

  std::deque<Message> output_;     ///< the first is being sent
  Clock::time_point sendingSince_; ///< the first of them
  Clock::time_point closingSince_;
  std::uint64_t lastWritten_ = 0; ///< when progress was looked at last
  unsigned stalledLooks_ = 0;     ///< how often in a row there was none
  bool telling_ = false;          ///< a call of `ready` is under way elsewhere

  // Who wishes sees that a message is being sent, or the end of the sending sees the wish.
  std::atomic<bool> sending_{false}; ///< written on the strand
  std::atomic<bool> readyWanted_{false};
};

} // namespace Pelorn
