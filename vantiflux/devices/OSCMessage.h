#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/Exception.h>

namespace Vantiflux {

/// Open Sound Control as it comes in datagrams: bundles of messages, a message being an address, a text with a letter
/// for the type of each argument, and the arguments. Numbers are big-endian; everything is padded to multiples of four
/// bytes. Results refer to the bytes that were given.
///
/// *Failure.* What claims to be longer than the bytes that are there is thrown as Malformed. Nothing outside them is
/// read.
namespace OSC {

class VANTIFLUX_API Malformed : public Exception {
public:
  using Exception::Exception;
  ~Malformed() override;
};

std::uint32_t parse_uint(const char* bytes) noexcept;
float parse_float(const char* bytes) noexcept;

/// Whether this is a bundle; if so, takes its elements, in their order. There are none in a bundle whose time tag is
/// cut short. What follows the last whole one is Malformed.
bool readBundle(std::string_view datagram, std::vector<std::string_view>& elements);

struct Argument {
  char type;
  std::string_view bytes; ///< of a string or a blob: without what pads it
};

/// The arguments of a message.
class VANTIFLUX_API Arguments {
public:
  /// Reads a message from its text of types on. Without a text that begins with "," there are no arguments.
  void process_tag(std::string_view data);

  std::size_t size() const noexcept { return arguments_.size(); }
  const Argument& operator[](std::size_t i) const { return arguments_[i]; }

  /// An argument as what it should be: Malformed if it is not there, or is something else.
  std::string_view text(std::size_t i) const;
  std::int32_t integer(std::size_t i) const;
  float number(std::size_t i) const;

private:
  const Argument& checked(std::size_t i, char type) const;

  std::vector<Argument> arguments_;
};

} // namespace OSC

} // namespace Vantiflux
