// The conversation with a VNC server, with servers that say anything.
#include <cstring>
#include <functional>
#include <initializer_list>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <zlib.h>

#include <devices/Picture.h>
#include <platform/Printed.h>
#include <vantiflux/devices/RFBHandshake.h>
#include <vantiflux/devices/RFBPointer.h>
#include <vantiflux/devices/RFBSession.h>

namespace {

using namespace Vantiflux;
using test::pictureAt;

/// What a server says, piece by piece.
struct Script : RFBMessage {
  Script& text(const std::string& words) {
    for (const char c : words)
      u8(static_cast<unsigned char>(c));
    return *this;
  }
  Script& sized(const std::string& words) {
    u32(static_cast<std::uint32_t>(words.size()));
    return text(words);
  }
  Script& update(unsigned rectangles) {
    u8(0).u8(0).u16(rectangles);
    return *this;
  }
  Script& rectangle(unsigned x, unsigned y, unsigned width, unsigned height, int encoding) {
    u16(x).u16(y).u16(width).u16(height).u32(static_cast<std::uint32_t>(encoding));
    return *this;
  }
  Script& init(unsigned width, unsigned height) {
    u16(width).u16(height).u8(32).u8(24).u8(0).u8(1).u16(255).u16(255).u16(255).u8(16).u8(8).u8(0);
    u8(0).u8(0).u8(0);
    return sized("desk");
  }
};

/// The pixels of a rectangle as they go over the line.
std::string pixelsOf(unsigned x, unsigned y, unsigned width, unsigned height, unsigned seed) {
  std::string bytes;
  for (unsigned row = y; row < y + height; ++row)
    for (unsigned column = x; column < x + width; ++column) {
      const std::uint32_t pixel = pictureAt(column, row, seed);
      for (const unsigned shift : {0U, 8U, 16U})
        bytes += static_cast<char>(pixel >> shift);
      bytes += '\x5A'; // of no meaning
    }
  return bytes;
}

/// A stream of compressed bytes that goes on, as servers have one.
class Deflater {
public:
  Deflater() { deflateInit(&stream_, 6); }
  ~Deflater() { deflateEnd(&stream_); }
  std::string operator()(const std::string& bytes) {
    std::string out(bytes.size() + 1000, '\0');
    stream_.next_in = reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data()));
    stream_.avail_in = static_cast<uInt>(bytes.size());
    stream_.next_out = reinterpret_cast<unsigned char*>(out.data());
    stream_.avail_out = static_cast<uInt>(out.size());
    deflate(&stream_, Z_SYNC_FLUSH);
    out.resize(out.size() - stream_.avail_out);
    return out;
  }

private:
  z_stream stream_{};
};

/// A client of a server that says this, and then nothing.
class Client {
public:
  explicit Client(const std::string& bytes)
      : rest_(bytes), stream([this](void* to, std::size_t size) { return take(to, size); },
                             [this](std::string_view message) { sent += message; }) {}
  bool read() const { return rest_.empty(); }

private:
  bool take(void* to, std::size_t size) {
    if (size > rest_.size())
      return false;
    std::memcpy(to, rest_.data(), size);
    rest_.erase(0, size);
    return true;
  }
  std::string rest_;

public:
  std::string sent;
  RFBStream stream;
};

enum class End { Ended, Trouble };

/// All that a server says, to its end.
End converse(RFBSession& session) {
  try {
    session.begin();
    for (;;)
      session.handleMessage();
  } catch (const RFBStream::Ended& e) {
    EXPECT_FALSE(e.getMessage().empty());
    return End::Ended;
  } catch (const RFBStream::Trouble& e) {
    EXPECT_FALSE(e.getMessage().empty());
    return End::Trouble;
  }
}

struct Spot {
  unsigned x, y;
  friend bool operator==(const Spot&, const Spot&) = default;
};
/// The first place where the screen is not as expected.
std::optional<Spot> wrongSpot(const RFBSession& session,
                              const std::function<std::uint32_t(unsigned x, unsigned y)>& expected) {
  const auto frame = session.screen().frame();
  const unsigned char* p = frame->data();
  for (unsigned row = frame->height(); row-- > 0;)
    for (unsigned x = 0; x < frame->width(); ++x, p += 3)
      if ((std::uint32_t{p[0]} << 16 | std::uint32_t{p[1]} << 8 | p[2]) != expected(x, row))
        return Spot{x, row};
  return {};
}

const std::string version8 = "RFB 003.008\n";

