#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

namespace Vantiflux {

/// The bytes behind an Image or a Sample: a buffer that grows and never shrinks, so that a steady stream of equal
/// blocks allocates once.
///
/// New bytes are zero: a block that is sent on before it was filled carries nothing of other memory. Large ones come
/// zeroed from the kernel, so that this costs nothing until they are used.
class GrowingBuffer {
public:
  unsigned char* data() noexcept { return data_.get(); }
  const unsigned char* data() const noexcept { return data_.get(); }
  std::size_t capacity() const noexcept { return capacity_; }

  /// Makes room for size bytes. A buffer that is too small is replaced by one of exactly that size, without keeping its
  /// contents; it is freed first, so that the two never exist together. Throws std::bad_alloc and is empty then.
  void require(std::size_t size) {
    if (size <= capacity_)
      return;
    capacity_ = 0;
    data_.reset();
    if (size <= PTRDIFF_MAX)
      data_.reset(static_cast<unsigned char*>(std::calloc(size, 1)));
    if (!data_)
      throw std::bad_alloc();
    capacity_ = size;
  }

  void swap(GrowingBuffer& other) noexcept {
    data_.swap(other.data_);
    std::swap(capacity_, other.capacity_);
  }

private:
  struct Free {
    void operator()(unsigned char* bytes) const noexcept { std::free(bytes); }
  };
  std::unique_ptr<unsigned char[], Free> data_;
  std::size_t capacity_ = 0;
};

} // namespace Vantiflux
