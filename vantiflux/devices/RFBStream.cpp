#include <vantiflux/devices/RFBStream.h>

#include <algorithm>
#include <array>

#include <vantiflux/devices/DeviceText.h>

namespace Vantiflux {

RFBStream::Ended::~Ended() = default;

RFBStream::Trouble::~Trouble() = default;

void RFBStream::read(void* bytes, std::size_t size) {
  if (size > 0 && !source_(bytes, size))
    throw Ended("Connection lost");
}

void RFBStream::skip(std::uint64_t size) {
  std::array<char, 4096> dropped; // NOLINT: filled before it is read
  while (size > 0) {
    const std::size_t part = std::min<std::uint64_t>(size, dropped.size());
    read(dropped.data(), part);
    size -= part;
  }
}

std::uint8_t RFBStream::u8() {
  std::uint8_t value = 0;
  read(&value, 1);
  return value;
}

std::uint16_t RFBStream::u16() {
  std::array<std::uint8_t, 2> b{};
  read(b.data(), b.size());
  return static_cast<std::uint16_t>(b[0] << 8 | b[1]);
}

std::uint32_t RFBStream::u32() {
  std::array<std::uint8_t, 4> b{};
  read(b.data(), b.size());
  return std::uint32_t{b[0]} << 24 | std::uint32_t{b[1]} << 16 | std::uint32_t{b[2]} << 8 | b[3];
}

std::string RFBStream::text(std::uint32_t size) {
  if (size > maxText)
    throw Trouble("A text of " + std::to_string(size) + " bytes");
  std::string begin(std::min<std::size_t>(size, DeviceText::shownLimit + 1), '\0');
  read(begin.data(), begin.size());
  skip(size - begin.size());
  return DeviceText::shown(begin);
}

RFBMessage& RFBMessage::u8(unsigned value) {
  bytes_.push_back(static_cast<char>(value));
  return *this;
}

RFBMessage& RFBMessage::u16(unsigned value) {
  return u8(value >> 8 & 0xFF).u8(value & 0xFF);
}

RFBMessage& RFBMessage::u32(std::uint32_t value) {
  return u16(value >> 16).u16(value & 0xFFFF);
}

} // namespace Vantiflux