TEST(RFBHandshake, AgreesWithServersOfAllVersions) {
  struct Case {
    std::string says;
    bool in;
    std::string sent;
  };
  const std::string one("\0\0\0\1", 4), zero(4, '\0');
  const auto reason = [](const std::string& text) { return Script().sized(text).bytes(); };
  for (const Case& c : std::initializer_list<Case>{
           {"RFB 003.003\n" + one, true, "RFB 003.003\n"},
           {"RFB 003.005\n" + one, true, "RFB 003.005\n"},
           {"RFB 003.003\n" + std::string("\0\0\0\2", 4), false, "RFB 003.003\n"},
           {"RFB 003.003\n" + zero + reason("too many"), false, "RFB 003.003\n"},
           {"RFB 003.007\n\2\5\1", true, "RFB 003.007\n\1"},
           {"RFB 003.008\n\3\1\2\5" + zero, true, version8 + "\1"},
           {"RFB 003.008\n\1\1" + one + reason("no"), false, version8 + "\1"},
           {"RFB 003.008\n\2\5\20", false, version8},
           {std::string("RFB 003.008\n\0", 13) + reason("full"), false, version8},
           {"RFB 003.889\n\1\1" + zero, true, version8 + "\1"},
           {"RFB 004.000\n\1\1" + zero, true, version8 + "\1"},
           {"RFB 002.009\n", false, ""},
           {"RFB 03.0008\n", false, ""},
           {"HTTP/1.0 400", false, ""},
       }) {
    SCOPED_TRACE(c.says.substr(0, 11));
    Client client(c.says);
    RFBHandshake handshake(client.stream, "");
    EXPECT_EQ(handshake.run(), c.in);
    EXPECT_EQ(client.sent, c.sent);
    EXPECT_EQ(handshake.refusal().empty(), c.in);
    for (std::size_t size = 0; size < c.says.size() && client.read(); ++size) {
      Client cut(c.says.substr(0, size));
      EXPECT_THROW(RFBHandshake(cut.stream, "").run(), RFBStream::Ended) << size;
    }
  }
  Client liar("RFB 003.003\n" + zero + "\xFF\xFF\xFF\xFF");
  EXPECT_THROW(RFBHandshake(liar.stream, "").run(), RFBStream::Trouble);
}

TEST(RFBHandshake, ProvesThatItKnowsThePassword) {
  const std::string challenge(16, '\0');
  const std::string block("\x8C\xA6\x4D\xE9\xC1\xB1\x23\xA7"); // of zeros, under a key of zeros
  EXPECT_EQ(RFBHandshake::response(challenge, ""), block + block);
  EXPECT_EQ(RFBHandshake::response(challenge, "12345678"), RFBHandshake::response(challenge, "123456789"));
  EXPECT_NE(RFBHandshake::response(challenge, "12345678"), RFBHandshake::response(challenge, "1234567"));
}

TEST(RFBSession, SaysWhatItWants) {
  Client client(Script().init(0x140, 0xF0).bytes());
  RFBSession session(client.stream);
  session.begin();
  EXPECT_EQ(session.name(), "desk");
  session.request();
  session.request();
  Script expected;
  expected.u8(1);
  expected.u32(0).u8(32).u8(32).u8(0).u8(1).u16(255).u16(255).u16(255).u8(16).u8(8).u8(0).u8(0).u8(0).u8(0);
  expected.u8(2).u8(0).u16(11);
  for (const int encoding : {0, 1, 2, 4, 5, 6, 7, 8, 16, -239, -223})
    expected.u32(static_cast<std::uint32_t>(encoding));
  expected.u8(3).u8(0).u32(0).u16(0x140).u16(0xF0);
  expected.u8(3).u8(1).u32(0).u16(0x140).u16(0xF0);
  EXPECT_EQ(client.sent, expected.bytes());
}

/// A server that says everything that there is, on a screen of 200 x 150.
Script everything() {
  Deflater deflate;
  Script script;
  script.init(200, 150);
  script.u8(2);                                          // bell
  script.u8(1).u8(0).u16(3).u16(2).u32(0).u32(0).u32(0); // two colours
  script.u8(3).u8(0).u16(0);
  script.sized("clip\nboard\x1B\xFF");
  script.update(3).rectangle(0, 0, 200, 100, 0).text(pixelsOf(0, 0, 200, 100, 1));
  script.rectangle(0, 100, 200, 50, 6).sized(deflate(pixelsOf(0, 100, 200, 50, 1)));
  script.rectangle(10, 20, 0, 0, 6).sized("");
  script.update(8);
  for (const int named : {2, 4, 5, 7, 8, 16})
    script.rectangle(0, 0, 9, 9, named);
  script.rectangle(199, 149, 1, 1, 0).text(pixelsOf(199, 149, 1, 1, 2));
  script.rectangle(3, 4, 9, 2, -239).text(pixelsOf(0, 0, 9, 2, 5)).text("\xFF\x80\x81\x7F");
  script.update(2).rectangle(50, 60, 100, 70, 6).sized(deflate(pixelsOf(50, 60, 100, 70, 3)));
  script.rectangle(52, 57, 100, 70, 1).u16(50).u16(60);
  return script;
}

