#include <vantiflux/web/rest/Base64.h>

#include <algorithm>
#include <array>

#include <openssl/evp.h>

namespace REST {

namespace {

// The library counts in int; its blocks stand alone as long as they are whole groups.
constexpr std::size_t blockBytes = 3 << 18;

constexpr bool isDigit(unsigned char c) noexcept {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/';
}

/// Collects the characters that count until there are enough for a call of the library.
class Decoding {
public:
  Decoding(unsigned char* output, std::size_t room) : output_(output), room_(room) {}

  bool take(unsigned char c) {
    if (c == '=')
      return ++padding_ <= 2 && (count_ + padding_ - 1) % 4 >= 2;
    if (!isDigit(c))
      return true;
    if (padding_ != 0)
      return false;
    pending_[count_++] = c;
    return count_ < pending_.size() || flush();
  }

  bool finish() {
    if ((count_ + padding_) % 4 != 0)
      return false;
    std::fill_n(pending_.begin() + static_cast<std::ptrdiff_t>(count_), padding_, 'A');
    count_ += padding_;
    return flush();
  }

  std::size_t written() const noexcept { return written_; }

private:
  // The last group is decoded whole, so it goes by way of a buffer: the output may end with its last byte.
  bool flush() {
    std::array<unsigned char, pendingSize / 4 * 3> bytes;
    const std::size_t size = count_ / 4 * 3 - padding_;
    if (count_ == 0)
      return true;
    if (size > room_ - written_ || EVP_DecodeBlock(bytes.data(), pending_.data(), static_cast<int>(count_)) < 0)
      return false;
    std::copy_n(bytes.data(), size, output_ + written_);
    written_ += size;
    count_ = 0;
    return true;
  }

  static constexpr std::size_t pendingSize = 4096;

  unsigned char* const output_;
  const std::size_t room_;
  std::size_t written_ = 0;
  std::array<unsigned char, pendingSize> pending_;
  std::size_t count_ = 0;
  std::size_t padding_ = 0;
};

} // namespace

int base64_enc(const unsigned char* input, std::size_t inputSize, unsigned char* output, std::size_t* outputSize) {
  // Written so that no size overflows.
  if (*outputSize == 0 || (*outputSize - 1) / 4 < inputSize / 3 + (inputSize % 3 != 0 ? 1 : 0))
    return 0;
  std::size_t written = 0;
  output[0] = 0;
  for (std::size_t done = 0; done < inputSize; done += blockBytes) {
    const std::size_t block = std::min(blockBytes, inputSize - done);
    written += static_cast<std::size_t>(EVP_EncodeBlock(output + written, input + done, static_cast<int>(block)));
  }
  *outputSize = written;
  return 1;
}

int base64_dec(const unsigned char* input, std::size_t inputSize, unsigned char* output, std::size_t* outputSize) {
  Decoding decoding(output, *outputSize);
  for (std::size_t i = 0; i < inputSize; ++i)
    if (!decoding.take(input[i]))
      return 0;
  if (!decoding.finish())
    return 0;
  *outputSize = decoding.written();
  return 1;
}

} // namespace REST
