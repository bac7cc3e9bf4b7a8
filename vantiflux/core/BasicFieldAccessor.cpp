#include <vantiflux/core/BasicFieldAccessor.h>

#include <set>

#include <vantiflux/core/Labels.h>

namespace Vantiflux {

BasicFieldAccessor::~BasicFieldAccessor() = default;

void BasicFieldAccessor::string2Value(const std::string& text, bool& value) {
  // Never destroyed: nodes work until the root goes.
  static const auto& yes = *new std::set<std::string>{"true", "on", "yes", "1", "t", "y"};
  static const auto& no = *new std::set<std::string>{"false", "off", "no", "0", "f", "n"};
  const std::string lowered = Labels::lower(text);
  if (yes.contains(lowered))
    value = true;
  else if (no.contains(lowered))
    value = false;
  else
    throw InvalidValueException("Cannot convert \"" + text + "\" to a boolean value");
}

} // namespace Vantiflux
