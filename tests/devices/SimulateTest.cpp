// What the simulated devices promise beside what the drivers' tests see of them.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <devices/TrackerSupport.h>
#include <vantiflux/platform/pelorn/UDP.h>

namespace {

test::Messages datagrams(const std::string& seed) {
  Pelorn::UDP socket;
  socket.open("127.0.0.1", 0);
  test::Device device({"art", "--to", "127.0.0.1:" + std::to_string(socket.getLocalAddress().getServicePort()),
                       "--rate", "500", "--count", "40", "--seed", seed, "--noise", "0.01", "--jitter", "1",
                       "--malform", "0.3", "--lose", "0.2", "--sticks", "2"});
  EXPECT_EQ(device.wait(), 0);
  test::Messages all;
  std::string datagram(Pelorn::UDP::maxDatagram, '\0');
  for (int size = Pelorn::UDP::maxDatagram; socket.receive(datagram.data(), size); size = Pelorn::UDP::maxDatagram)
    all.push_back(datagram.substr(0, static_cast<std::size_t>(size)));
  return all;
}

TEST(Simulate, TheSameSeedGivesTheSameRun) {
  const test::Messages once = datagrams("5");
  EXPECT_GT(once.size(), 20u);
  EXPECT_LT(once.size(), 40u);
  EXPECT_EQ(once, datagrams("5"));
  EXPECT_NE(once, datagrams("6"));
}

TEST(Simulate, EndsInTime) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"fastrak"}, {"vicon", "--listen", "0"}, {"art", "--to", "127.0.0.1:9"}}) {
    std::vector<std::string> bounded = words;
    bounded.insert(bounded.end(), {"--seconds", "0.1"});
    EXPECT_EQ(test::Device(bounded).wait(), 0) << words[0];
    EXPECT_EQ(test::Device(words).end(), 0) << words[0];
  }
}

TEST(Simulate, LeavesFilesAloneThatAreNoLinks) {
  const test::TemporaryFolder folder;
  const std::string file = folder.write("line", "mine");
  test::Process process({HOST_PROGRAM, "simulate", "fastrak", "--link", file});
  EXPECT_EQ(process.wait(), 1);
  EXPECT_EQ(process.errors().rfind("vantiflux: Cannot make the link", 0), 0u);
  EXPECT_EQ(std::filesystem::file_size(file), 4u);
}

} // namespace
