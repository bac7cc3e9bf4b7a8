#include <vantiflux/platform/pelorn/ibinstream.h>

#include <algorithm>

namespace Pelorn {

namespace {

// Reads directly from the buffer: the plain operations of a stream make a sentry each time.
std::size_t get(std::istream& stream, void* bytes, std::size_t size) {
  if (size == 0 || !stream.good())
    return 0;
  const auto count = stream.rdbuf()->sgetn(static_cast<char*>(bytes), static_cast<std::streamsize>(size));
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

void failShort(std::istream& stream) {
  stream.setstate(std::ios::eofbit | std::ios::failbit);
}

} // namespace

bool ibinstream::readAll(void* bytes, std::size_t size) {
  if (get(stream_, bytes, size) == size && stream_.good())
    return true;
  failShort(stream_);
  return false;
}

std::size_t ibinstream::readRun(void* values, std::size_t count, std::size_t width) {
  const std::size_t got = get(stream_, values, count * width);
  if (got != count * width || !stream_.good())
    failShort(stream_);
  return got / width;
}

std::size_t ibinstream::available() const {
  if (!stream_.good())
    return 0;
  const std::streamsize count = stream_.rdbuf()->in_avail();
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

ibinstream& ibinstream::operator>>(std::string& value) {
  unsigned int size = 0;
  *this >> size;
  if (!*this)
    return *this;
  std::string text;
  while (text.size() < size) {
    const std::size_t done = text.size();
    const std::size_t more = std::min<std::size_t>(size - done, std::max(available(), step));
    text.resize(done + more);
    if (!readAll(text.data() + done, more))
      return *this;
  }
  value = std::move(text);
  return *this;
}

} // namespace Pelorn
