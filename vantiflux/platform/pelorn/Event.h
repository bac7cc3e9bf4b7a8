#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/EventType.h>
#include <vantiflux/platform/pelorn/Sender.h>

namespace Pelorn {

/// A message of typed fields in a stated order. A class of events has an EventType, writes its fields in `addFields`
/// and reads them in the same order in `getFields`, calling those of its base first.
///
/// *Encoding.* Numbers and strings as obinstream writes them, a raw block as its bytes alone: the event must carry the
/// length in a field before it.
///
/// *Threads.* One at a time.
///
/// *Failure.* An event with fewer bytes than its fields need is not received. Bytes behind the last field are ignored,
/// for the sake of peers that are newer than this.
class VANTIFLUX_API Event {
public:
  virtual ~Event();

  virtual const EventType& type() const = 0;
  virtual void addFields();
  virtual void getFields();

  /// Encodes and sends. False when there is no connection, or the event is longer than a frame may be.
  bool send(Sender* sender);
  /// The event as it travels; null if it is too long. For `supersedes` see Frame.
  Frame::Pointer encode(std::uint64_t supersedes = 0);

  /// Takes the next event that has arrived. False, and null, when there is none or it cannot be read.
  static bool receive(Receiver* receiver, std::unique_ptr<Event>& event);
  /// From the bytes of a frame behind the length; null for an unknown type and for missing bytes.
  static std::unique_ptr<Event> decode(std::string_view bytes);

  /// A number for the client that the event came from. Zero: nobody sets it.
  short getClient() const noexcept { return client_; }

protected:
  Event() = default;
  Event(const Event&) = default;
  Event& operator=(const Event&) = default;

  void addField(const bool& value) { addNumber(value); }
  void addField(const short& value) { addNumber(value); }
  void addField(const unsigned long& value) { addNumber(value); }
  void addField(const std::string& value);
  void addField(const void* block, std::size_t size);
  /// A raw block whose large pieces are referred to and not copied.
  void addField(const Gather& block);

  void getField(bool& value);
  void getField(short& value) { getNumber(value); }
  void getField(unsigned long& value) { getNumber(value); }
  void getField(std::string& value);
  /// What has not been read yet, and going on to read behind `size` bytes of it.
  std::string_view rest() const noexcept { return in_; }
  void skip(std::size_t size);

private:
  template <class T>
  void addNumber(T value);
  template <class T>
  void getNumber(T& value);

  Gather* out_ = nullptr; ///< while fields are added
  std::string_view in_;   ///< while fields are read
  bool short_ = false;    ///< there were fewer bytes than fields
  short client_ = 0;
};

} // namespace Pelorn
