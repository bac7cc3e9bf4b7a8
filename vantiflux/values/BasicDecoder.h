#pragma once

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include <vantiflux/Export.h>

namespace Vantiflux {

class BasicOutSlot;
class SetStateEvent;

/// A large value on its way in (see BasicDecoder::begin): its parameters have come, and its bytes go straight to the
/// place where they will stay. Dropping it drops the value. It must not outlive the decoder that made it.
class VANTIFLUX_API PendingValue {
public:
  virtual ~PendingValue();

  /// Where the rest of the bytes belongs. Bytes that never came are zero or those of an older value.
  virtual std::span<std::byte> block() = 0;
  /// Pushes the value from the decoder's slot. To be called once, when the block is full.
  virtual void push(unsigned long timeStamp) = 0;
};

/// Reads values of one type in binary form and pushes them from a slot of its own: the receiving end of a slot of
/// another process. Made by a codec, typed by it, and offered to a namespace by its user.
///
/// *Threads.* One call at a time. The push runs all listeners of the slot's receivers in the calling thread.
///
/// *Failure.* Bytes may be cut off or nonsense: a value is pushed all the same, with the parts that came whole, and its
/// default for the others (a list has the elements that came whole; a text, an image or a block of sound is empty
/// unless all of it came). The stream has failed then. Bytes behind the value are ignored. No more memory is taken than
/// the bytes that are there account for: a length that exceeds them is not believed. std::bad_alloc passes through, as
/// does what listeners throw.
class VANTIFLUX_API BasicDecoder {
public:
  BasicDecoder();
  BasicDecoder(const BasicDecoder&) = delete;
  BasicDecoder& operator=(const BasicDecoder&) = delete;
  virtual ~BasicDecoder();

  /// Makes the slot. Comes before everything else.
  virtual void initialize(const std::string& label, const std::string& description);
  /// The slot that values are pushed from; owned by the decoder, null before `initialize`.
  virtual BasicOutSlot* getOutSlot() const = 0;

  /// Pushes the value whose bytes and time stamp the event carries.
  virtual void decodeAndPush(const SetStateEvent& event);
  virtual void decodeAndPush(std::istream& stream, unsigned long timeStamp) = 0;
  /// The same from memory, where the bytes need to stay only during the call. Nothing is copied but into the value.
  void decodeAndPush(std::string_view bytes, unsigned long timeStamp);

  /// For a receiver that knows the length of a value before all of it has come, and wants to receive the bulk of it
  /// into place instead of copying it. `head` are the bytes that are here, `size` counts all bytes of the value.
  ///
  /// If this type has a large block at its end, and the parameters before it are within the head and agree with the
  /// size, the result is that value, and the bytes of the parameters are taken off the head: what remains of the head,
  /// and then what arrives, belongs into the block. Otherwise null, and the value is decoded when it is complete.
  /// The memory of the block is taken at once; the receiver has checked the size against its limit.
  virtual std::unique_ptr<PendingValue> begin(std::string_view& head, std::size_t size);

  const std::string& getLabel() const noexcept { return label_; }

private:
  std::string label_;
  struct Stream;
  std::unique_ptr<Stream> stream_; ///< made at first use and kept: that costs more than to decode a small value
};

} // namespace Vantiflux
