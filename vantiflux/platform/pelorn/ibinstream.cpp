#include <vantiflux/platform/pelorn/ibinstream.h>

#include <algorithm>
#include <utility>

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

bool ibinstream::readText(std::string& text, std::size_t size) {
  std::string read;
  while (read.size() < size) {
    const std::size_t done = read.size();
    const std::size_t more = std::min(size - done, std::max(available(), step));
    read.resize(done + more);
    if (!readAll(read.data() + done, more))
      return false;
  }
  text = std::move(read);
  return true;
}

ibinstream& ibinstream::operator>>(std::string& value) {
  unsigned int size = 0;
  *this >> size;
  if (*this)
    readText(value, size);
  return *this;
}

} // namespace Pelorn
