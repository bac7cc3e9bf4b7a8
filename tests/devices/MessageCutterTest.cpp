#include <vantiflux/devices/MessageCutter.h>

#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <devices/Support.h>
#include <vantiflux/devices/DeviceText.h>

namespace {

using namespace Vantiflux;
using test::Messages;

/// What a cutter makes of a text that came in one burst, up to the end of the stream.
Messages cut(int maxBytes, int delimiter, const std::string& text) {
  test::Connection connection;
  test::send(*connection.peer, text);
  connection.peer.reset();
  Pelorn::StreamBuf stream(connection.client);
  const MessageCutter cutter(maxBytes, delimiter);
  Messages messages;
  for (std::string message = "old"; cutter.next(stream, message);)
    messages.push_back(message);
  return messages;
}

TEST(MessageCutter, CutsABurst) {
  EXPECT_EQ(cut(4, -1, "0123456789"), (Messages{"0123", "4567", "89"}));
  EXPECT_EQ(cut(-1, -1, "0123456789"), (Messages{"0123456789"}));
  EXPECT_EQ(cut(0, -1, "ab"), (Messages{"a", "b"}));
  EXPECT_EQ(cut(-1, 10, "one\ntwo\n\nrest"), (Messages{"one\n", "two\n", "\n"}));
  EXPECT_EQ(cut(4, 10, "one\nthree\n45678"), (Messages{"one\n", "thre", "e\n", "4567"}));
  EXPECT_EQ(cut(-1, 0xE4, "a\xE4z\xE4"), (Messages{"a\xE4", "z\xE4"}));
  EXPECT_EQ(cut(-1, 0, std::string("a\0b", 3)), (Messages{std::string("a\0", 2)}));
  EXPECT_EQ(cut(-1, 300, "no such byte"), Messages());
}

TEST(MessageCutter, WaitsForTheRestOfAMessageHoweverItIsSplit) {
  const std::string text = "first\nsecond\n\n";
  for (std::size_t at = 0; at <= text.size(); ++at) {
    test::Connection connection;
    test::Worker sender([&] {
      test::send(*connection.peer, text.substr(0, at));
      std::this_thread::yield();
      test::send(*connection.peer, text.substr(at));
    });
    Pelorn::StreamBuf stream(connection.client);
    const MessageCutter cutter(-1, '\n');
    for (const char* expected : {"first\n", "second\n", "\n"}) {
      std::string message;
      EXPECT_TRUE(cutter.next(stream, message));
      EXPECT_EQ(message, expected);
    }
  }
}

TEST(MessageCutter, DoesNotLetAMessageGrowWithoutEnd) {
  test::Connection connection;
  const std::string flood(MessageCutter::limit + 3, 'x');
  test::Worker sender([&] {
    test::send(*connection.peer, flood + "\n");
    connection.peer->shutdownOutput();
  });
  Pelorn::StreamBuf stream(connection.client);
  for (const std::size_t expected : {MessageCutter::limit, std::size_t{4}}) {
    std::string message;
    ASSERT_TRUE(MessageCutter(-1, '\n').next(stream, message));
    EXPECT_EQ(message.size(), expected);
  }
}

TEST(DeviceText, TurnsLatin1IntoUTF8) {
  EXPECT_EQ(DeviceText::latin1ToUTF8("a\xE4\x80\xBF\xC0\xFF\x7F"), "a\xC3\xA4\xC2\x80\xC2\xBF\xC3\x80\xC3\xBF\x7F");
  EXPECT_EQ(DeviceText::latin1ToUTF8(std::string("\0", 1)), std::string("\0", 1));
}

TEST(DeviceText, PausesForEachMark) {
  const auto played = [](const std::string& text) {
    std::string sequence;
    const bool all = DeviceText::sendWithPauses(
        text, [&](std::string_view piece) { return (sequence += "[" + std::string(piece) + "]"), piece != "stop"; },
        [&](int milliseconds) { return (sequence += std::to_string(milliseconds)), true; });
    return sequence + (all ? "" : "!");
  };
  EXPECT_EQ(played("a#b#c"), "[a]500[b]500[c]");
  EXPECT_EQ(played("#a##"), "500[a]500500");
  EXPECT_EQ(played(""), "");
  EXPECT_EQ(played("stop#b"), "[stop]!");
}

} // namespace
