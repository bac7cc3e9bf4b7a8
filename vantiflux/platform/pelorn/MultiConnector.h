#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Communicator.h>
#include <vantiflux/platform/pelorn/Discovery.h>
#include <vantiflux/platform/pelorn/Epoll.h>
#include <vantiflux/platform/pelorn/HelloEvent.h>
#include <vantiflux/platform/tarsil/ObjectThread.h>

namespace Pelorn {

/// A server, the announcements of its address, and the connections with all peers, whichever side made them. Two
/// connectors that hear each other's announcements, of one protocol, major version and ID, come to have exactly one
/// connection; a connector does not connect to itself.
///
/// *Setting up.* Each new connection, accepted or made, is offered to `addCommunicator` on a thread of its own, where
/// the peers introduce themselves to each other; a limited number at a time. The hello of each side carries its
/// instance number, drawn at `open`, and `settle` sees to it that one of two connections with the same peer goes: the
/// side with the lesser number says which.
///
/// *Loop.* A thread of the connector accepts, announces, hears, and writes what waits on connections that are not idle.
/// It calls nothing outside, so it never waits for anybody. A connection on which something waits and no byte was taken
/// for 10 seconds is closed.
///
/// *Receiving* is for one thread, which alternates between `waitForCommunicators` and `receiveCommunicator`: data
/// arrives in that thread without the help of another.
///
/// *Threads.* Otherwise all operations from any thread; the settings count from the next `open` on. A derived class
/// calls `close` in its own destructor.
class VANTIFLUX_API MultiConnector : public Sender {
public:
  /// At most `setUps` connections are set up at the same time; others wait.
  MultiConnector(long setUps, int id);
  ~MultiConnector() override;
  MultiConnector(const MultiConnector&) = delete;
  MultiConnector& operator=(const MultiConnector&) = delete;

  void setProtocol(const std::string& name, short major, short minor);
  void setMulticastAddress(const std::string& address);
  std::string getMulticastAddress() const;
  void setMulticastPort(unsigned short port);
  unsigned short getMulticastPort() const;
  void setMulticastTtl(int ttl);
  int getMulticastTtl() const;
  void setId(short id);
  short getId() const;

  /// Listens on the interface with this address, or on all if it is empty; port 0 is a free one. With `multicast`,
  /// announces that on the group, on the same interfaces. False when one of the two cannot be done, when the connector
  /// is open, and from `breakWait` or `close` on until `resetWait`. Blocks for 10 seconds at most while the address is
  /// looked up, if it is a name; the group is known by its number only.
  bool open(const std::string& address, unsigned short port, bool multicast);
  bool isOpen() const noexcept { return !ending_; }
  /// Ends all connections and waits for the loop and for connections that are being set up. Not to be called from
  /// `addCommunicator`.
  void close();
  /// Where the server listens; invalid when closed.
  SocketAddress getServerAddress() const { return server_.getLocalAddress(); }

  /// To all communicators that were admitted.
  bool send(const Frame::Pointer& frame) override;

  /// Blocks until a communicator has data; false after `breakWait` and `close`.
  bool waitForCommunicators();
  /// How many are known to have data.
  bool communicatorsAvail(int& count);
  /// One that has data. It stays until it is removed. False when none has.
  bool receiveCommunicator(Communicator*& communicator);
  /// Ends waits, opening, attempts to connect, and introductions, at once, and makes later ones fail until `resetWait`:
  /// whoever starts a thread that opens and receives calls that first.
  void breakWait();
  void resetWait();
  bool broken() const noexcept { return broken_; }

  /// Takes a communicator that has been set up; false to drop it. Overridden, it decides about that.
  virtual bool addCommunicator(Communicator* communicator);
  /// Takes it out; its connection ends when nobody holds it any more, or with its `close`.
  virtual void removeCommunicator(Communicator* communicator);

