#include <vantiflux/devices/RFBSession.h>

#include <array>
#include <cstddef>
#include <initializer_list>
#include <sstream>
#include <string_view>
#include <utility>

#include <vantiflux/platform/tarsil/Console.h>

namespace Vantiflux {

using Tarsil::printErrorLine;
using Tarsil::printLine;

namespace {

enum Encoding : std::int32_t {
  Raw = 0,
  CopyRect = 1,
  RRE = 2,
  CoRRE = 4,
  Hextile = 5,
  Zlib = 6,
  Tight = 7,
  ZlibHex = 8,
  ZRLE = 16,
  CursorShape = -239,
  DesktopSize = -223,
};

/// In the order in which they are asked for.
struct Named {
  Encoding encoding;
  std::string_view name;
};
constexpr std::array<Named, 11> encodings{{{Raw, "Raw"},
                                           {CopyRect, "CopyRect"},
                                           {RRE, "RRE"},
                                           {CoRRE, "CoRRE"},
                                           {Hextile, "Hextile"},
                                           {Zlib, "Zlib"},
                                           {Tight, "Tight"},
                                           {ZlibHex, "ZlibHex"},
                                           {ZRLE, "ZRLE"},
                                           {CursorShape, "Cursor"},
                                           {DesktopSize, "DesktopSize"}}};

constexpr std::size_t maxWanted = 64;

std::vector<std::int32_t> encodingsOf(const std::string& names) {
  std::vector<std::int32_t> chosen;
  std::istringstream list(names);
  for (std::string name; std::getline(list >> std::ws, name, ',');)
    for (const Named& known : encodings)
      if (known.name == name && chosen.size() < maxWanted)
        chosen.push_back(known.encoding);
  if (chosen.empty())
    for (const Named& known : encodings)
      chosen.push_back(known.encoding);
  return chosen;
}

std::string setPixelFormat() {
  RFBMessage message;
  message.u8(0).u8(0).u8(0).u8(0);
  message.u8(32).u8(32).u8(0).u8(1); // bits a pixel, depth, byte order, true colour
  message.u16(255).u16(255).u16(255).u8(16).u8(8).u8(0);
  return message.u8(0).u8(0).u8(0).bytes();
}

std::string setEncodings(const std::vector<std::int32_t>& wanted) {
  RFBMessage message;
  message.u8(2).u8(0).u16(static_cast<unsigned>(wanted.size()));
  for (const std::int32_t encoding : wanted)
    message.u32(static_cast<std::uint32_t>(encoding));
  return message.bytes();
}

} // namespace

RFBSession::RFBSession(RFBStream& stream, const std::string& names) : stream_(stream), encodings_(encodingsOf(names)) {}

void RFBSession::begin() {
  stream_.send(RFBMessage().u8(1).bytes()); // others may look on
  readServerInit();
  printLine("bigendianflag = 0");
  stream_.send(setPixelFormat());
  stream_.send(setEncodings(encodings_));
}

void RFBSession::readServerInit() {
  const auto print = [](const char* what, unsigned value) { printLine(what + (" = " + std::to_string(value))); };
  const std::uint16_t width = stream_.u16();
  const std::uint16_t height = stream_.u16();
  print("width", width);
  print("height", height);
  for (const char* const what : {"bpp", "depth", "big_endian_flag", "true_colour_flag"})
    print(what, stream_.u8());
  for (const char* const what : {"red_max", "green_max", "blue_max"})
    print(what, stream_.u16());
  for (const char* const what : {"red_shift", "green_shift", "blue_shift"})
    print(what, stream_.u8());
  stream_.skip(3);
  name_ = stream_.text(stream_.u32());
  printLine("name = \"" + name_ + "\"");
  screen_.resize(width, height);
}

void RFBSession::request() {
  stream_.send(RFBMessage().u8(3).u8(asked_).u16(0).u16(0).u16(screen_.width()).u16(screen_.height()).bytes());
  asked_ = true;
}

bool RFBSession::handleMessage() {
  const unsigned type = stream_.u8();
  switch (type) {
  case 0:
    readUpdate();
    return true;
  case 1:
    skipColourMap();
    return false;
  case 2:
    printLine("Got message: Bell");
    return false;
  case 3:
    stream_.skip(3);
    printLine("Got message: ServerCutText - \"" + stream_.text(stream_.u32()) + "\"");
    return false;
  default:
    printErrorLine("ERROR: Got unknown message (" + std::to_string(type) + ")");
    throw RFBStream::Ended("Got unknown message " + std::to_string(type));
  }
}

void RFBSession::skipColourMap() {
  stream_.skip(1);
  stream_.u16(); // the first colour
  const std::uint16_t count = stream_.u16();
  stream_.skip(std::uint64_t{count} * 6);
  printLine("Got message: SetColourMapEntries");
}

void RFBSession::readUpdate() {
  stream_.skip(1);
  const unsigned count = stream_.u16();
  for (unsigned i = 0; i < count; ++i)
    readRectangle();
}

void RFBSession::readRectangle() {
  RFBScreen::Rectangle r;
  for (std::uint16_t* const number : {&r.x, &r.y, &r.width, &r.height})
    *number = stream_.u16();
  const auto encoding = static_cast<std::int32_t>(stream_.u32());
  switch (encoding) {
  case Raw:
    screen_.readRaw(stream_, r);
    return;
  case CopyRect: {
    const std::uint16_t x = stream_.u16();
    const std::uint16_t y = stream_.u16();
    screen_.copy(x, y, r);
    printLine("CopyRect ");
    return;
  }
  case Zlib:
    screen_.readZlib(stream_, r);
    return;
  case CursorShape:
    readCursor(r);
    return;
  case DesktopSize:
    screen_.resize(r.width, r.height);
    printLine("DesktopSize");
    return;
  default:
    break;
  }
  for (const Named& known : encodings)
    if (known.encoding == encoding) {
      printLine(known.name);
      return;
    }
  printLine("unknown encoding: " + std::to_string(encoding));
  throw RFBStream::Ended("Unknown encoding " + std::to_string(encoding));
}

void RFBSession::readCursor(const RFBScreen::Rectangle& shape) {
  if (shape.width > maxCursor || shape.height > maxCursor)
    throw RFBStream::Trouble("A cursor of " + std::to_string(shape.width) + " x " + std::to_string(shape.height));
  Cursor fresh{shape.x, shape.y, shape.width, shape.height, {}, {}};
  fresh.pixels.resize(shape.pixels() * 4);
  stream_.read(fresh.pixels.data(), fresh.pixels.size());
  fresh.mask.resize(std::size_t{(shape.width + 7U) / 8} * shape.height);
  stream_.read(fresh.mask.data(), fresh.mask.size());
  cursor_ = std::move(fresh);
  newCursor_ = true;
  printLine("Cursor - " + std::to_string(shape.width) + " x " + std::to_string(shape.height));
  printMask();
}

void RFBSession::printMask() const {
  if (cursor_.width == 0)
    return;
  const unsigned char* row = cursor_.mask.data();
  const std::size_t rowBytes = (cursor_.width + 7U) / 8;
  for (unsigned y = 0; y < cursor_.height; ++y, row += rowBytes) {
    std::string line;
    for (unsigned x = 0; x < cursor_.width; ++x)
      line += (row[x / 8] >> (7 - x % 8) & 1) != 0 ? '*' : '.';
    printLine(line);
  }
}

} // namespace Vantiflux
