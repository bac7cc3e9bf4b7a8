// Texts that clients write into slots of every type that takes one. What was taken is written as text, and taken again
// comes to the same text. The first byte chooses the type.
#include <cstdint>
#include <exception>
#include <string>

#include <fuzz/Input.h>
#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/web/rest/SlotText.h>

// A host's own kind of slot.
template <>
struct Vantiflux::TypeName<int> {
  static const char* getName() { return "int"; }
};

namespace {

using namespace Vantiflux;

/// Whether the slot took it.
template <class T>
bool take(InSlot<T>& slot, const std::string& text) {
  try {
    REST::fromString<BasicInSlot, InSlot>(&slot, text);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

template <class T>
void check(const std::string& text) {
  InSlot<T> slot;
  const bool taken = take(slot, text);
  fuzz::require(taken != slot.empty());
  if (!taken)
    return;
  const std::string first = REST::toString<BasicInSlot, InSlot>(&slot);
  if constexpr (std::is_same_v<T, SmartPtr<Image>>)
    return; // what was lossy once is so again
  fuzz::require(take(slot, first));
  fuzz::require(REST::toString<BasicInSlot, InSlot>(&slot) == first);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  fuzz::Input input(bytes, size);
  const std::uint8_t choice = input.byte();
  const std::string text = input.rest();
  switch (choice % 7) {
  case 0:
    check<float>(text);
    break;
  case 1:
    check<double>(text);
    break;
  case 2:
    check<bool>(text);
    break;
  case 3:
    check<long>(text);
    break;
  case 4:
    check<std::string>(text);
    break;
  case 5:
    check<int>(text);
    break;
  default:
    check<SmartPtr<Image>>(text);
  }
  return 0;
}
