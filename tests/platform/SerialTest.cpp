#include <vantiflux/platform/pelorn/Serial.h>

#include "support.h"
#include <termios.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/ioStream.h>

namespace {

using Pelorn::ioStream;
using Pelorn::Serial;

termios settingsOf(const std::string& path) {
  const Pelorn::Descriptor fd(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK));
  termios result{};
  EXPECT_EQ(0, ::tcgetattr(fd.get(), &result));
  return result;
}

TEST(Serial, NamesOfDevices) {
  Serial port;
  EXPECT_EQ("/dev/ttyS0", port.getDevicePath());
  for (const auto& [device, path] : {std::pair{"7", "/dev/ttyS7"},
                                     {"007", "/dev/ttyS7"},
                                     {"/dev/x", "/dev/x"},
                                     {"", ""},
                                     {"-1", ""},
                                     {"1x", ""},
                                     {"ttyS0", ""},
                                     {"99999999999999", ""}}) {
    port.setDevice(device);
    EXPECT_EQ(path, port.getDevicePath()) << device;
  }
  EXPECT_THROW(port.open(), Pelorn::Exception);
  port.setDevice("/dev/no-such-port");
  EXPECT_THROW(port.open(), Pelorn::IOException);
  port.setDevice("/dev/null");
  EXPECT_THROW(port.open(), Pelorn::IOException) << "not a terminal";
  EXPECT_FALSE(port.isOpen());
}

TEST(Serial, SettingsReachTheLineAndAreRestored) {
  const test::Pty pty;
  const termios before = settingsOf(pty.path());
  Serial port;
  port.setDevice(pty.path());
  EXPECT_TRUE(port.setBitsPerSecond(57600));
  EXPECT_TRUE(port.setParity("Odd"));
  EXPECT_TRUE(port.setStopBits(2));
  EXPECT_TRUE(port.setHandshake("SOFTWARE"));
  for (const bool refused : {port.setBitsPerSecond(12345), port.setDataBits(9), port.setStopBits(0),
                             port.setParity("mark"), port.setHandshake("")})
    EXPECT_FALSE(refused);
  EXPECT_EQ(57600, port.getBitsPerSecond());
  port.open();
  termios now{};
  ASSERT_EQ(0, ::tcgetattr(pty.master(), &now));
  EXPECT_EQ(static_cast<speed_t>(B57600), ::cfgetospeed(&now));
  EXPECT_EQ(static_cast<tcflag_t>(PARODD | CSTOPB), now.c_cflag & (PARODD | CSTOPB));
  EXPECT_EQ(static_cast<tcflag_t>(IXON | IXOFF), now.c_iflag & (IXON | IXOFF));
  EXPECT_EQ(0U, now.c_lflag & (ICANON | ECHO | ISIG));
  EXPECT_TRUE(port.setBaudRate(Serial::Baud1200)) << "takes effect on the open port";
  ASSERT_EQ(0, ::tcgetattr(pty.master(), &now));
  EXPECT_EQ(static_cast<speed_t>(B1200), ::cfgetospeed(&now));
  port.close();
  const termios after = settingsOf(pty.path());
  EXPECT_EQ(before.c_lflag, after.c_lflag);
  EXPECT_EQ(before.c_iflag, after.c_iflag);
  EXPECT_EQ(before.c_cflag, after.c_cflag);
}

TEST(Serial, LinesThatDoNotExistAreReported) {
  const test::Pty pty;
  Serial port;
  bool on = true;
  EXPECT_FALSE(port.setDTR(true));
  EXPECT_FALSE(port.getCTS(on));
  port.setDevice(pty.path());
  port.open();
  EXPECT_FALSE(port.setDTR(true));
  EXPECT_FALSE(port.setRTS(false));
  EXPECT_FALSE(port.getCTS(on));
  EXPECT_FALSE(port.getDSR(on));
}

TEST(Serial, BytesPassUnchangedBothWays) {
  const test::Pty pty;
  Serial port;
  port.setDevice(pty.path());
  ioStream stream(port);
  port.open();
  std::string all;
  for (int i = 0; i < 256; ++i)
    all += static_cast<char>(i);
  pty.send(all);
  std::string got(all.size(), '\0');
  stream.read(got.data(), static_cast<std::streamsize>(got.size()));
  EXPECT_EQ(all, got);
  stream << all << std::flush;
  EXPECT_TRUE(stream.good());
  EXPECT_EQ(all, pty.receive(all.size()));
  pty.send("line\nrest");
  std::string line;
  ASSERT_TRUE(std::getline(stream, line));
  EXPECT_EQ("line", line);
  int count = 0;
  EXPECT_TRUE(test::eventually([&] { return stream.dataAvail(count) && count == 4; }));
}

TEST(Serial, EndsOfABlockedRead) {
  for (const std::string end : {"break", "close", "hang up"}) {
    test::Pty pty;
    Serial port;
    port.setDevice(pty.path());
    ioStream stream(port);
    port.open();
    std::string line;
    test::Worker reader([&] { std::getline(stream, line); });
    EXPECT_TRUE(reader.blocked()) << end;
    if (end == "break")
      port.breakWait();
    else if (end == "close")
      port.close();
    else
      pty.hangUp();
    reader.join();
    EXPECT_TRUE(stream.eof()) << end;
  }
}

TEST(Serial, TimeLimitAndReopening) {
  const test::Pty pty;
  Serial port;
  port.setDevice(pty.path());
  ioStream stream(port);
  port.open();
  stream.setTimeLimit(20);
  std::string line;
  EXPECT_FALSE(std::getline(stream, line));
  pty.send("old rest");
  EXPECT_EQ(Pelorn::WaitResult::Data, stream.waitForData(-1));
  port.close();
  EXPECT_EQ(Pelorn::WaitResult::Error, stream.waitForData(-1));
  port.open();
  stream.restart();
  stream.setTimeLimit(-1);
  pty.send("new\n");
  ASSERT_TRUE(std::getline(stream, line));
  EXPECT_EQ("new", line);
}

TEST(Serial, BreakOutlastsOpeningUntilReset) {
  const test::Pty pty;
  Serial port;
  port.setDevice(pty.path());
  port.breakWait();
  EXPECT_THROW(port.open(), Pelorn::IOException);
  port.resetWait();
  port.open();
  ioStream stream(port);
  pty.send("x");
  EXPECT_TRUE(stream.waitForData());
  port.breakWait();
  EXPECT_FALSE(stream.waitForData()) << "a stop request comes before data";
  EXPECT_FALSE(stream.buf().write("y"));
  EXPECT_FALSE(stream.buf().queueWrite("y"));
  EXPECT_TRUE(stream.buf().sendFinal("bye", 1000));
  EXPECT_EQ("bye", pty.receive(3));
  port.resetWait();
  EXPECT_TRUE(stream.waitForData());
  EXPECT_EQ('x', stream.get());
}

} // namespace
