#include <vantiflux/platform/pelorn/WebSocketSession.h>

#include <exception>

#include <boost/asio/buffer.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/stream_traits.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <vantiflux/platform/pelorn/WebSocketServer.h>

namespace Pelorn {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;

namespace {

constexpr std::chrono::seconds handshakeTime{10}; ///< for the closing one, too
constexpr std::chrono::seconds silence{120};      ///< after which a client counts as gone; half of it brings a ping
constexpr std::chrono::seconds lookTime{5};       ///< between two looks at the client's progress
constexpr unsigned maxStalledLooks = 3;           ///< 10 seconds at least lie between the first and the last
constexpr std::size_t keptInput = 65536;          ///< bytes that a connection keeps for its next message

} // namespace

WebSocketBase::~WebSocketBase() = default;
WebSocketBase::Listener::~Listener() = default;

WebSocketSession::WebSocketSession(WebSocketThreads& threads, const asio::ip::tcp& family, Descriptor descriptor,
                                   std::string request, std::string protocol)
    : calls_(threads.calls()), strand_(threads.wire().get_executor()), stream_(Progress(), strand_), stall_(strand_),
      request_(std::move(request)), protocol_(std::move(protocol)) {
  beast::get_lowest_layer(stream_).socket().assign(family, descriptor.get());
  static_cast<void>(descriptor.release());
  Error ignored; // without it values are only later
  beast::get_lowest_layer(stream_).socket().set_option(asio::ip::tcp::no_delay(true), ignored);
}

template <class Step>
auto WebSocketSession::onStrand(Step step) {
  return [self = shared_from_this(), step](const Error& error = {}, std::size_t = 0) { step(*self, error); };
}

// On the thread that may wait. The session goes on, if it does, when the call has returned.
template <class Call>
void WebSocketSession::callListener(Call call) {
  asio::post(calls_, [self = shared_from_this(), call = std::move(call)] {
    try {
      if (const auto listener = self->listener_.lock())
        return call(*self, *listener);
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): the end of the connection says it
    } catch (const char*) {           // NOLINT(bugprone-empty-catch)
    }
    self->close();
  });
}

void WebSocketSession::start(std::weak_ptr<WebSocketBase::Listener> listener) {
  listener_ = std::move(listener);
  asio::post(strand_, [self = shared_from_this()] { self->accept(); });
}

void WebSocketSession::requestReady() {
  if (!readyWanted_.exchange(true, std::memory_order_acq_rel))
    asio::post(strand_, [self = shared_from_this()] { self->tellReady(); });
}

void WebSocketSession::send(std::string message, bool binary) {
  asio::dispatch(strand_, [self = shared_from_this(), message = std::move(message), binary]() mutable {
    if (self->state_ == State::Closing || self->state_ == State::Ended)
      return;
    self->output_.emplace_back(std::move(message), binary);
    self->sendNext();
  });
}

void WebSocketSession::close() {
  asio::post(strand_, [self = shared_from_this()] {
    if (self->state_ == State::Handshake)
      self->shut();
    if (self->state_ != State::Open)
      return;
    self->state_ = State::Closing;
    self->stream_.async_close(websocket::close_code::going_away,
                              self->onStrand([](WebSocketSession& session, const Error&) { session.end(); }));
  });
}

void WebSocketSession::accept() {
  if (state_ != State::Handshake)
    return;
  stream_.set_option(websocket::stream_base::timeout{handshakeTime, silence, true});
  stream_.read_message_max(WebSocketServer::messageLimit);
  stream_.auto_fragment(false);
  if (!protocol_.empty())
    stream_.set_option(websocket::stream_base::decorator([this](websocket::response_type& response) {
      response.set(beast::http::field::sec_websocket_protocol, protocol_);
    }));
  stream_.async_accept(asio::buffer(request_), onStrand([](WebSocketSession& session, const Error& error) {
                         if (error || session.state_ != State::Handshake)
                           return session.shut();
                         session.state_ = State::Open;
                         session.watch();
                         session.read();
                         session.sendNext();
                         session.tellReady();
                       }));
}

void WebSocketSession::read() {
  if (state_ == State::Ended)
    return;
  stream_.async_read(input_, onStrand([](WebSocketSession& session, const Error& error) { session.received(error); }));
}

void WebSocketSession::received(const Error& error) {
  if (error)
    return shut();
  std::string message = beast::buffers_to_string(input_.data());
  input_.consume(input_.size());
  if (input_.capacity() > keptInput)
    input_.shrink_to_fit();
  callListener([message = std::move(message)](WebSocketSession& session, WebSocketBase::Listener& listener) {
    listener.received(message);
    asio::post(session.strand_, [self = session.shared_from_this()] { self->read(); });
  });
}

void WebSocketSession::sendNext() {
  if (sending_ || output_.empty() || state_ != State::Open)
    return;
  sending_ = true;
  stream_.binary(output_.front().second);
  stream_.async_write(asio::buffer(output_.front().first),
                      onStrand([](WebSocketSession& session, const Error& error) { session.sent(error); }));
}

void WebSocketSession::sent(const Error& error) {
  sending_ = false;
  output_.pop_front();
  if (error)
    return shut();
  sendNext();
  tellReady();
}

// The wish is forgotten before the listener looks, so what comes while it looks is looked at afterwards.
void WebSocketSession::tellReady() {
  if (state_ != State::Open || sending_ || !readyWanted_.exchange(false, std::memory_order_acq_rel))
    return;
  try {
    if (const auto listener = listener_.lock())
      listener->ready();
    else
      close();
  } catch (const std::exception&) {
    shut();
  }
}

void WebSocketSession::watch() {
  stall_.expires_after(lookTime);
  stall_.async_wait(onStrand([](WebSocketSession& session, const Error& error) {
    if (error || session.state_ == State::Ended)
      return;
    const std::uint64_t written = beast::get_lowest_layer(session.stream_).rate_policy().written();
    const bool stalled = session.sending_ && written == session.lastWritten_;
    session.stalledLooks_ = stalled ? session.stalledLooks_ + 1 : 0;
    session.lastWritten_ = written;
    if (session.stalledLooks_ == maxStalledLooks)
      session.shut();
    else
      session.watch();
  }));
}

// What is under way ends with an error.
void WebSocketSession::shut() {
  beast::get_lowest_layer(stream_).close();
  end();
}

void WebSocketSession::end() {
  if (state_ == State::Ended)
    return;
  state_ = State::Ended;
  stall_.cancel();
  beast::get_lowest_layer(stream_).close();
  callListener([](WebSocketSession&, WebSocketBase::Listener& listener) { listener.closed(); });
}

} // namespace Pelorn
