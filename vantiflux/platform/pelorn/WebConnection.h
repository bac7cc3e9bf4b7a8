#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include <vantiflux/platform/pelorn/HTTPParser.h>
#include <vantiflux/platform/pelorn/ProtocolHTTP.h>
#include <vantiflux/platform/pelorn/WebClient.h>
#include <vantiflux/platform/pelorn/WebCore.h>

namespace Pelorn {

/// One client of a web server. It takes one request after the other, and the next one only when the reply to the last
/// has gone out.
///
/// *Threads.* Its steps run on the threads of its loop, one at a time. `endIfIdle`, `endUnlessAnswering`, `expire` and
/// `waitsForClient` come from any thread: they never touch the socket object, they shut its descriptor, and the step
/// that waits for it sees that.
class WebConnection final : public WebClient, public ProtocolHTTP, public std::enable_shared_from_this<WebConnection> {
public:
  WebConnection(std::shared_ptr<WebCore> core, WebCore::Socket socket);
  ~WebConnection() override;

  /// The first step.
  void start();

  void endIfIdle();
  /// Ends what takes longer than it may.
  void expire(WebCore::Clock::time_point now);
  /// Where it waits for its client to send or to take something.
  struct Waiting {
    WebCore::Clock::time_point since;
    bool isIdle; ///< nothing has been going on
  };
  std::optional<Waiting> waitsForClient() const;
  void endUnlessAnswering();

  ProtocolHTTP& getProtocol() noexcept override { return *this; }
  const SocketAddress& getRemoteAddress() const noexcept override { return remote_; }
  Descriptor detach(std::string& unread) override;
  bool receiveBody(unsigned char* buffer, int& size) override;
  bool sendReply(const Reply& reply) override;
  bool sendReply(Reply&& reply) override;

private:
  enum class State {
    Idle,      ///< between requests
    Head,      ///< a request has begun
    Body,      ///< its head is there
    Answering, ///< somebody looks after the reply
    Writing,   ///< the client has yet to take a part of it
    Lingering, ///< the client has yet to see the end
    Ended,     ///< the socket is closed,
    Detached,  ///< or somebody else's
  };

  /// What the connection waits for, its next turn among others of its loop too, or, inside a step, what to do. Waiting
  /// is the last thing that a step does: another thread may take the next one at once.
  enum class Next { GoOn, Read, Write, Turn, Nothing };

  void wait(Next next);
  void step(Next ready);
  Next read();
  Next write();
  Next goOnWithPending();
  Next feed(std::string_view data);
  Next takeInput();
  Next takeHead(HTTPParser& parser);
  Next takeBody(HTTPParser& parser);
  Next answer();
  void respond();
  Next refuse(unsigned long status);
  Next afterReply();
  bool transmit(const Reply& reply, std::string* body);
  Next linger();
  Next giveUp();
  bool goOn(std::chrono::milliseconds pause, std::size_t bytes);
  bool hold(std::size_t bytes) noexcept;
  void count(std::size_t bytes) noexcept;
  void leave();
  Next end();
  /// False when the connection has been ended from outside.
  bool enter(State state);
  bool isWaiting() const;
  void cut();

  const std::shared_ptr<WebCore> core_;
  WebCore::Socket socket_;
  const int descriptor_;
  const SocketAddress remote_;

  mutable std::mutex lock_; ///< innermost; guards the next five
  State state_ = State::Idle;
  WebCore::Clock::time_point since_;    ///< when the state was entered
  WebCore::Clock::time_point deadline_; ///< when it must be left
  bool timedOut_ = false;               ///< it was not, and the request is to be refused for that
  bool cut_ = false;                    ///< it was ended from outside; what still arrives does not count

  // The rest is the steps' own.
  std::optional<HTTPParser> parser_;
  Request request_;
  ThreadedWebServer* server_ = nullptr; ///< while the request is answered
  std::string pending_;                 ///< input that is of no use yet
  std::string_view input_;              ///< what this step has to deal with, here or on the stack
  std::size_t bodyAt_ = 0;
  bool replied_ = false;
  bool bodyUnread_ = false;
  bool keep_ = false;  ///< the connection, after the reply
  std::string unsent_; ///< what the client has not taken yet, from unsentAt_
  std::size_t unsentAt_ = 0;
  std::size_t held_ = 0; ///< bytes that the core counts for this connection
};

} // namespace Pelorn