TEST(RFBSession, TakesAllThatAServerSays) {
  Client client(everything().bytes());
  RFBSession session(client.stream);
  EXPECT_EQ(converse(session), End::Ended);
  EXPECT_TRUE(client.read());
  EXPECT_EQ(wrongSpot(session,
                      [](unsigned x, unsigned y) {
                        if (x >= 52 && x < 152 && y >= 57 && y < 127)
                          return pictureAt(x - 2, y + 3, 3);
                        if (x >= 50 && x < 150 && y >= 60 && y < 130)
                          return pictureAt(x, y, 3);
                        return pictureAt(x, y, x == 199 && y == 149 ? 2 : 1);
                      }),
            std::nullopt);
  EXPECT_TRUE(session.hasNewCursor());
  EXPECT_EQ(session.cursor().hotX, 3);
  EXPECT_EQ(session.cursor().hotY, 4);
  EXPECT_EQ(session.cursor().pixels.size(), 9u * 2 * 4);
  EXPECT_EQ(session.cursor().mask, (std::vector<unsigned char>{0xFF, 0x80, 0x81, 0x7F}));
}

TEST(RFBSession, EndsWhereItIsCutShort) {
  const std::string all = everything().bytes();
  for (std::size_t size = 0; size < all.size(); size += size < 200 || size + 200 > all.size() ? 1 : 997) {
    Client client(all.substr(0, size));
    RFBSession session(client.stream);
    EXPECT_EQ(converse(session), End::Ended) << size;
  }
}

TEST(RFBSession, PrintsTheShapeOfTheCursor) {
  Script script;
  script.init(9, 9).update(3).rectangle(0, 0, 9, 2, -239).text(pixelsOf(0, 0, 9, 2, 5)).text("\xFF\x80\x81\x7F");
  script.rectangle(0, 0, 0, 1024, -239).rectangle(0, 0, 1024, 0, -239);
  Client client(script.bytes());
  RFBSession session(client.stream);
  const test::Printed printed;
  EXPECT_EQ(converse(session), End::Ended);
  const std::string text = printed.text();
  EXPECT_EQ(text.substr(text.find("Cursor")), "Cursor - 9 x 2\n*********\n*......*.\nCursor - 0 x 1024\n"
                                              "Cursor - 1024 x 0\n");
}

TEST(RFBSession, TakesNewSizes) {
  Script script;
  script.init(20, 10).update(1).rectangle(0, 0, 300, 200, -223);
  script.update(1).rectangle(299, 199, 1, 1, 0).text(pixelsOf(299, 199, 1, 1, 1));
  Client client(script.bytes());
  RFBSession session(client.stream);
  EXPECT_EQ(converse(session), End::Ended);
  EXPECT_EQ(wrongSpot(session, [](unsigned x, unsigned y) { return x == 299 && y == 199 ? pictureAt(x, y, 1) : 0; }),
            std::nullopt);
  session.request();
  EXPECT_EQ(client.sent.substr(client.sent.size() - 4), Script().u16(300).u16(200).bytes());
}

