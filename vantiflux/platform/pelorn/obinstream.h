#pragma once

#include <cstddef>
#include <memory>
#include <ostream>
#include <span>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/WireNumber.h>

namespace Pelorn {

/// Writes typed values in binary form, one after the other and nothing between them: numbers as WireNumber says, a
/// string as its length in bytes (unsigned int) and its bytes, without a final zero.
///
/// It keeps nothing back, so plain writes to the stream below may come at any point between.
///
/// *Failure.* A stream that does not take the bytes has its badbit set, and nothing is written to a failed stream.
class VANTIFLUX_API obinstream {
public:
  explicit obinstream(std::ostream& stream) noexcept : stream_(stream) {}

  template <WireNumber T>
  obinstream& operator<<(const T& value) {
    return write(&value, sizeof value);
  }
  /// Each number of a run, without a count.
  template <WireNumber T, std::size_t Extent>
  obinstream& operator<<(std::span<const T, Extent> values) {
    return write(values.data(), values.size_bytes());
  }
  /// A string of 4 GiB or more cannot be expressed: it sets the failbit and writes nothing.
  obinstream& operator<<(const std::string& value);
  /// A literal would turn into a bool.
  template <class T>
  obinstream& operator<<(const T*) = delete;

  /// Bytes as they are.
  obinstream& write(const void* bytes, std::size_t size);

  /// Bytes as they are, which may go on lying where they are: when the stream collects for a gathering write
  /// (GatherBuf) and they are many, they are referred to instead of copied, and keep() is called for what keeps them
  /// alive and unchanged, a std::shared_ptr<const void>.
  template <class Keep>
  obinstream& block(const void* bytes, std::size_t size, Keep&& keep) {
    if (!takesReferences(size))
      return write(bytes, size);
    refer(bytes, size, keep());
    return *this;
  }

  std::ostream& stream() const noexcept { return stream_; }

private:
  bool takesReferences(std::size_t size) const;
  void refer(const void* bytes, std::size_t size, std::shared_ptr<const void> owner);

  std::ostream& stream_;
};

} // namespace Pelorn
