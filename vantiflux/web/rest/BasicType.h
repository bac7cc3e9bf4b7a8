#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <vantiflux/Export.h>

namespace REST {

/// What a client is told about the values of a slot or a field.
struct VANTIFLUX_API BasicType {
  enum Cardinality : std::uint32_t { Single = 0, Multi = 1 };

  std::string name = "invalid";
  std::uint64_t length = 0;
  std::uint32_t cardinality = Single;
  std::vector<std::string> formats; ///< what a value can be asked for as, besides the type's own name
};

/// The type of a slot's values; "invalid" for a null slot and for a type that clients cannot ask for.
///
/// The length of a list is 0 for an out-slot. For an in-slot it is the number of elements of the value that waits in
/// it, and asking takes that value out; 0 while somebody else holds the slot, or its listeners run.
///
/// Instantiated for BasicOutSlot with OutSlot and for BasicInSlot with InSlot.
template <class Base, template <class> class Slot>
VANTIFLUX_API BasicType getBasicType(Base* slot);

} // namespace REST
