#include <vantiflux/platform/pelorn/WebConnection.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <utility>

#include <fcntl.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <boost/asio/post.hpp>

#include <vantiflux/platform/pelorn/ReplyHead.h>
#include <vantiflux/platform/pelorn/ThreadedWebServer.h>

namespace Pelorn {

namespace {

/// What is read at a time. A thread deals with it at once, so a connection needs none of its own.
constexpr std::size_t readSize = 65536;

/// A body or a reply that is kept whether or not there is room beside those of other clients.
constexpr std::size_t smallPart = 65536;

/// What one client may have answered while others of the loop wait.
constexpr int turnRequests = 16;
constexpr std::chrono::milliseconds turnTime{5};

bool wouldBlock(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

/// The bytes that were taken, 0 for none; -1 when the connection is lost.
ssize_t sendNow(int descriptor, std::string_view first, std::string_view second) {
  std::array<iovec, 2> parts{
      {{const_cast<char*>(first.data()), first.size()}, {const_cast<char*>(second.data()), second.size()}}};
  msghdr message{};
  message.msg_iov = parts.data();
  message.msg_iovlen = parts.size();
  const ssize_t sent = ::sendmsg(descriptor, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
  return sent < 0 && wouldBlock(errno) ? 0 : sent;
}

} // namespace

WebConnection::WebConnection(std::shared_ptr<WebCore> core, WebCore::Socket socket)
    : core_(std::move(core)), socket_(std::move(socket)), descriptor_(socket_.native_handle()),
      remote_(SocketAddress::remoteOf(descriptor_)) {
  const int on = 1;
  ::setsockopt(descriptor_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  ::fcntl(descriptor_, F_SETFD, FD_CLOEXEC);
  enter(State::Idle);
}

WebConnection::~WebConnection() {
  count(0);
}

void WebConnection::start() {
  try {
    if (WebCore::Visit server(*core_); server)
      server->addClient(*this);
    else
      end();
    if (state_ == State::Idle)
      wait(Next::Read);
  } catch (...) { // there is no room for it
    end();
  }
}

bool WebConnection::hold(std::size_t bytes) noexcept {
  if (bytes <= smallPart)
    count(bytes);
  else if (core_->hold(bytes, held_))
    held_ = bytes;
  else
    return false;
  return true;
}

void WebConnection::count(std::size_t bytes) noexcept {
  core_->count(bytes, held_);
  held_ = bytes;
}

void WebConnection::wait(Next next) {
  if (next == Next::Turn) {
    boost::asio::post(socket_.get_executor(), [self = shared_from_this()] { self->step(Next::Turn); });
    return;
  }
  socket_.async_wait(next == Next::Read ? WebCore::Socket::wait_read : WebCore::Socket::wait_write,
                     [self = shared_from_this(), next](const boost::system::error_code& error) {
                       if (error)
                         self->end();
                       else
                         self->step(next);
                     });
}

// Nothing that goes wrong with one client, for want of memory, reaches another.
void WebConnection::step(Next ready) {
  try {
    const Next next = ready == Next::Read ? read() : ready == Next::Write ? write() : goOnWithPending();
    if (next == Next::Nothing)
      return;
    count(pending_.size() + unsent_.size() + (parser_ ? parser_->bodySize() : 0));
    wait(next);
  } catch (const std::exception&) {
    end();
  }
}

WebConnection::Next WebConnection::read() {
  static thread_local std::array<char, readSize> bytes;
  const ssize_t size = ::recv(descriptor_, bytes.data(), bytes.size(), MSG_DONTWAIT);
  if (size < 0 && wouldBlock(errno))
    return Next::Read;
  bool isEnded = false;
  {
    const std::lock_guard guard(lock_);
    isEnded = cut_ || timedOut_; // a client that goes on sending would be heard on and on
  }
  if (isEnded)
    return giveUp();
  if (size <= 0)
    return end();
  if (state_ == State::Lingering)
    return Next::Read;
  return feed(std::string_view(bytes.data(), static_cast<std::size_t>(size)));
}

WebConnection::Next WebConnection::write() {
  const ssize_t sent = sendNow(descriptor_, std::string_view(unsent_).substr(unsentAt_), {});
  if (sent < 0)
    return end();
  unsentAt_ += static_cast<std::size_t>(sent);
  if (unsentAt_ < unsent_.size())
    return sent == 0 || goOn(core_->getLimits().stall, unsentAt_) ? Next::Write : end();
  std::string().swap(unsent_);
  unsentAt_ = 0;
  const Next next = afterReply();
  return next == Next::GoOn ? goOnWithPending() : next;
}

WebConnection::Next WebConnection::goOnWithPending() {
  std::string held;
  held.swap(pending_);
  return feed(held);
}

WebConnection::Next WebConnection::feed(std::string_view data) {
  const bool isStored = !pending_.empty();
  if (isStored)
    pending_.append(data);
  input_ = isStored ? std::string_view(pending_) : data;
  const Next next = takeInput();
  if (isStored)
    pending_.erase(0, pending_.size() - input_.size());
  else
    pending_.assign(input_);
  input_ = {};
  if (pending_.capacity() > 2 * pending_.size() + 1024)
    pending_.shrink_to_fit();
  return next;
}

// Request after request, as far as the input goes and the replies go out, and others of the loop do not wait too long.
WebConnection::Next WebConnection::takeInput() {
  const auto start = WebCore::Clock::now();
  int begun = 0;
  for (Next next = Next::GoOn;;) {
    if (!parser_) {
      while (!input_.empty() && (input_.front() == '\r' || input_.front() == '\n'))
        input_.remove_prefix(1); // some send a line end too many after a body
      if (input_.empty())
        return Next::Read;
      if (begun > 0 && (begun == turnRequests || WebCore::Clock::now() - start >= turnTime))
        return Next::Turn;
      ++begun;
      parser_.emplace(core_->getLimits());
      request_ = Request();
      bodyUnread_ = replied_ = false;
      if (!enter(State::Head))
        return giveUp();
    }
    HTTPParser& parser = *parser_;
    const bool hadHead = parser.hasHead();
    if (const unsigned long status = parser.parse(input_))
      next = refuse(status);
    else if (!parser.hasHead())
      next = Next::Read;
    else
      next = hadHead ? takeBody(parser) : takeHead(parser);
    if (next != Next::GoOn)
      return next;
  }
}

WebConnection::Next WebConnection::takeHead(HTTPParser& parser) {
  if (const unsigned long status = parser.takeHead(request_))
    return refuse(status);
  std::size_t limit = 0;
  if (!parser.isDone()) {
    const WebCore::Visit server(*core_);
    if (server && server->check(request_) == 0)
      limit = server->getBodyLimit(request_);
  }
  if (limit == 0) { // nobody wants the body
    bodyUnread_ = !parser.isDone();
    return answer();
  }
  if (!parser.setBodyLimit(limit))
    return refuse(413);
  if (!enter(State::Body))
    return giveUp();
  if (input_.empty() && request_.minorVersion > 0 && request_.headers.hasWord("Expect", "100-continue"))
    sendNow(descriptor_, "HTTP/1.1 100 Continue\r\n\r\n", {});
  return Next::GoOn;
}

WebConnection::Next WebConnection::takeBody(HTTPParser& parser) {
  const std::size_t size = parser.bodySize();
  if (!hold(size))
    return refuse(503);
  if (!parser.isDone())
    return goOn(core_->getLimits().bodyTime, size) ? Next::Read : giveUp();
  request_.body = parser.takeBody();
  return answer();
}

WebConnection::Next WebConnection::answer() {
  bodyAt_ = 0;
  keep_ = false;
  if (!enter(State::Answering))
    return giveUp();
  respond();
  return afterReply();
}

// The connection ends where there is no reply.
void WebConnection::respond() {
  WebCore::Visit server(*core_);
  if (!server)
    return;
  server_ = server.get();
  if (const unsigned long status = server->check(request_)) {
    Reply reply;
    server->createErrorPage(status, {}, reply);
    keep_ = sendReply(std::move(reply)) && request_.keepsAlive();
    return;
  }
  std::string failure = "Unknown exception";
  try {
    keep_ = server->handleRequest(*this, request_) != 0;
    return;
  } catch (const std::exception& e) {
    failure = e.what();
  } catch (...) { // it has no text
  }
  server->addLog("ERROR: " + request_.path + ": " + failure);
  if (replied_)
    return;
  Reply reply;
  server->createErrorPage(500, failure, reply);
  sendReply(std::move(reply));
}

// The connection has been ended from outside: for a request that took too long there is a reply yet.
WebConnection::Next WebConnection::giveUp() {
  bool timedOut = false;
  {
    const std::lock_guard guard(lock_);
    timedOut = std::exchange(timedOut_, false);
  }
  return timedOut ? refuse(408) : end();
}

// The input cannot be trusted from here on.
WebConnection::Next WebConnection::refuse(unsigned long status) {
  bodyUnread_ = true;
  keep_ = replied_ = false;
  if (!enter(State::Answering))
    return end();
  if (WebCore::Visit server(*core_); server) {
    Reply reply;
    server_ = server.get();
    server->createErrorPage(status, {}, reply);
    sendReply(std::move(reply));
  }
  return afterReply();
}

WebConnection::Next WebConnection::afterReply() {
  server_ = nullptr;
  if (state_ == State::Detached) {
    leave();
    return Next::Nothing;
  }
  parser_.reset();
  request_ = Request();
  count(unsent_.size());
  if (!unsent_.empty())
    return enter(State::Writing) ? Next::Write : end();
  if (!replied_)
    return end();
  if (!keep_ || bodyUnread_ || !enter(State::Idle))
    return linger();
  return core_->isClosed() ? linger() : Next::GoOn; // looked at last: who closes ends those that are idle
}

// The client sees what was written before it sees the end: closing with data unread would take it away again.
WebConnection::Next WebConnection::linger() {
  if (!enter(State::Lingering))
    return end();
  ::shutdown(descriptor_, SHUT_WR);
  return Next::Read;
}

bool WebConnection::receiveBody(unsigned char* buffer, int& size) {
  const std::size_t left = request_.body.size() - std::min(bodyAt_, request_.body.size());
  const std::size_t wanted = size > 0 ? static_cast<std::size_t>(size) : 0;
  const std::size_t taken = std::min(left, wanted);
  if (taken > 0)
    request_.body.copy(reinterpret_cast<char*>(buffer), taken, bodyAt_);
  bodyAt_ += taken;
  size = static_cast<int>(taken);
  return taken == wanted && !bodyUnread_;
}

bool WebConnection::sendReply(const Reply& reply) {
  return transmit(reply, nullptr);
}

bool WebConnection::sendReply(Reply&& reply) {
  std::string body = std::move(reply.body);
  return transmit(reply, &body);
}

bool WebConnection::transmit(const Reply& reply, std::string* body) {
  static const std::string none;
  if (replied_ || state_ != State::Answering)
    return false;
  const std::string& whole = body != nullptr ? *body : reply.body;
  const std::string& content = request_.method == "HEAD" ? none : whole;
  if (content.size() > smallPart && !hold(request_.body.size() + content.size())) {
    bodyUnread_ = true;
    Reply busy;
    busy.status = 503;
    busy.headers.setParam("Content-Type", "text/plain");
    busy.headers.setParam("Retry-After", "10");
    busy.body = "Too much is on its way to other clients.\n";
    return transmit(busy, nullptr);
  }
  const std::string head = replyHead(reply, whole.size(), core_->getProduct(), bodyUnread_ || core_->isClosed());
  if (server_ != nullptr)
    server_->logRequest(*this, request_, reply.status);
  const ssize_t sent = sendNow(descriptor_, head, content);
  if (sent < 0)
    return false;
  replied_ = true;
  const auto taken = static_cast<std::size_t>(sent);
  if (taken >= head.size() + content.size())
    return true;
  if (taken < head.size()) {
    unsent_ = head.substr(taken) + content;
  } else {
    unsentAt_ = taken - head.size();
    if (body != nullptr)
      unsent_ = std::move(*body);
    else
      unsent_ = content;
  }
  return true;
}

Descriptor WebConnection::detach(std::string& unread) {
  if (replied_ || state_ != State::Answering)
    return Descriptor();
  if (server_ != nullptr)
    server_->logRequest(*this, request_, 101);
  const std::lock_guard guard(lock_);
  unread = std::string(input_);
  input_ = {};
  boost::system::error_code error;
  Descriptor result(socket_.release(error));
  state_ = State::Detached;
  ::fcntl(result.get(), F_SETFL, ::fcntl(result.get(), F_GETFL) | O_NONBLOCK);
  return result;
}

WebConnection::Next WebConnection::end() {
  {
    const std::lock_guard guard(lock_);
    if (state_ == State::Ended)
      return Next::Nothing;
    state_ = State::Ended;
    deadline_ = WebCore::Clock::time_point::max();
    boost::system::error_code ignored;
    socket_.close(ignored);
  }
  leave();
  return Next::Nothing;
}

void WebConnection::leave() {
  count(0);
  try {
    if (WebCore::Visit server(*core_); server)
      server->removeClient(*this);
  } catch (...) { // what goes wrong there must not keep it among the connections
  }
  core_->removeConnection(*this);
}

} // namespace Pelorn
