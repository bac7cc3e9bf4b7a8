#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include <vantiflux/Export.h>
#include <vantiflux/core/Exception.h>

namespace Vantiflux {

/// The bytes that a client and a server of remote framebuffers exchange. Numbers are big-endian.
///
/// *Failure.* When there is nothing more to read, Ended is thrown. What a server may not say is thrown as Trouble, by
/// whoever finds it out. The message of either is for people.
class VANTIFLUX_API RFBStream {
public:
  class VANTIFLUX_API Ended : public Exception {
  public:
    using Exception::Exception;
    ~Ended() override;
  };
  class VANTIFLUX_API Trouble : public Exception {
  public:
    using Exception::Exception;
    ~Trouble() override;
  };

  /// What a server may say at once, in bytes: a name, a reason, the contents of its clipboard.
  static constexpr std::size_t maxText = std::size_t{16} << 20;

  /// Takes exactly so many bytes; false if they do not come.
  using Source = std::function<bool(void* bytes, std::size_t size)>;
  /// Sends a message whole, or not at all.
  using Sink = std::function<void(std::string_view message)>;

  RFBStream(Source source, Sink sink) : source_(std::move(source)), sink_(std::move(sink)) {}

  void read(void* bytes, std::size_t size);
  void skip(std::uint64_t size);
  std::uint8_t u8();
  std::uint16_t u16();
  std::uint32_t u32();
  /// So many bytes as a line for people: fit to be shown, and cut if it is long. Trouble if it is longer than any text
  /// may be.
  std::string text(std::uint32_t size);

  void send(std::string_view message) { sink_(message); }

private:
  Source source_;
  Sink sink_;
};

/// A message to the server.
class VANTIFLUX_API RFBMessage {
public:
  RFBMessage& u8(unsigned value);
  RFBMessage& u16(unsigned value);
  RFBMessage& u32(std::uint32_t value);
  const std::string& bytes() const noexcept { return bytes_; }

private:
  std::string bytes_;
};

} // namespace Vantiflux