TEST(RFBSession, RefusesWhatCannotBe) {
  const std::uint32_t huge = 0xFFFFFFFF;
  const auto begin = [] { return Script().init(200, 150); };
  const auto update = [&](unsigned x, unsigned y, unsigned width, unsigned height, int encoding) {
    return begin().update(1).rectangle(x, y, width, height, encoding);
  };
  Script endlessName;
  endlessName.u32(0x01000100).u32(0).u32(0).u32(0).u32(0).u32(huge);
  const std::vector<std::pair<std::string, Script>> lies{
      {"huge screen", Script().init(65535, 65535)},
      {"no screen", Script().init(0, 150)},
      {"endless name", endlessName},
      {"too wide", update(0, 0, 201, 1, 0)},
      {"too low", update(0, 1, 1, 150, 0)},
      {"far away", update(65535, 65535, 65535, 65535, 0)},
      {"compressed, outside", update(199, 0, 2, 1, 6)},
      {"compressed, endless", update(0, 0, 10, 10, 6)},
      {"copied to outside", update(190, 0, 20, 1, 1)},
      {"copied from outside", update(0, 0, 20, 1, 1)},
      {"huge cursor", update(0, 0, 60000, 60000, -239)},
      {"tall cursor", update(0, 0, 1, 1025, -239)},
      {"huge new screen", update(0, 0, 60000, 60000, -223)},
      {"no new screen", update(0, 0, 60000, 0, -223)},
      {"endless clipboard", begin()},
  };
  for (auto [what, script] : lies) {
    if (what == "endless clipboard")
      script.u8(3).u8(0).u16(0).u32(huge);
    script.u32(what == "copied from outside" ? 0x00B50000 : huge); // a length, or where from
    Client client(script.bytes());
    RFBSession session(client.stream);
    EXPECT_EQ(converse(session), End::Trouble) << what;
  }
  // What nobody knows ends it, and is no lie.
  for (Script script : {begin(), update(0, 0, 1, 1, 77)}) {
    script.u8(200);
    Client client(script.bytes());
    RFBSession session(client.stream);
    EXPECT_EQ(converse(session), End::Ended);
  }
}

// Each of these leaves the line where the next rectangle begins.
TEST(RFBSession, OutlivesCompressedBytesThatAreNone) {
  const std::string picture = pixelsOf(0, 0, 40, 30, 1);
  const std::string whole = Deflater()(picture);
  const std::string bomb = Deflater()(std::string(4'000'000, '\0'));
  std::string broken = whole;
  broken[broken.size() / 2] = static_cast<char>(~broken[broken.size() / 2]);
  const std::string ended = [&] {
    std::string bytes(10000, '\0');
    uLongf size = bytes.size();
    compress(reinterpret_cast<Bytef*>(bytes.data()), &size, reinterpret_cast<const Bytef*>(picture.data()), 400);
    return bytes.substr(0, size);
  }();
  for (const std::string& bytes : {std::string("rubbish"), bomb, broken, ended, whole.substr(0, 100), std::string()}) {
    Script script;
    script.init(40, 30).update(2).rectangle(0, 0, 40, 30, 6).sized(bytes);
    script.rectangle(0, 0, 40, 30, 0).text(pixelsOf(0, 0, 40, 30, 2));
    Client client(script.bytes());
    RFBSession session(client.stream);
    EXPECT_EQ(converse(session), End::Ended);
    EXPECT_TRUE(client.read());
    EXPECT_EQ(wrongSpot(session, [](unsigned x, unsigned y) { return pictureAt(x, y, 2); }), std::nullopt);
  }
}

TEST(RFBPointer, TellsWhatChanges) {
  std::vector<std::string> told;
  const auto event = [](unsigned mask, unsigned x, unsigned y) {
    return Script().u8(5).u8(mask).u16(x).u16(y).bytes();
  };
  RFBPointer pointer;
  const auto expect = [&](const std::vector<std::string>& events) {
    EXPECT_EQ(told, events);
    told.clear();
  };
  pointer.move(0.5F, 1);
  pointer.press(2, true); // nobody is there yet
  bool idle = true;
  bool full = false;
  const auto send = [&](std::string_view message, bool pressed) {
    const bool taken = !full && (idle || pressed);
    if (taken)
      told.emplace_back(message);
    return taken;
  };
  pointer.open(send, 641, 481);
  expect({event(4, 320, 0)});
  pointer.move(0.5F, 1);
  pointer.press(2, true);
  expect({});
  pointer.move(1, 0);
  pointer.press(0, true);
  pointer.press(1, true);
  pointer.press(2, false);
  expect({event(4, 640, 480), event(5, 640, 480), event(7, 640, 480), event(3, 640, 480)});
  pointer.move(-7, 1e30F);
  pointer.move(std::numeric_limits<float>::quiet_NaN(), 0.5F);
  expect({event(3, 0, 0)});
  // What is refused is told later, as it is then.
  idle = false;
  pointer.move(1, 1);
  expect({});
  pointer.press(0, false);
  full = true;
  pointer.press(1, false);
  pointer.move(1, 0);
  expect({event(2, 640, 0)});
  full = false;
  pointer.tellAgain();
  pointer.tellAgain();
  expect({event(0, 640, 480)});
  pointer.close();
  pointer.press(0, false);
  expect({});
}

} // namespace
