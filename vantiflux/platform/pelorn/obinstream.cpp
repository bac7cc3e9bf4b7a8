#include <vantiflux/platform/pelorn/obinstream.h>

#include <limits>
#include <utility>

#include <vantiflux/platform/pelorn/Gather.h>

namespace Pelorn {

namespace {

// Only asked for large blocks: a look at the dynamic type costs more than to copy a small one.
Gather* gatherBehind(std::ostream& stream) {
  auto* const buffer = dynamic_cast<GatherBuf*>(stream.rdbuf());
  return buffer == nullptr ? nullptr : buffer->target();
}

} // namespace

obinstream& obinstream::write(const void* bytes, std::size_t size) {
  if (!stream_.good() || size == 0)
    return *this;
  const auto count = static_cast<std::streamsize>(size);
  if (stream_.rdbuf()->sputn(static_cast<const char*>(bytes), count) != count)
    stream_.setstate(std::ios::badbit);
  return *this;
}

obinstream& obinstream::operator<<(const std::string& value) {
  if (value.size() > std::numeric_limits<unsigned int>::max()) {
    stream_.setstate(std::ios::failbit);
    return *this;
  }
  *this << static_cast<unsigned int>(value.size());
  return write(value.data(), value.size());
}

bool obinstream::takesReferences(std::size_t size) const {
  return size >= Gather::referFrom && stream_.good() && gatherBehind(stream_) != nullptr;
}

void obinstream::refer(const void* bytes, std::size_t size, std::shared_ptr<const void> owner) {
  gatherBehind(stream_)->refer(bytes, size, std::move(owner));
}

} // namespace Pelorn
