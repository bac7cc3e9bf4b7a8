#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/core/TypeName.h>
#include <vantiflux/values/BasicCodec.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

/// The codec of one value type.
template <class T>
class VANTIFLUX_API Codec : public BasicCodec {
public:
  using BasicCodec::BasicCodec;

  const char* getTypeName() const override { return TypeName<T>::getName(); }
  bool sameType(const BasicOutSlot& slot) const override { return dynamic_cast<const OutSlot<T>*>(&slot) != nullptr; }
  bool sameType(const BasicInSlot& slot) const override { return dynamic_cast<const InSlot<T>*>(&slot) != nullptr; }
};

} // namespace Vantiflux
