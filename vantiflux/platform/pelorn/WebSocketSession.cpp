#include <vantiflux/platform/pelorn/WebSocketSession.h>

#include <algorithm>
#include <type_traits>

#include <boost/asio/buffer.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/stream_traits.hpp>

#include <vantiflux/platform/pelorn/WebSocketServer.h>

namespace Pelorn {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;

namespace {

constexpr std::chrono::seconds handshakeTime{10}; ///< for the closing one, too
constexpr std::chrono::seconds silence{120};      ///< after which a client counts as gone; half of it brings a ping
constexpr std::chrono::seconds lookTime{2};       ///< between two looks at the client's progress
constexpr unsigned maxStalledLooks = 6;           ///< 10 seconds at least lie between the first and the last
constexpr std::chrono::seconds closingTime{20};   ///< for what is left to be said, too
constexpr std::chrono::seconds messageTime{60};   ///< from a message's first byte to its last
constexpr std::size_t rate = 16384;               ///< bytes of a message for the client that earn a second more
constexpr std::size_t firstInput = 4096;          ///< bytes that a connection always has room for
constexpr std::size_t freeSize = 65536;           ///< bytes of a message that are not counted

} // namespace

WebSocketBase::~WebSocketBase() = default;
WebSocketBase::Listener::~Listener() = default;

WebSocketSession::WebSocketSession(WebSocketThreads& threads, const asio::ip::tcp& family, Descriptor descriptor,
                                   std::string request, std::string protocol)
    : threads_(threads), strand_(threads.wire().get_executor()), stream_(Progress(), strand_), watch_(strand_),
      request_(std::move(request)), protocol_(std::move(protocol)) {
  beast::get_lowest_layer(stream_).socket().assign(family, descriptor.get());
  static_cast<void>(descriptor.release());
  Error ignored; // without it values are only later
  beast::get_lowest_layer(stream_).socket().set_option(asio::ip::tcp::no_delay(true), ignored);
}

template <class Step>
auto WebSocketSession::onStrand(Step step) {
  return [self = shared_from_this(), step](const Error& error = {}, std::size_t bytes = 0) {
    if constexpr (std::is_invocable_v<Step, WebSocketSession&, const Error&, std::size_t>)
      step(*self, error, bytes);
    else
      step(*self, error);
  };
}

// On a thread that may wait. What the call holds goes when it has returned.
template <class Call>
void WebSocketSession::callListener(WebSocketThreads::Context& thread, bool WebSocketSession::*busy, Call call) {
  this->*busy = true;
  asio::post(thread, [self = shared_from_this(), listener = listener_, busy, call = std::move(call)]() mutable {
    bool good = false;
    try {
      if (const auto held = listener.lock()) {
        const Call last = std::move(call);
        last(*held);
        good = true;
      }
    } catch (...) { // NOLINT(bugprone-empty-catch): the end of the connection says it
    }
    if (!good)
      self->close();
    asio::post(self->strand_, [self, busy] {
      (*self).*busy = false;
      self->returned();
    });
  });
}

void WebSocketSession::returned() {
  if (state_ == State::Ended)
    return tellEnd();
  hand();
  read();
  tellReady();
}

void WebSocketSession::start(std::weak_ptr<WebSocketBase::Listener> listener, WebSocketBase::Incoming incoming) {
  asio::post(strand_, [self = shared_from_this(), listener = std::move(listener), incoming] {
    self->listener_ = listener;
    self->incoming_ = incoming;
    self->accept();
  });
}

void WebSocketSession::requestReady() {
  if (!readyWanted_.exchange(true) && !sending_)
    asio::post(strand_, [self = shared_from_this()] { self->tellReady(); });
}

void WebSocketSession::send(std::string message, bool binary) {
  asio::dispatch(strand_, [self = shared_from_this(), message = std::move(message), binary]() mutable {
    if (self->state_ == State::Closing || self->state_ == State::Ended)
      return;
    WebSocketMemory memory;
    if ((message.size() > freeSize || !self->output_.empty()) && !memory.grow(message.size()))
      return self->refuse();
    self->output_.push_back({std::move(message), std::move(memory), binary});
    self->sendNext();
  });
}

void WebSocketSession::close() {
  asio::post(strand_, [self = shared_from_this()] {
    if (self->state_ == State::Handshake)
      self->shut();
    else
      self->end(websocket::close_code::going_away);
  });
}

void WebSocketSession::end(websocket::close_code why) {
  if (state_ != State::Open)
    return;
  state_ = State::Closing;
  closingSince_ = Clock::now();
  stream_.async_close(why, onStrand([](WebSocketSession& session, const Error&) { session.ended(); }));
}

// There is no room. Behind a message that is on its way a reason would come late.
void WebSocketSession::refuse() {
  if (state_ == State::Open && !sending_)
    end(websocket::close_code::try_again_later);
  else
    shut();
}

// It may have been closed before it was started.
void WebSocketSession::accept() {
  if (state_ != State::Handshake)
    return tellEnd();
  stream_.set_option(websocket::stream_base::timeout{handshakeTime, silence, true});
  stream_.read_message_max(incoming_.limit);
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
  if (reading_ || waiting_ || state_ != State::Open)
    return;
  if (!makeRoom())
    return end(websocket::close_code::try_again_later);
  reading_ = true;
  stream_.async_read_some(asio::buffer(input_.data() + size_, input_.size() - size_),
                          onStrand([](WebSocketSession& session, const Error& error, std::size_t bytes) {
                            session.reading_ = false;
                            if (error)
                              session.shut();
                            else
                              session.received(bytes);
                          }));
}

// Memory is taken as the message comes, whatever length is announced.
bool WebSocketSession::makeRoom() {
  if (size_ < input_.size())
    return true;
  const std::size_t room = std::min(std::max(2 * size_, firstInput), incoming_.limit + 1);
  if (room > freeSize && !memory_.grow(room)) {
    input_ = {};
    memory_ = {};
    return false;
  }
  input_.resize(room);
  return true;
}

void WebSocketSession::received(std::size_t bytes) {
  if (size_ == 0)
    begun_ = Clock::now();
  size_ += bytes;
  if (!stream_.is_message_done())
    return read();
  if (!incoming_.isHeard) {
    size_ = 0;
    return read();
  }
  if (size_ <= firstInput) { // the room stays
    waiting_.emplace(Message{input_.substr(0, size_), {}, false});
  } else {
    input_.resize(size_);
    waiting_.emplace(Message{std::move(input_), std::move(memory_), false});
    input_ = {};
  }
  size_ = 0;
  hand();
  read();
}

void WebSocketSession::hand() {
  if (handed_ || !waiting_ || state_ == State::Ended)
    return;
  callListener(
      incoming_.takesLong ? threads_.longCalls() : threads_.calls(), &WebSocketSession::handed_,
      [message = std::move(*waiting_)](WebSocketBase::Listener& listener) { listener.received(message.text); });
  waiting_.reset();
}

void WebSocketSession::sendNext() {
  if (sending_ || output_.empty() || state_ != State::Open)
    return;
  sending_ = true;
  sendingSince_ = Clock::now();
  stream_.binary(output_.front().binary);
  stream_.async_write(asio::buffer(output_.front().text),
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
  if (state_ != State::Open || sending_ || telling_ || !readyWanted_.exchange(false))
    return;
  if (incoming_.takesLong)
    return callListener(threads_.longSends(), &WebSocketSession::telling_,
                        [](WebSocketBase::Listener& listener) { listener.ready(); });
  try {
    if (const auto listener = listener_.lock())
      listener->ready();
    else
      close();
  } catch (...) {
    shut();
  }
}

void WebSocketSession::watch() {
  watch_.expires_after(lookTime);
  watch_.async_wait(onStrand([](WebSocketSession& session, const Error& error) {
    if (error || session.state_ == State::Ended)
      return;
    if (session.isTooSlow())
      session.shut();
    else
      session.watch();
  }));
}

bool WebSocketSession::isTooSlow() {
  const std::uint64_t written = beast::get_lowest_layer(stream_).rate_policy().written();
  const bool stalled = sending_ && written == lastWritten_;
  stalledLooks_ = stalled ? stalledLooks_ + 1 : 0;
  lastWritten_ = written;
  const Clock::time_point now = Clock::now();
  const auto earned = [this] { return std::chrono::seconds(output_.front().text.size() / rate); };
  return stalledLooks_ == maxStalledLooks || (size_ != 0 && now - begun_ > messageTime) ||
         (sending_ && now - sendingSince_ > messageTime + earned()) ||
         (state_ == State::Closing && now - closingSince_ > closingTime);
}

// What is under way ends with an error.
void WebSocketSession::shut() {
  beast::get_lowest_layer(stream_).close();
  ended();
}

void WebSocketSession::ended() {
  if (state_ == State::Ended)
    return;
  state_ = State::Ended;
  watch_.cancel();
  beast::get_lowest_layer(stream_).close();
  waiting_.reset();
  output_.erase(output_.begin() + (sending_ ? 1 : 0), output_.end());
  tellEnd();
}

// The last call: when the others have returned.
void WebSocketSession::tellEnd() {
  if (state_ != State::Ended || handed_ || telling_)
    return;
  asio::post(threads_.ends(), [listener = listener_] {
    try {
      if (const auto held = listener.lock())
        held->closed();
    } catch (...) { // NOLINT(bugprone-empty-catch): there is nothing left to end
    }
  });
}

} // namespace Pelorn
