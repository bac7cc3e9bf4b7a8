#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/values/BasicDecoder.h>
#include <vantiflux/values/BasicEncoder.h>

namespace Vantiflux {

class BasicInSlot;
class BasicOutSlot;

/// The registry entry of a binary encoding: binds a value type to a name, an encoder and a decoder. Through it a slot
/// whose type is not known can be written to the network, and a typed slot be made from a name that came from there.
///
/// Codecs register by being constructed. Those of all value types are part of the library; a host or a plug-in may add
/// others for types of its own.
///
/// *Threads.* Any operation from any thread: a plug-in may bring a codec while others look for theirs. A codec must be
/// completely constructed, and not yet be on its way out, when it is looked for by slot; what is loaded before it is
/// used and stays, does that.
class VANTIFLUX_API BasicCodec {
public:
  using CreateEncoder = BasicEncoder* (*)();
  using CreateDecoder = BasicDecoder* (*)();

  /// Registers the codec, in place of an earlier one of the same name.
  BasicCodec(const std::string& name, CreateEncoder encoderFactory, CreateDecoder decoderFactory,
             const std::string& author);
  BasicCodec(const BasicCodec&) = delete;
  BasicCodec& operator=(const BasicCodec&) = delete;
  /// Removes the name from the registry, whichever codec it stands for by now.
  virtual ~BasicCodec();

  /// The printable name of the value type, as the type's slots give it.
  virtual const char* getTypeName() const = 0;
  /// Whether the slot is one of this codec's value type.
  virtual bool sameType(const BasicOutSlot& slot) const = 0;
  virtual bool sameType(const BasicInSlot& slot) const = 0;

  const std::string& getName() const noexcept { return name_; }
  const std::string& getAuthor() const noexcept { return author_; }
  /// A new encoder or decoder, to be initialised; null if the codec has none.
  std::unique_ptr<BasicEncoder> createEncoder() const;
  std::unique_ptr<BasicDecoder> createDecoder() const;

  /// The codec of exactly that name, or null.
  static BasicCodec* findCodec(const std::string& name);
  /// The first codec, in the order of names, for the type of that slot, or null. Looks at one after the other.
  static BasicCodec* findCodec(const BasicOutSlot& slot);
  static BasicCodec* findCodec(const BasicInSlot& slot);
  /// Replaces the contents with all codecs in the order of their names.
  static void getCodecs(std::vector<BasicCodec*>& codecs);

private:
  using CodecMap = std::map<std::string, BasicCodec*>;

  template <class Slot>
  static BasicCodec* findBySlot(const Slot& slot);

  const std::string name_;
  const CreateEncoder createEncoder_;
  const CreateDecoder createDecoder_;
  const std::string author_;

  static CodecMap* codecMap_; ///< by name; there while there are codecs
};

} // namespace Vantiflux
