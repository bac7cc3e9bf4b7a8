#include <vantiflux/devices/ViconNode.h>

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <devices/TrackerSupport.h>
#include <vantiflux/core/Exception.h>

namespace {

using namespace Vantiflux;
using test::areOnPath;
using test::Bench;
using test::Collector;
using test::Device;

test::Fields at(const std::string& port) {
  return {{"Host", "127.0.0.1"}, {"Port", port}};
}

TEST(ViconNode, FollowsBodiesAndMarkers) {
  Device device({"vicon", "--listen", "0", "--bodies", "2", "--markers", "1", "--split"});
  Bench<ViconNode> bench(at(device.port()));
  EXPECT_TRUE(test::eventually([&] { return test::slotsOf(bench.ns).size() == 8; }));
  EXPECT_EQ(bench.node->getState(), Node::Sleeping);
  EXPECT_EQ(test::slotsOf(bench.ns),
            (std::vector<std::string>{"n/Position 0", "n/Orientation 0", "n/Matrix 0", "n/Position 1",
                                      "n/Orientation 1", "n/Matrix 1", "n/Marker 0", "n/Visible 0"}));
  const Collector<test::Vec3> position(bench.ns, "n/Position 1");
  const Collector<Rotation> rotation(bench.ns, "n/Orientation 1");
  const Collector<Matrix4<float>> matrix(bench.ns, "n/Matrix 1");
  const Collector<test::Vec3> marker(bench.ns, "n/Marker 0");
  const Collector<bool> visible(bench.ns, "n/Visible 0");
  EXPECT_TRUE(areOnPath(position.more(20), 1));
  EXPECT_TRUE(areOnPath(rotation.more(20), 1));
  EXPECT_TRUE(areOnPath(matrix.more(20), 1));
  EXPECT_TRUE(areOnPath(marker.more(60), 0));
  EXPECT_TRUE(test::eventually([&] { return !visible.values().back(); }));
  EXPECT_TRUE(bench.runs("Operating"));
  EXPECT_EQ(device.end(), 0);
}

TEST(ViconNode, AServerThatIsNotThereIsAnError) {
  Bench<ViconNode> bench(at(std::to_string(test::freePort())));
  EXPECT_EQ(bench.node->getState(), Node::Error);
  EXPECT_EQ(bench.node->getShortInfo(), "Did not detect a vicon tracker at 127.0.0.1");
  EXPECT_EQ(bench.log().size(), 1u);
}

TEST(ViconNode, StartsAgainAfterAFailure) {
  Device device({"vicon", "--listen", "0", "--break-after", "10", "--restart-after", "30", "--pause", "0.25"});
  Bench<ViconNode> bench(at(device.port()));
  for (int round = 0; round < 2; ++round) {
    const Collector<Rotation> rotation(bench.ns, "n/Orientation 0");
    EXPECT_TRUE(areOnPath(rotation.atLeast(5), 0));
    // Whether it is the reading or the asking that fails is a matter of chance.
    EXPECT_TRUE(test::eventually([&] {
      const auto log = bench.log();
      return !log.empty() && (log.back() == "Error Recieving" || log.back() == "Error Requesting");
    }));
    EXPECT_EQ(bench.node->getState(), Node::Running); // as it always was
    bench.node->addLog("round");
  }
  // The server restarts: starts fail until it is back.
  bool again = false;
  for (int attempt = 0; attempt < 100 && !again; ++attempt) {
    bench.node->addLog("attempt");
    const Collector<Rotation> rotation(bench.ns, "n/Orientation 0");
    ASSERT_TRUE(test::eventually([&] { return rotation.values().size() > 1 || bench.log().back() != "attempt"; }));
    again = rotation.values().size() > 1;
    std::this_thread::sleep_for(std::chrono::milliseconds(again ? 0 : 100));
  }
  EXPECT_TRUE(again);
}

TEST(ViconNode, MalformedFramesEndTheWork) {
  for (const char* const seed : {"1", "2", "3", "4"}) {
    Device device({"vicon", "--listen", "0", "--malform", "0.1", "--lose", "0.1", "--seed", seed});
    Bench<ViconNode> bench(at(device.port()));
    const Collector<Rotation> rotation(bench.ns, "n/Orientation 0");
    EXPECT_TRUE(test::eventually([&] { return !bench.log().empty(); }));
    EXPECT_TRUE(areOnPath(rotation.values(), 0));
    EXPECT_EQ(bench.node->getState(), Node::Running);
  }
}

/// The list of channels of one body.
const std::string aBody("\1\0\0\0\0\0\0\0\1\0\0\0\0\0\0\0\1\0\0\0\0\0\0\0\7\0\0\0\0\0\0\0B <A-X>", 39);

/// Says something, and is silent from then on.
class SilentServer {
public:
  explicit SilentServer(std::string greeting) : greeting_(std::move(greeting)) {
    listener_.open("127.0.0.1", 0);
    worker_ = std::make_unique<test::Worker>([this] { serve(); });
  }
  ~SilentServer() {
    listener_.breakWait();
    worker_.reset();
  }
  std::string port() const { return std::to_string(listener_.getLocalAddress().getServicePort()); }

private:
  void serve() {
    std::vector<std::unique_ptr<Pelorn::Socket>> clients;
    while (auto client = listener_.accept()) {
      test::send(*client, greeting_);
      clients.push_back(std::move(client));
    }
  }
  const std::string greeting_;
  Pelorn::ServerSocket listener_;
  std::unique_ptr<test::Worker> worker_;
};

TEST(ViconNode, StopsWhileAServerIsSilent) {
  {
    const SilentServer server(aBody);
    Bench<ViconNode> bench(at(server.port()));
    std::unique_ptr<Collector<Rotation>> reader;
    EXPECT_TRUE(test::stopsAtOnce(
        [&] {
          reader = std::make_unique<Collector<Rotation>>(bench.ns, "n/Orientation 0");
          EXPECT_TRUE(bench.runs("Operating"));
        },
        [&] { reader.reset(); }));
    EXPECT_EQ(bench.node->getState(), Node::Sleeping);
    EXPECT_TRUE(bench.log().empty());
  }
  const SilentServer server("");
  Bench<ViconNode> bench(at(server.port()));
  EXPECT_TRUE(bench.reaches(Node::Error));
  EXPECT_EQ(bench.log().back(), "Error Recieving");
}

TEST(ViconNode, ForgetsWhatAnEarlierConnectionLeft) {
  const SilentServer server(aBody + std::string(100, '\0'));
  Bench<ViconNode> bench(at(server.port()));
  for (int round = 0; round < 2; ++round) {
    const Collector<Rotation> rotation(bench.ns, "n/Orientation 0");
    EXPECT_TRUE(bench.runs("Operating"));
    EXPECT_TRUE(test::eventually([&] { return bench.log() == test::Messages(round + 1, "Bad Packet"); }));
  }
}

TEST(ViconNode, WorksInItsExample) {
  Device device({"vicon", "--listen", "0"});
  test::ExampleTree tree("vicon.vfx", "Stage", "Port", device.port());
  EXPECT_TRUE(areOnPath(Collector<test::Vec3>(tree.ns, "Stage/Position 0").more(5), 0));
}

TEST(ViconChannels, SortsOutNames) {
  ViconChannels channels;
  for (const char* const name : {"Time <F>", "My head <A-X>", "My head <T-Z>", "My head <T-?>", "M:1 <P-O>", "M:1",
                                 "M:1 <A-X>", "no token", "<P-X>", "open <P-X", "late >x <P-Y>"})
    channels.add(name);
  EXPECT_EQ(channels.names().size(), 11u);
  EXPECT_EQ(channels.frameChannel(), 0);
  ASSERT_EQ(channels.bodies().size(), 1u);
  EXPECT_EQ(channels.bodies()[0].name, "My head");
  EXPECT_EQ(channels.bodies()[0].number, (std::array<std::int32_t, 6>{1, -1, -1, -1, -1, 2}));
  ASSERT_EQ(channels.markers().size(), 3u);
  EXPECT_EQ(channels.markers()[0].number, (std::array<std::int32_t, 4>{-1, -1, -1, 4}));
  EXPECT_EQ(channels.markers()[1].name, "");
}

std::string packet(std::vector<std::int64_t> integers, const std::string& tail = "") {
  return std::string(reinterpret_cast<const char*>(integers.data()), integers.size() * 8) + tail;
}

/// What the parser says to these bytes.
template <class Read>
std::string verdict(const std::string& bytes, Read read) {
  std::size_t at = 0;
  ViconParser parser([&](void* to, std::size_t size) {
    if (size > bytes.size() - at)
      return false;
    std::memcpy(to, bytes.data() + at, size);
    at += size;
    return true;
  });
  try {
    read(parser);
    return "";
  } catch (const Exception& e) {
    return e.what();
  }
}

TEST(ViconParser, SaysWhatIsWrong) {
  const auto channels = [](const std::string& bytes) {
    return verdict(bytes, [](ViconParser& parser) { parser.readChannels(); });
  };
  const std::int64_t huge = std::int64_t{1} << 62;
  const std::string good = packet({1, 1, 2, 3}, "abc") + packet({0});
  EXPECT_EQ(channels(good), "");
  for (std::size_t size = 0; size < good.size(); ++size)
    EXPECT_EQ(channels(good.substr(0, size)), "Error Recieving") << size;
  EXPECT_EQ(channels(packet({1, 0, 0})), "Bad Packet");
  EXPECT_EQ(channels(packet({2, 1, 0})), "Bad Reply Type");
  for (const std::int64_t lie : {std::int64_t{-1}, huge, -huge, ViconParser::maxChannels + 1}) {
    EXPECT_EQ(channels(packet({1, 1, lie})), "Bad Packet") << lie;
    EXPECT_EQ(channels(packet({1, 1, 2, lie}, "abc")), "Bad Packet") << lie;
  }
  const auto data = [](const std::string& bytes) {
    return verdict(bytes, [](ViconParser& parser) {
      std::vector<double> values(2);
      parser.readData(values);
    });
  };
  EXPECT_EQ(data(packet({2, 1, 2, 0, 0})), "");
  EXPECT_EQ(data(packet({2, 1, 2, 0})), "Error Recieving");
  EXPECT_EQ(data(packet({1, 1, 2, 0, 0})), "Bad Reply Type");
  EXPECT_EQ(data(packet({2, 2, 2, 0, 0})), "Bad Packet");
  for (const std::int64_t lie : {std::int64_t{1}, std::int64_t{3}, std::int64_t{-2}, huge})
    EXPECT_EQ(data(packet({2, 1, lie, 0, 0})), "Bad Data Packet") << lie;
}

TEST(ViconNode, ABodyWithoutRotationLosesItsTranslationInTheMatrix) {
  ViconNode::BodyChannel channel;
  channel.number = {0, 1, 2, 3, 4, 5};
  const auto still = ViconNode::decode(channel, {0, 0, 0, 1000, 2000, 3000});
  EXPECT_EQ(still.position, test::Vec3(1, 3, -2));
  EXPECT_EQ(still.rotation, Rotation(0, 0, 0, 1));
  EXPECT_EQ(still.matrix, Matrix4<float>());
  const auto barely = ViconNode::decode(channel, {0, 0, 1e-14, 1000, 2000, 3000});
  EXPECT_EQ(barely.rotation, Rotation(0, 1e-14F, 0, 1));
  EXPECT_EQ(barely.matrix[3], 1);
  channel.number = {-1, -1, -1, 3, -1, -1}; // what no channel tells is zero
  EXPECT_EQ(ViconNode::decode(channel, {0, 0, 0, 1000}).position, test::Vec3(1, 0, 0));
}

} // namespace
