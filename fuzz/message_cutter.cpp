// The bytes of a device, cut into messages: the cut must not depend on how they come in, whole, in pieces or byte by
// byte. The first byte is the greatest length, the second chooses the delimiter and the third the pieces.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <fuzz/Input.h>
#include <vantiflux/devices/MessageCutter.h>
#include <vantiflux/platform/pelorn/Channel.h>
#include <vantiflux/platform/pelorn/StreamBuf.h>

namespace {

/// Gives a text in pieces, with nothing to read for a moment after each.
class Source : public Pelorn::Channel {
public:
  Source(std::string_view text, std::size_t piece) : rest_(text), piece_(piece) {
    std::array<int, 2> ends{};
    fuzz::require(::pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC) == 0);
    ::close(ends[1]); // the other end is one to read from at all times
    adopt(Pelorn::Descriptor(ends[0]), "source");
  }
  ~Source() override { close(); }

protected:
  ssize_t readSome(int /*fd*/, char* data, std::size_t size) override {
    if (left_ == 0) {
      left_ = std::min(piece_, rest_.size());
      if (left_ != 0) {
        errno = EAGAIN;
        return -1;
      }
    }
    const std::size_t given = std::min(size, left_);
    std::memcpy(data, rest_.data(), given);
    rest_.remove_prefix(given);
    left_ -= given;
    return static_cast<ssize_t>(given);
  }

private:
  std::string_view rest_;
  const std::size_t piece_;
  std::size_t left_ = 0; ///< of the present piece
};

std::vector<std::string> cut(const Vantiflux::MessageCutter& cutter, const std::string& text, std::size_t piece) {
  Source source(text, piece);
  Pelorn::StreamBuf stream(source, 16, 16);
  std::vector<std::string> messages;
  for (std::string message; cutter.next(stream, message);)
    messages.push_back(message);
  return messages;
}

std::string joined(const std::vector<std::string>& messages) {
  std::string all;
  for (const std::string& message : messages)
    all += message;
  return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  fuzz::Input input(bytes, size);
  const int maxBytes = static_cast<int>(input.byte()) - 1;
  const int delimiter = static_cast<int>(input.byte()) - 1;
  const std::size_t piece = input.byte() % 32 + std::size_t{2};
  const std::string text = input.rest().substr(0, 1 << 12);
  const Vantiflux::MessageCutter cutter(maxBytes, delimiter);
  const std::vector<std::string> whole = cut(cutter, text, text.size() + 1);
  for (const std::size_t size1 : {piece, std::size_t{1}}) {
    const std::vector<std::string> split = cut(cutter, text, size1);
    // Without a delimiter a pause ends a message.
    fuzz::require(delimiter >= 0 ? split == whole : joined(split) == text);
  }
  for (const std::string& message : whole) {
    fuzz::require(!message.empty() &&
                  (maxBytes < 0 || message.size() <= std::max<std::size_t>(1, std::size_t(maxBytes))));
    if (delimiter >= 0)
      fuzz::require(message.find(static_cast<char>(delimiter)) >= message.size() - 1);
  }
  const std::string all = joined(whole);
  fuzz::require(delimiter < 0 ? all == text : text.starts_with(all));
  return 0;
}
