// Hosts of their own: processes in network namespaces, joined by virtual cables. Needs the rights to make those, and is
// skipped without.
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "PeerProcess.h"

namespace {

using namespace test;

bool run(const std::string& command) {
  return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

/// Two hosts with a cable between them, 10.93.0.1 and 10.93.0.2.
class Hosts {
public:
  Hosts() {
    const std::string base = "vtx" + std::to_string(getpid());
    for (const char* const which : {"a", "b"}) {
      names_.push_back(base + which);
      made_ = made_ && run("ip netns add " + names_.back()) && run("ip -n " + names_.back() + " link set lo up");
    }
  }
  ~Hosts() {
    for (const std::string& name : names_)
      run("ip netns del " + name); // the cable goes with its ends
  }
  bool made() const { return made_; }

  bool plugIn() const {
    bool good = run("ip link add cable netns " + names_[0] + " type veth peer name cable netns " + names_[1]);
    for (std::size_t i = 0; i < 2; ++i)
      good = good && run("ip -n " + names_[i] + " addr add 10.93.0." + std::to_string(i + 1) + "/24 dev cable") &&
             run("ip -n " + names_[i] + " link set cable up");
    return good;
  }
  bool setCable(const std::string& state) const { return run("ip -n " + names_[0] + " link set cable " + state); }
  bool unplug() const { return run("ip -n " + names_[0] + " link del cable"); }

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