  /// Connects, for 5 seconds at most, and sets the connection up in this thread. True when it is up, also if the peer
  /// had been connected already.
  bool connectToServer(const std::string& address, unsigned short port);
  /// Ends the connection that `connectToServer` made there. False if there is none.
  bool disconnectFromServer(const std::string& address, unsigned short port);
  /// Whether the server is connected, in whichever way that came about, or is this connector itself.
  bool isConnectedToServer(const std::string& address, unsigned short port) const;

  /// For the hello of this side.
  void introduce(HelloEvent& hello) const;
  /// What becomes of a connection, as soon as the peer's hello has come.
  enum class Settled { Stays, IsThisOne, HasOtherId, IsDuplicate, Failed };
  Settled settle(Communicator& communicator, const HelloEvent& hello);

protected:
  /// Begins to set up a communicator, on a thread of its own.
  void createCommThread(Communicator* communicator, bool connects);

private:
  using Server = std::pair<std::string, unsigned short>;
  using Clock = std::chrono::steady_clock;

  struct Settings {
    std::string protocol;
    short major = 0;
    short minor = 0;
    std::string multicastAddress;
    unsigned short multicastPort = 0;
    int multicastTtl = 1;
    short id = 0;
  };
  class SetUp;
  /// A communicator from its first moment on, with its state.
  struct Link {
    Communicator::Pointer communicator{};
    std::uint64_t instance = 0; ///< of the peer, once it is settled
    std::uint64_t expected = 0; ///< which is to be found there; 0 if any
    bool added = false;
    std::vector<Server> servers{};         ///< where connectToServer made it, and other names of the same place
    std::optional<SocketAddress> target{}; ///< where it is still to connect to
  };

  Communicator::Pointer makeLink(std::unique_ptr<LinkSocket> socket, Link link);
  Link* find(const Communicator& communicator);
  bool isLinked(std::uint64_t instance) const;
  bool claim(std::uint64_t instance, const Communicator& communicator, bool replace);
  void shareServer(std::uint64_t instance, const Communicator& communicator);
  void setUp(Communicator& communicator);
  void openDiscovery(const InetAddress& local);
  Settings settings() const;

  int loop();
  void turn();
  void serve(const Epoll::Ready& ready, Clock::time_point now);
  void acceptAll(Clock::time_point now);
  void watchServer(bool watch);
  void flush(const Communicator::Pointer& communicator);
  void flushAll();
  void closeStalled(Clock::time_point now);
  bool reapSetUps(bool connects);
  void unwatch(Communicator& communicator);
  int pause(Clock::time_point now) const;

  // Numbers for the loop beside those of communicators.
  static constexpr std::uint64_t serverNumber = Epoll::woken - 1;
  static constexpr std::uint64_t discoveryNumber = Epoll::woken - 2;

  const std::size_t maxSetUps_;
  mutable std::mutex settingsLock_; ///< innermost; guards the settings
  Settings settings_;

  LinkServer server_;
  Epoll loopWait_;
  Epoll receiveWait_;
  Tarsil::ObjectThread<MultiConnector> thread_;
  std::atomic<bool> ending_{true};  ///< the loop is to return; not open
  std::atomic<bool> broken_{false}; ///< nothing is to be waited for

  mutable std::mutex linksLock_; ///< guards what follows, up to toFlush_
  Settings opened_;              ///< those that open found
  std::uint64_t instance_ = 0;   ///< drawn by open
  std::uint64_t lastNumber_ = 0;
  std::unordered_map<std::uint64_t, Link> links_; ///< by number of the communicator
  std::vector<Server> thisServer_;                ///< servers that turned out to be this one
  std::vector<std::unique_ptr<SetUp>> setUps_;
  std::deque<std::uint64_t> fresh_; ///< added, and perhaps with data that was read while they were set up
  std::deque<std::uint64_t> ready_; ///< known to have data
  std::vector<Communicator::Pointer> toFlush_;

  // The loop's.
  std::optional<Discovery> discovery_;
  Clock::time_point nextTick_{};
  bool watchesServer_ = false;
  std::optional<Clock::time_point> acceptAgain_;                     ///< when the system was short of something
  std::unordered_map<std::uint64_t, Communicator::Pointer> blocked_; ///< wait for their peers to take something
};

} // namespace Pelorn
