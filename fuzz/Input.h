#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace fuzz {

/// Takes the input apart from its beginning.
class Input {
public:
  Input(const std::uint8_t* bytes, std::size_t size) : rest_(reinterpret_cast<const char*>(bytes), size) {}

  /// 0 when there is none left.
  std::uint8_t byte() {
    const std::string_view taken = rest_.substr(0, 1);
    rest_.remove_prefix(taken.size());
    return taken.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(taken[0]);
  }
  /// Up to the next line end, which is dropped.
  std::string line() {
    const std::string_view taken = rest_.substr(0, rest_.find('\n'));
    rest_.remove_prefix(taken.size() < rest_.size() ? taken.size() + 1 : taken.size());
    return std::string(taken);
  }
  /// Exactly so many bytes; false if there are not as many.
  bool read(void* to, std::size_t size) {
    if (size > rest_.size())
      return false;
    std::memcpy(to, rest_.data(), size);
    rest_.remove_prefix(size);
    return true;
  }
  std::string rest() const { return std::string(rest_); }

private:
  std::string_view rest_;
};

/// What must hold for every input.
inline void require(bool holds) {
  if (!holds)
    std::abort();
}

} // namespace fuzz
