// Machines without multicast on the loopback interface cannot show much of what is tested here.
#include <gtest/gtest.h>
#include <unistd.h>

#include <platform/support.h>
#include <vantiflux/platform/pelorn/MulticastSocket.h>

namespace {

bool isHeard() {
  const auto port = static_cast<unsigned short>(20000 + getpid() % 20000);
  Pelorn::MulticastSocket socket(Pelorn::SocketAddress(Pelorn::InetAddress::getByName("239.255.71.2"), port), 0,
                                 Pelorn::InetAddress::loopback());
  return test::eventually([&] {
    socket.sendToGroup("hello");
    char byte = 0;
    Pelorn::SocketAddress from;
    return socket.receive(&byte, 1, from) > 0;
  });
}

class NeedsMulticast : public testing::Environment {
public:
  void SetUp() override {
    if (!isHeard())
      GTEST_SKIP() << "This machine has no multicast on its loopback interface";
  }
};

[[maybe_unused]] const auto* const environment = testing::AddGlobalTestEnvironment(new NeedsMulticast);

} // namespace
