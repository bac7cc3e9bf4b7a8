#pragma once

#include <string>
#include <utility>

#include <vantiflux/core/Field.h>
#include <vantiflux/core/FieldAccessor.h>

namespace Vantiflux {

/// A row of the table of fields of node class N, whose setter and getter may be inherited ones:
///
///     Field PumpNode::fields_[] = {
///         fieldRow<PumpNode>("Speed", "Strokes a minute", "60", &PumpNode::setSpeed, &PumpNode::getSpeed),
///     };
///
/// The type of the value is that of the getter. The default is what a new node has, as text.
template <class N, class SetterClass, class Param, class GetterClass, class T>
Field fieldRow(std::string name, std::string description, std::string defaultValue, void (SetterClass::*setter)(Param),
               T (GetterClass::*getter)() const) {
  return Field(std::move(name), std::move(description), std::move(defaultValue), FieldAccessor<N, T>(setter, getter));
}

} // namespace Vantiflux
