#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

#include <vantiflux/Export.h>

namespace Pelorn {

/// A run of bytes somewhere in memory, as a gathering write takes it. Owns nothing.
struct Chunk {
  const void* data = nullptr;
  std::size_t size = 0;
};

/// Bytes collected for sending. Small things are copied into one text; a large block stays where it is and is only
/// referred to, together with something that keeps it alive. So a frame of video goes from the image to the socket
/// without being copied on the way, however many receivers it has.
///
/// *Threads.* A value: one thread at a time, or any number that only read.
class VANTIFLUX_API Gather {
public:
  /// Blocks below this are copied: that is cheaper than to keep track of them.
  static constexpr std::size_t referFrom = 16 * 1024;

  /// A block that is referred to. It comes after the first `at` bytes of the text.
  struct Block {
    std::size_t at;
    Chunk bytes;
    std::shared_ptr<const void> owner;
  };

  void append(const char* bytes, std::size_t size) { text_.append(bytes, size); }
  /// The block must not change while anybody refers to it; `owner` is kept until then.
  void refer(const void* bytes, std::size_t size, std::shared_ptr<const void> owner);

  /// All bytes, blocks included.
  std::size_t size() const noexcept { return text_.size() + blockBytes_; }
  bool empty() const noexcept { return size() == 0; }

  /// The copied bytes. Who left a gap there for a length may fill it in; the size must not change.
  std::string& text() noexcept { return text_; }
  const std::string& text() const noexcept { return text_; }
  std::span<const Block> blocks() const noexcept { return blocks_; }

  /// Calls visit(const Chunk&) for each piece in order.
  template <class Visitor>
  void forEachChunk(Visitor&& visit) const {
    std::size_t done = 0;
    for (const Block& block : blocks_) {
      if (block.at > done)
        visit(Chunk{text_.data() + done, block.at - done});
      visit(block.bytes);
      done = block.at;
    }
    if (text_.size() > done)
      visit(Chunk{text_.data() + done, text_.size() - done});
  }

  /// A copy of all bytes in one piece.
  std::string str() const;

  /// Forgets everything and keeps the memory of the text.
  void clear() noexcept;

private:
  std::string text_;
  std::vector<Block> blocks_;
  std::size_t blockBytes_ = 0;
};

/// Lets a `std::ostream` write into a Gather. The plain output operations append to its text; `obinstream::block` finds
/// the Gather here and refers to large blocks.
class VANTIFLUX_API GatherBuf : public std::streambuf {
public:
  explicit GatherBuf(Gather* target = nullptr) noexcept : target_(target) {}

  /// Null: what is written fails.
  void setTarget(Gather* target) noexcept { target_ = target; }
  Gather* target() const noexcept { return target_; }

protected:
  int_type overflow(int_type byte) override;
  std::streamsize xsputn(const char* bytes, std::streamsize size) override;

private:
  Gather* target_;
};

/// Lets a `std::istream` read bytes that lie in memory, without a copy. `in_avail` tells how many are left.
class VANTIFLUX_API ViewBuf : public std::streambuf {
public:
  explicit ViewBuf(std::string_view bytes = {}) noexcept { setView(bytes); }

  /// Reads these bytes from now on; they must stay where they are.
  void setView(std::string_view bytes) noexcept;
  /// What has not been read.
  std::string_view rest() const noexcept { return {gptr(), static_cast<std::size_t>(egptr() - gptr())}; }

protected:
  std::streamsize xsgetn(char* bytes, std::streamsize size) override;
  std::streamsize showmanyc() override { return -1; }
};

} // namespace Pelorn
