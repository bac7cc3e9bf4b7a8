// Hosts of their own: processes in network namespaces, joined by virtual cables. Needs the rights to make those, and is
// skipped without.
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <sched.h>

#include <gtest/gtest.h>

#include <vantiflux/platform/pelorn/MulticastSocket.h>

#include "PeerProcess.h"

namespace {

using namespace test;

bool run(const std::string& command) {
  return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

/// Hosts in a row. A cable joins each to the next: on cable 0 the first is 10.93.0.1 and the second 10.93.0.2.
class Hosts {
public:
  explicit Hosts(int count = 2) {
    for (int i = 0; i < count; ++i) {
      names_.push_back("vtx" + std::to_string(getpid()) + static_cast<char>('a' + i));
      made_ = made_ && run("ip netns add " + names_.back()) && run("ip -n " + names_.back() + " link set lo up") &&
              run("ip netns exec " + names_.back() + " true");
    }
    const std::string first = "ip -n " + names_[0] + " link ";
    made_ = made_ && run(first + "add try0 type veth peer name try1") && run(first + "del try0");
  }
  ~Hosts() {
    for (const std::string& name : names_)
      run("ip netns del " + name); // the cable goes with its ends
  }
  bool made() const { return made_; }

  bool plugIn(std::size_t cable = 0) const {
    const std::string number = std::to_string(cable);
    const std::string name = "cable" + number;
    bool good = run("ip link add " + name + " netns " + names_[cable] + " type veth peer name " + name + " netns " +
                    names_[cable + 1]);
    for (std::size_t i = 0; i < 2; ++i) {
      const std::string ip = "ip -n " + names_[cable + i];
      const std::string address = "10.93." + number + '.' + std::to_string(i + 1);
      good = good && run(ip + " addr add " + address + "/24 dev " + name) && run(ip + " link set " + name + " up");
    }
    return good;
  }
  bool setCable(const std::string& state) const { return run("ip -n " + names_[0] + " link set cable0 " + state); }
  bool unplug() const { return run("ip -n " + names_[0] + " link del cable0"); }

  std::vector<std::string> enter(std::size_t host) const { return {"ip", "netns", "exec", names_[host]}; }

private:
  std::vector<std::string> names_;
  bool made_ = true;
};

// TTL 1: to the end of the cable and no further.
std::vector<std::string> fields(const std::string& name, const std::string& address = "") {
  return {"MulticastTTL=1", "Prefix=" + name + "/{SlotLabel}", "Address=" + address};
}

#define NEEDS(hosts)                                                                                                   \
  if (!(hosts).made())                                                                                                 \
  GTEST_SKIP() << "This machine does not allow network namespaces"

TEST(Cable, ACutCableIsNoticedAndAMendedOneBringsTheSlotsBack) {
  const Hosts hosts;
  NEEDS(hosts);
  ASSERT_TRUE(hosts.plugIn());
  PeerProcess a(fields("A"), hosts.enter(0));
  PeerProcess b(fields("B"), hosts.enter(1));
  a.ask("out x");
  a.ask("push x before");
  b.ask("in z");
  b.ask("route A/x z");
  ASSERT_TRUE(b.comesToHold("got z", "before"));
  EXPECT_EQ(a.ask("clients"), "1\n");
  ASSERT_TRUE(hosts.setCable("down"));
  // Neither side hears a word of it. One has something to send, the other has not.
  a.ask("push x during");
  EXPECT_TRUE(b.comesToLack("slots", "A/x"));
  EXPECT_TRUE(a.hasClients(0));
  ASSERT_TRUE(hosts.setCable("up"));
  EXPECT_TRUE(b.comesToHold("got z", "during"));
  EXPECT_EQ(a.ask("clients"), "1\n");
  EXPECT_EQ(b.ask("clients"), "1\n");
}

TEST(Cable, InterfacesComeAndGoUnderARunningNode) {
  const Hosts hosts;
  NEEDS(hosts);
  PeerProcess a(fields("A"), hosts.enter(0));
  PeerProcess b(fields("B"), hosts.enter(1));
  a.ask("out x");
  a.port(); // both are on the air, with nothing but their loopback interfaces
  b.port();
  for (int round = 0; round < 2; ++round) {
    ASSERT_TRUE(hosts.plugIn());
    EXPECT_TRUE(b.comesToHold("slots", "A/x"));
    ASSERT_TRUE(hosts.unplug());
    EXPECT_TRUE(b.comesToLack("slots", "A/x"));
  }
}

// The first and the third have no way to each other.
TEST(Cable, AValueOfOneMachineIsFilteredOnASecondAndUsedOnAThird) {
  const Hosts hosts(3);
  NEEDS(hosts);
  ASSERT_TRUE(hosts.plugIn(0) && hosts.plugIn(1));
  PeerProcess source(fields("A"), hosts.enter(0));
  PeerProcess filter(fields("B"), hosts.enter(1));
  PeerProcess sink(fields("C"), hosts.enter(2));
  expectChain(source, filter, sink);
  EXPECT_EQ(sink.ask("slots").find("A/"), std::string::npos);
  EXPECT_EQ(filter.ask("clients"), "2\n");
}

// The system counts how often a socket has joined, and forgets nothing by itself.
TEST(Cable, AGroupIsHeardHoweverManyInterfacesHaveComeAndGone) {
  bool made = false;
  bool heard = true;
  std::thread([&] { // a host of this thread's own
    made = unshare(CLONE_NEWNET) == 0 && run("ip link set lo up");
    if (!made)
      return;
    const Pelorn::InetAddress here = Pelorn::InetAddress::getByName("10.93.0.1");
    Pelorn::MulticastSocket socket(Pelorn::SocketAddress(Pelorn::InetAddress::getByName("239.255.71.1"), 4711), 1,
                                   Pelorn::InetAddress::any());
    for (int round = 0; round < 25 && heard; ++round) {
      made = run("ip link add cable type veth peer name other");
      if (!made)
        return;
      ASSERT_TRUE(run("ip addr add 10.93.0.1/24 dev cable") && run("ip link set other up") &&
                  run("ip link set cable up"));
      socket.refresh();
      heard = eventually([&] {
        socket.sendToGroup("hello");
        char byte = 0;
        Pelorn::SocketAddress from;
        return socket.receive(&byte, 1, from) > 0 && from.getAddress() == here;
      });
      ASSERT_TRUE(run("ip link del cable"));
      socket.refresh();
    }
  })
      .join();
  if (!made)
    GTEST_SKIP() << "This machine does not allow network namespaces";
  EXPECT_TRUE(heard);
}

TEST(Cable, TheAddressChoosesTheInterfaceOfTheAnnouncementsToo) {
  const Hosts hosts;
  NEEDS(hosts);
  ASSERT_TRUE(hosts.plugIn());
  PeerProcess a(fields("A", "10.93.0.1"), hosts.enter(0));
  PeerProcess inner(fields("I", "127.0.0.1"), hosts.enter(0));
  PeerProcess b(fields("B"), hosts.enter(1));
  PeerProcess innerToo(fields("J", "127.0.0.1"), hosts.enter(0));
  for (PeerProcess* const process : {&a, &inner, &b, &innerToo})
    process->ask("out x");
  EXPECT_TRUE(a.comesToHold("slots", "B/x"));
  EXPECT_TRUE(b.comesToHold("slots", "A/x"));
  EXPECT_TRUE(inner.comesToHold("slots", "J/x"));
  EXPECT_EQ(a.ask("clients"), "1\n");
  EXPECT_EQ(b.ask("clients"), "1\n");
  EXPECT_EQ(inner.ask("clients"), "1\n");
}

} // namespace
