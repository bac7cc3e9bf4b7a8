#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <utility>

#include <boost/asio/basic_waitable_timer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/strand.hpp>
#include <boost/beast/core/basic_stream.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/rate_policy.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <vantiflux/platform/pelorn/Descriptor.h>
#include <vantiflux/platform/pelorn/WebSocketBase.h>
#include <vantiflux/platform/pelorn/WebSocketThreads.h>

namespace Pelorn {

/// What of a WebSocket connection lives in the event loop: all members but the atomic one are used on the strand alone.
/// Handlers that are under way keep it.
class WebSocketSession : public std::enable_shared_from_this<WebSocketSession> {
public:
  /// `request` is the head of the client's request, and what came behind it.
  WebSocketSession(WebSocketThreads& threads, const boost::asio::ip::tcp& family, Descriptor descriptor,
                   std::string request, std::string protocol);

  // From any thread.
  void start(std::weak_ptr<WebSocketBase::Listener> listener);
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

  using Strand = boost::asio::strand<boost::asio::io_context::executor_type>;
  using Tcp = boost::beast::basic_stream<boost::asio::ip::tcp, Strand, Progress>;
  using Timer = boost::asio::basic_waitable_timer<std::chrono::steady_clock,
                                                  boost::asio::wait_traits<std::chrono::steady_clock>, Strand>;
  using Error = boost::system::error_code;

  enum class State { Handshake, Open, Closing, Ended };

  /// A handler on the strand: a step of this session, which it keeps.
  template <class Step>
  auto onStrand(Step step);
  template <class Call>
  void callListener(Call call);
  void accept();
  void read();
  void received(const Error& error);
  void sendNext();
  void sent(const Error& error);
  void tellReady();
  void watch();
  void shut();
  void end();

  boost::asio::io_context& calls_;
  const Strand strand_;
  boost::beast::websocket::stream<Tcp> stream_;
  Timer stall_;
  std::string request_;
  const std::string protocol_;
  boost::beast::flat_buffer input_;
  std::weak_ptr<WebSocketBase::Listener> listener_;
  std::deque<std::pair<std::string, bool>> output_; ///< messages, and whether they are binary; the first is being sent
  State state_ = State::Handshake;
  bool sending_ = false;
  std::uint64_t lastWritten_ = 0; ///< when progress was looked at last
  unsigned stalledLooks_ = 0;     ///< how often in a row there was none

  std::atomic<bool> readyWanted_{false};
};

} // namespace Pelorn
