// Two and three processes on one host, on the loopback interface.
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "PeerProcess.h"

namespace {

using namespace test;

using Fields = std::vector<std::string>;

Fields named(const std::string& name, const Fields& fields) {
  return fields + Fields{"Prefix=" + name + "/{SlotLabel}"};
}

long numberOf(const std::string& report) {
  return std::stol(report.substr(report.rfind(' ') + 1));
}

TEST(Peers, FindEachOtherAndShareSlotsInBothDirections) {
  const Fields net = loopbackFields();
  PeerProcess a(named("A", net));
  a.ask("out x");
  a.ask("push x early 4711");
  PeerProcess b(named("B", net));
  b.ask("in y");
  ASSERT_TRUE(b.comesToHold("slots", "out A/x\n"));
  ASSERT_TRUE(a.comesToHold("slots", "in B/y\n"));
  // One connection, and no slot comes back to where it is from.
  EXPECT_EQ(a.ask("clients"), "1\n");
  EXPECT_EQ(b.ask("clients"), "1\n");
  EXPECT_EQ(a.ask("slots").find("A/"), std::string::npos);
  EXPECT_EQ(b.ask("slots").find("B/"), std::string::npos);

  // An out-slot there, used here: the value that is there already, and those that come, with their time stamps.
  b.ask("in z");
  b.ask("route A/x z");
  EXPECT_TRUE(b.comesToHold("got z", "1 4711 early"));
  a.ask("push x later 4712");
  EXPECT_TRUE(b.comesToHold("got z", "2 4712 later"));
  b.ask("unroute A/x z");
  // An in-slot there, used from here.
  a.ask("route x B/y");
  EXPECT_TRUE(b.comesToHold("got y", "1 4712 later"));
  a.ask("push x more 4713");
  EXPECT_TRUE(b.comesToHold("got y", "2 4713 more"));
  EXPECT_EQ(b.got("z").first, 2);

  // A slot that goes and comes.
  a.ask("unout x");
  EXPECT_TRUE(b.comesToLack("slots", "A/x"));
  a.ask("out x2");
  EXPECT_TRUE(b.comesToHold("slots", "out A/x2\n"));
  EXPECT_EQ(a.quit(), 0);
  EXPECT_TRUE(b.comesToLack("slots", "A/"));
  EXPECT_TRUE(b.comesToHold("clients", "0\n"));
  EXPECT_EQ(b.quit(), 0);
}

TEST(Peers, RestartsOfEitherSideBringSlotsAndRoutesBack) {
  const Fields net = loopbackFields();
  auto a = std::make_unique<PeerProcess>(named("A", net));
  a->ask("out x");
  auto b = std::make_unique<PeerProcess>(named("B", net));
  const auto prepare = [&] {
    b->ask("in z");
    b->ask("route A/x z");
  };
  prepare();
  a->ask("push x one");
  ASSERT_TRUE(b->comesToHold("got z", "one"));
  a->kill(SIGKILL);
  EXPECT_TRUE(b->comesToLack("slots", "A/x"));
  a = std::make_unique<PeerProcess>(named("A", net));
  a->ask("out x");
  a->ask("push x two");
  EXPECT_TRUE(b->comesToHold("got z", "two"));
  b = std::make_unique<PeerProcess>(named("B", net));
  prepare();
  EXPECT_TRUE(b->comesToHold("got z", "two"));
  a->ask("disable");
  EXPECT_TRUE(b->comesToLack("slots", "A/x"));
  EXPECT_EQ(a->ask("state").substr(0, 8), "Sleeping");
  a->ask("enable");
  a->ask("push x three");
  EXPECT_TRUE(b->comesToHold("got z", "three"));
}

TEST(Peers, ListedServersAreTriedAgainAndAgain) {
  // Groups of their own: they cannot hear each other. The IDs must be equal all the same. The server's address is its
  // own, so that nobody else is given the port while it is away.
  const Fields id{"ID=7"};
  const std::string address = "127.77." + std::to_string(getpid() / 256 % 256) + '.' + std::to_string(getpid() % 256);
  const Fields own = loopbackFields() + id + Fields{"Address=" + address};
  auto server = std::make_unique<PeerProcess>(named("S", own));
  server->ask("out x");
  const std::string port = server->port();
  const std::string where = address + ':' + port;
  PeerProcess client(named("C", loopbackFields() + id + Fields{"Servers=," + where + ",,nonsense"}));
  EXPECT_TRUE(client.comesToHold("slots", "out S/x\n"));
  PeerProcess stranger(named("F", loopbackFields() + Fields{"ID=8", "Servers=" + where}));
  EXPECT_TRUE(stranger.comesToHold("log", "Client has another ID (it is using 7) - disconnected"));
  server->kill(SIGKILL);
  EXPECT_TRUE(client.comesToLack("slots", "S/x"));
  server = std::make_unique<PeerProcess>(named("S", own + Fields{"Port=" + port}));
  ASSERT_TRUE(eventually([&] { // somebody may have the port on all addresses for a moment
    server->ask("enable");
    return server->ask("state").find("listening") != std::string::npos;
  }));
  server->ask("out x");
  EXPECT_TRUE(client.comesToHold("slots", "out S/x\n"));
  EXPECT_EQ(server->ask("clients"), "1\n");
}

TEST(Peers, ImportAndExportCanBeOffAndOtherIDsStayApart) {
  const Fields net = loopbackFields();
  PeerProcess a(named("A", net));
  a.ask("out x");
  PeerProcess deaf(named("D", net + Fields{"Import=false"}));
  deaf.ask("out y");
  PeerProcess mute(named("M", net + Fields{"Export=false"}));
  mute.ask("out z");
  PeerProcess other(named("O", net + Fields{"ID=-5"}));
  other.ask("out w");
  ASSERT_TRUE(a.hasClients(2));
  ASSERT_TRUE(deaf.hasClients(2));
  ASSERT_TRUE(mute.hasClients(2));
  EXPECT_TRUE(a.comesToHold("slots", "D/y"));
  EXPECT_TRUE(mute.comesToHold("slots", "A/x"));
  EXPECT_TRUE(mute.comesToHold("slots", "D/y"));
  // It answers for what it exports, although it imports nothing.
  a.ask("in r");
  a.ask("route D/y r");
  deaf.ask("push y works");
  EXPECT_TRUE(a.comesToHold("got r", "works"));
  EXPECT_EQ(deaf.ask("slots"), "out y\n");
  EXPECT_EQ(a.ask("slots").find("M/"), std::string::npos);
  EXPECT_EQ(other.ask("slots"), "out w\n");
  EXPECT_EQ(other.ask("clients"), "0\n");
}

TEST(Peers, AValueTravelsThroughThreeProcessesWithItsTimeStamp) {
  const Fields net = loopbackFields();
  PeerProcess source(named("A", net));
  PeerProcess filter(named("B", net));
  PeerProcess sink(named("C", net));
  sink.ask("in direct");
  sink.ask("route A/x direct");
  expectChain(source, filter, sink);
  EXPECT_TRUE(sink.comesToHold("got direct", "123456789012 value"));
  // Two used it; the one that is left goes on getting values.
  sink.ask("unroute A/x direct");
  const long before = sink.got("direct").first;
  source.ask("push x next 123456789013");
  EXPECT_TRUE(sink.comesToHold("got z", "123456789013 next"));
  EXPECT_EQ(sink.got("direct").first, before);
}

TEST(Peers, ASlotThatAppearsAndVanishesLeavesNothingBehind) {
  const Fields net = loopbackFields();
  PeerProcess a(named("A", net));
  PeerProcess b(named("B", net));
  b.ask("in z");
  b.ask("route A/brief-out z");
  ASSERT_TRUE(a.hasClients(1));
  for (int round = 0; round < 5; ++round) {
    a.ask("churn 400");
    b.ask("churn 100");
  }
  a.ask("out last");
  EXPECT_TRUE(b.comesToHold("slots", "out A/last\n"));
  EXPECT_TRUE(b.comesToLack("slots", "A/brief"));
  EXPECT_EQ(a.ask("clients"), "1\n");
  EXPECT_EQ(a.quit(), 0);
  EXPECT_EQ(b.quit(), 0);
}

// Killed, with all likelihood, in the middle of one of its images of 2.7 MB.
TEST(Peers, APeerKilledInTheMiddleOfAFrameLosesOnlyItsOwn) {
  const Fields net = loopbackFields();
  PeerProcess viewer(named("V", net));
  viewer.ask("view v");
  viewer.ask("route */camera v");
  PeerProcess other(named("O", net));
  other.ask("out x");
  for (int round = 0; round < 3; ++round) {
    PeerProcess camera(named("K", net));
    const long before = viewer.got("v").first;
    camera.ask("camera");
    ASSERT_TRUE(eventually([&] { return viewer.got("v").first > before + 3; }));
    camera.kill(SIGKILL);
    EXPECT_TRUE(viewer.comesToLack("slots", "K/"));
  }
  EXPECT_NE(viewer.ask("slots").find("out O/x"), std::string::npos);
}

/// A camera, and two who look at its images.
class PeersAndCamera : public testing::Test {
protected:
  void SetUp() override {
    camera.ask("camera");
    ASSERT_TRUE(viewer.view("K/camera"));
    ASSERT_TRUE(second.view("K/camera"));
  }

