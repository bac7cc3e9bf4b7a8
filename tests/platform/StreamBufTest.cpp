#include <vantiflux/platform/pelorn/StreamBuf.h>

#include "support.h"
#include <vantiflux/platform/pelorn/ioStream.h>

namespace {

using Pelorn::ioStream;
using Pelorn::StreamBuf;
using Pelorn::WaitResult;

std::string take(StreamBuf& from, std::size_t size) {
  std::string text(size, '\0');
  text.resize(static_cast<std::size_t>(from.sgetn(text.data(), static_cast<std::streamsize>(size))));
  return text;
}

/// Queues more than the system will ever take while nobody reads, and returns how much that was.
std::size_t stuff(StreamBuf& out) {
  const std::string block(16 << 20, '.');
  std::size_t total = 0;
  out.setQueueLimit(std::size_t{1} << 30);
  while (out.queued() < block.size()) {
    if (!out.queueWrite(block))
      return 0;
    total += block.size();
  }
  return total;
}

TEST(StreamBuf, ReadsWhateverTheSizesOfItsBuffers) {
  for (const std::size_t size : {0U, 1U, 7U, 8192U}) {
    test::Connection tcp;
    ioStream out(tcp.client, size, size), in(*tcp.peer, size, size);
    out << "word " << 42 << std::string(100, 'x') << ' ' << std::flush;
    std::string word, rest;
    int number = 0;
    in >> word >> number >> rest;
    EXPECT_EQ("word", word);
    EXPECT_EQ(42, number);
    EXPECT_EQ(std::string(100, 'x'), rest);
  }
}

TEST(StreamBuf, FinishGetsEverythingOutBeforeTheClose) {
  test::Connection tcp;
  StreamBuf out(tcp.client);
  const std::size_t total = stuff(out) + 3;
  ASSERT_NE(3U, total);
  // What is not read here would turn a plain close into a reset, and that loses what the peer has not taken yet.
  StreamBuf in(*tcp.peer);
  ASSERT_TRUE(in.write("unread"));
  tcp.client.breakWait(); // as of a node that is being stopped
  test::Worker closer([&] {
    EXPECT_TRUE(out.sendFinal("bye", 60000));
    out.finish(60000);
    out.close();
  });
  EXPECT_TRUE(closer.blocked());
  EXPECT_EQ(total, take(in, total).size());
  EXPECT_EQ(WaitResult::Error, in.waitForData(30000));
  // A peer that takes nothing more is waited for no longer than was said.
  test::Connection stalled;
  StreamBuf mute(stalled.client);
  ASSERT_NE(0U, stuff(mute));
  mute.finish(20);
  EXPECT_NE(0U, mute.queued());
}

TEST(StreamBuf, WaitTellsDataTimeOutAndEndApart) {
  test::Connection tcp;
  StreamBuf in(*tcp.peer);
  StreamBuf out(tcp.client);
  EXPECT_EQ(WaitResult::Timeout, in.waitForData(0));
  EXPECT_EQ(WaitResult::Timeout, in.waitForData(10));
  ASSERT_TRUE(out.write("abc"));
  EXPECT_EQ(WaitResult::Data, in.waitForData(30000));
  int count = 0;
  EXPECT_TRUE(in.dataAvail(count));
  EXPECT_EQ(3, count);
  EXPECT_EQ(3, in.in_avail());
  tcp.client.close();
  EXPECT_EQ(WaitResult::Data, in.waitForData(-1)) << "what came before the end is still there";
  EXPECT_EQ("abc", take(in, 3));
  EXPECT_EQ(WaitResult::Error, in.waitForData(-1));
  EXPECT_EQ(std::char_traits<char>::eof(), in.sgetc());
}

TEST(StreamBuf, EndsOfABlockedReadAndWrite) {
  for (const std::string end : {"break", "close", "peer"}) {
    test::Connection tcp;
    StreamBuf buf(tcp.client);
    stuff(buf);
    bool read = true, written = true;
    test::Worker reader([&] { read = buf.waitForData(); });
    test::Worker writer([&] { written = buf.write("never"); });
    EXPECT_TRUE(reader.blocked() && writer.blocked()) << end;
    if (end == "break")
      buf.breakWait();
    else if (end == "close")
      buf.close();
    else
      tcp.peer.reset();
    reader.join();
    writer.join();
    EXPECT_FALSE(read) << end;
    EXPECT_FALSE(written) << end;
    EXPECT_FALSE(buf.queueWrite("x")) << end;
    EXPECT_FALSE(buf.sendFinal("x", 20)) << end;
  }
}

TEST(StreamBuf, ALimitedWriteComesBack) {
  test::Connection tcp;
  ioStream stream(tcp.client);
  stuff(stream.buf());
  EXPECT_FALSE(stream.buf().write("x", 20));
  stream.setTimeLimit(20);
  stream << "y" << std::flush;
  EXPECT_TRUE(stream.bad());
}

TEST(StreamBuf, AFullQueueRefusesWholeMessages) {
  test::Connection tcp;
  StreamBuf out(tcp.client);
  std::string accepted;
  int refused = 0;
  const auto offer = [&](std::size_t size) {
    const std::string message(size, static_cast<char>('a' + accepted.size() % 23));
    const bool taken = out.queueWrite(message);
    if (taken)
      accepted += message;
    refused += !taken;
    EXPECT_LE(out.queued(), StreamBuf::defaultQueueLimit);
  };
  offer(StreamBuf::defaultQueueLimit + 1);
  EXPECT_EQ(1, refused);
  // The system goes on taking a little for a while, so there are many refusals before the last one.
  while (refused < 100)
    offer(70001);
  offer(1);

  // Whoever waits for data sends it on, without a write.
  std::string got;
  test::Worker peer([&] {
    StreamBuf in(*tcp.peer, 1, 1 << 16);
    got = take(in, accepted.size());
    in.write("!");
  });
  EXPECT_EQ(WaitResult::Data, out.waitForData(-1));
  peer.join();
  EXPECT_EQ(0U, out.queued());
  EXPECT_TRUE(accepted == got);
}

TEST(StreamBuf, QueueingWakesTheReaderThatSleeps) {
  test::Connection tcp;
  StreamBuf out(tcp.client);
  test::Worker reader([&] { out.waitForData(); });
  EXPECT_TRUE(reader.blocked());
  // Far beyond what the system takes: the sleeping reader has to send the rest.
  const std::string text(32 << 20, 'q');
  out.setQueueLimit(text.size());
  ASSERT_TRUE(out.queueWrite(text));
  EXPECT_GT(out.queued(), 0U);
  StreamBuf in(*tcp.peer, 1, 1 << 16);
  EXPECT_EQ(text, take(in, text.size()));
  tcp.peer->close();
}

TEST(StreamBuf, ManyWritersAndAReaderAtOnce) {
  test::Connection tcp;
  StreamBuf near(tcp.client, 64, 64);
  StreamBuf far(*tcp.peer);
  constexpr int writers = 3, messages = 400;
  // Each message is one run of a letter with a line end: it must come in one piece.
  test::Worker echo([&] {
    std::string chunk;
    while (far.waitForData()) {
      chunk = take(far, static_cast<std::size_t>(far.in_avail()));
      far.write(chunk);
    }
  });
  std::string got;
  test::Worker reader([&] {
    while (got.size() < writers * messages * 101U && near.waitForData())
      got += take(near, static_cast<std::size_t>(near.in_avail()));
  });
  {
    std::vector<std::unique_ptr<test::Worker>> threads;
    for (int i = 0; i < writers; ++i) {
      threads.push_back(std::make_unique<test::Worker>([&, i] {
        const std::string message = std::string(100, static_cast<char>('a' + i)) + "\n";
        for (int k = 0; k < messages; ++k)
          EXPECT_TRUE(k % 2 ? near.write(message) : near.queueWrite(message));
      }));
    }
  }
  reader.join();
  tcp.client.close();
  echo.join();
  int whole = 0;
  for (std::size_t at = 0; at + 101 <= got.size(); at += 101)
    whole += got[at + 100] == '\n' && got.substr(at, 100) == std::string(100, got[at]);
  EXPECT_EQ(writers * messages, whole);
}

TEST(StreamBuf, NothingOfAClosedConnectionReachesTheNext) {
  Pelorn::ServerSocket server;
  server.open("127.0.0.1", 0);
  const auto port = server.getLocalAddress().getServicePort();
  Pelorn::Socket socket;
  StreamBuf buf(socket);
  socket.open("127.0.0.1", port);
  auto first = server.accept();
  ASSERT_TRUE(StreamBuf(*first).write("old"));
  EXPECT_TRUE(buf.waitForData());
  stuff(buf);
  socket.close();
  EXPECT_FALSE(buf.queueWrite("lost"));
  socket.open("127.0.0.1", port);
  auto second = server.accept();
  ASSERT_TRUE(StreamBuf(*second).write("new"));
  EXPECT_TRUE(buf.waitForData());
  EXPECT_EQ("new", take(buf, 3));
  ASSERT_TRUE(buf.queueWrite("hello"));
  StreamBuf in(*second);
  EXPECT_EQ("hello", take(in, 5));
}

TEST(StreamBuf, BreakingAndReopeningUnderLoad) {
  Pelorn::ServerSocket server;
  server.open("127.0.0.1", 0);
  Pelorn::Socket socket;
  StreamBuf buf(socket);
  for (int i = 0; i < 100; ++i) {
    socket.resetWait();
    socket.open("127.0.0.1", server.getLocalAddress().getServicePort());
    const auto peer = server.accept();
    test::Worker reader([&] {
      while (buf.waitForData())
        take(buf, static_cast<std::size_t>(buf.in_avail()));
    });
    test::Worker writer([&] {
      while (buf.queueWrite("tick"))
        ;
    });
    StreamBuf(*peer).write("data");
    i % 2 ? buf.breakWait() : buf.close();
  }
}

} // namespace
