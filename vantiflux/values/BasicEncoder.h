#pragma once

#include <iosfwd>
#include <memory>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Gather.h>

namespace Vantiflux {

class BasicInSlot;
class SetStateEvent;

/// Takes values of one type from a slot of its own and writes them in binary form: the sending end of a slot that
/// another process uses. Made by a codec, connected by its user, who hears from the slot when there is something to
/// encode.
///
/// *What is handed over.* The bytes of a value, nothing around them. On a plain stream they are all written. On a
/// Pelorn::Gather, and in an event, which has one, the small things are copied, and the pixels of an image or the sound
/// of a sample are only referred to: the Gather holds a SmartPtr that keeps the value, which nobody changes after it
/// was pushed. A large value therefore goes from the slot to a gathering write without a copy, one encoding serves any
/// number of receivers, and what waits in a queue holds the value and not a second one. A Gather that is cleared and
/// used again costs no allocation for a value that fits into its text.
///
/// *Threads.* One call at a time, apart from what the slot itself allows. `popAndEncode` blocks while the slot is
/// empty; from `newData` it does not.
///
/// *Failure.* `popAndEncode` throws InterruptedException when the slot is interrupted. A stream that fails keeps its
/// state and the value is lost.
class VANTIFLUX_API BasicEncoder {
public:
  BasicEncoder();
  BasicEncoder(const BasicEncoder&) = delete;
  BasicEncoder& operator=(const BasicEncoder&) = delete;
  virtual ~BasicEncoder();

  /// Makes the slot. Comes before everything else.
  virtual void initialize(const std::string& label, const std::string& description);
  /// The slot that values are taken from; owned by the encoder, null before `initialize`.
  virtual BasicInSlot* getInSlot() const = 0;

  /// Takes a value and puts its time stamp and its bytes in the place of those of the event.
  virtual void popAndEncode(SetStateEvent& event);
  /// Takes a value, writes its bytes, and returns its time stamp.
  virtual unsigned long popAndEncode(std::ostream& stream) = 0;
  /// The same, behind what stands in the Gather already. Needs no stream of the caller's.
  unsigned long popAndEncode(Pelorn::Gather& target);

  const std::string& getLabel() const noexcept { return label_; }

private:
  std::string label_;
  struct Stream;
  std::unique_ptr<Stream> stream_; ///< made at first use and kept: that costs more than to encode a small value
};

} // namespace Vantiflux