  const Fields net = loopbackFields();
  PeerProcess camera{named("K", net)};
  PeerProcess viewer{named("V", net)};
  PeerProcess second{named("W", net)};
};

TEST_F(PeersAndCamera, AStoppedViewerHoldsNobodyUpAndSeesTheNewestImageWhenItGoesOn) {
  viewer.kill(SIGSTOP);
  // The images go on, to the camera's own slot and to the other viewer, far beyond what any queue could hold.
  const long begin = numberOf(second.got("v").second);
  ASSERT_TRUE(eventually([&] { return numberOf(second.got("v").second) > begin + 100; }));
  std::string report = camera.ask("stopcamera"); // "images milliseconds"
  const std::string last = report.substr(0, report.find(' '));
  viewer.kill(SIGCONT);
  EXPECT_TRUE(eventually([&] { return viewer.got("v").second.find(" " + last + '\n') != std::string::npos; }))
      << viewer.ask("got v") << report;
  EXPECT_TRUE(eventually([&] { return second.got("v").second.find(" " + last + '\n') != std::string::npos; }));
}

TEST_F(PeersAndCamera, AHostMayExitWithPeersAndThreadsAtWork) {
  EXPECT_EQ(viewer.exit(), 0);
  EXPECT_EQ(camera.exit(), 0);
  EXPECT_TRUE(second.comesToLack("slots", "K/"));
  EXPECT_EQ(second.exit(), 0);
}

TEST_F(PeersAndCamera, AViewerThatTakesNothingForLongIsLeftAndComesBack) {
  viewer.kill(SIGSTOP);
  EXPECT_TRUE(camera.hasClients(1));
  viewer.kill(SIGCONT);
  EXPECT_TRUE(camera.hasClients(2));
  const long before = numberOf(viewer.got("v").second);
  EXPECT_TRUE(eventually([&] { return numberOf(viewer.got("v").second) > before + 3; }));
}

} // namespace
