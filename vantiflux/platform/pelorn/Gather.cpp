#include <vantiflux/platform/pelorn/Gather.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace Pelorn {

void Gather::refer(const void* bytes, std::size_t size, std::shared_ptr<const void> owner) {
  if (size == 0)
    return;
  blocks_.push_back({text_.size(), {bytes, size}, std::move(owner)});
  blockBytes_ += size;
}

std::string Gather::str() const {
  std::string all;
  all.reserve(size());
  forEachChunk([&](const Chunk& chunk) { all.append(static_cast<const char*>(chunk.data), chunk.size); });
  return all;
}

void Gather::clear() noexcept {
  text_.clear();
  blocks_.clear();
  blockBytes_ = 0;
}

GatherBuf::int_type GatherBuf::overflow(int_type byte) {
  if (target_ == nullptr)
    return traits_type::eof();
  if (!traits_type::eq_int_type(byte, traits_type::eof())) {
    const char c = traits_type::to_char_type(byte);
    target_->append(&c, 1);
  }
  return traits_type::not_eof(byte);
}

std::streamsize GatherBuf::xsputn(const char* bytes, std::streamsize size) {
  if (target_ == nullptr || size <= 0)
    return 0;
  target_->append(bytes, static_cast<std::size_t>(size));
  return size;
}

void ViewBuf::setView(std::string_view bytes) noexcept {
  // The get area of the standard wants pointers to what may be changed; nothing here changes it.
  char* const begin = const_cast<char*>(bytes.data());
  setg(begin, begin, begin + bytes.size());
}

std::streamsize ViewBuf::xsgetn(char* bytes, std::streamsize size) {
  const std::streamsize count = std::min<std::streamsize>(size, egptr() - gptr());
  if (count <= 0)
    return 0;
  std::memcpy(bytes, gptr(), static_cast<std::size_t>(count));
  setg(eback(), gptr() + count, egptr()); // gbump counts in int only
  return count;
}

} // namespace Pelorn
