#pragma once

#include <cstddef>
#include <istream>
#include <span>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/WireNumber.h>

namespace Pelorn {

/// Reads what obinstream wrote. It reads nothing ahead, so plain reads from the stream below may come at any point
/// between.
///
/// *Failure.* When there are fewer bytes than a value needs, what is there is used up, the stream's eofbit and failbit
/// are set, and the value stays as it was. Nothing is read from a failed stream.
///
/// *Memory.* A length that came from outside is not believed: room is made only for bytes that are there, or, where the
/// stream cannot tell how many these are, in steps as they come.
class VANTIFLUX_API ibinstream {
public:
  /// How much room is made ahead of bytes that may not come.
  static constexpr std::size_t step = 64 * 1024;

  explicit ibinstream(std::istream& stream) noexcept : stream_(stream) {}

  template <WireNumber T>
  ibinstream& operator>>(T& value) {
    char bytes[sizeof(T)];
    if (readAll(bytes, sizeof bytes))
      value = fromWire<T>(bytes);
    return *this;
  }
  ibinstream& operator>>(std::string& value);

  /// Reads a run of numbers, without a count, and returns how many came whole. One that came in part is a wrong one.
  template <WireNumber T>
    requires(!std::same_as<T, bool>)
  std::size_t readRun(T* values, std::size_t count) {
    return readRun(static_cast<void*>(values), count, sizeof(T));
  }

  /// Bytes as they are. False if there are fewer; those are in place then.
  bool read(void* bytes, std::size_t size) { return readAll(bytes, size); }

  /// As many bytes as they are, in a new text. False if there are fewer; the text stays as it was then.
  bool readText(std::string& text, std::size_t size);

  /// How many bytes are certainly there, without waiting: all that are left when the stream reads from memory.
  std::size_t available() const;

  explicit operator bool() const { return !stream_.fail(); }
  std::istream& stream() const noexcept { return stream_; }

private:
  bool readAll(void* bytes, std::size_t size);
  std::size_t readRun(void* values, std::size_t count, std::size_t width);

  std::istream& stream_;
};

} // namespace Pelorn
