// Base64 both ways. Any bytes come back; a text that is taken is, but for what is ignored, the text of its bytes. The
// first byte takes a little of the room that there is, which nothing may go beyond.
#include <cstdint>
#include <string>
#include <vector>

#include <fuzz/Input.h>
#include <vantiflux/web/rest/Base64.h>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes bytesOf(const std::string& text) {
  return {text.begin(), text.end()};
}

bool encode(const Bytes& bytes, Bytes& text, std::size_t less) {
  std::size_t size = (bytes.size() + 2) / 3 * 4 + 1;
  size -= less < size ? less : size;
  text.assign(size, 0);
  if (REST::base64_enc(bytes.data(), bytes.size(), text.data(), &size) == 0)
    return false;
  text.resize(size);
  return true;
}

bool decode(const Bytes& text, Bytes& bytes, std::size_t less) {
  std::size_t size = text.size() / 4 * 3 + 3;
  size -= less < size ? less : size;
  bytes.assign(size, 0);
  if (REST::base64_dec(text.data(), text.size(), bytes.data(), &size) == 0)
    return false;
  bytes.resize(size);
  return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
  fuzz::Input parts(input, size);
  const std::size_t less = parts.byte() % 8;
  const Bytes bytes = bytesOf(parts.rest());
  Bytes text;
  Bytes back;
  fuzz::require(encode(bytes, text, 0));
  fuzz::require(decode(text, back, 0) && back == bytes);
  fuzz::require(encode(bytes, text, less) == (less == 0));
  if (decode(bytes, back, less)) { // the input itself as a text
    Bytes again;
    fuzz::require(encode(back, text, 0) && decode(text, again, 0) && again == back);
  }
  return 0;
}
