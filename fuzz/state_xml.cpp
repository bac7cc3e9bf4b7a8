// Files of saved namespaces. The tree that a file is loaded into is disabled: no node starts, no other file is taken
// in, and unknown types find no library. What was loaded can be saved, and loads and saves the same again.
#include <cstdint>
#include <exception>
#include <sstream>
#include <string>

#include <fuzz/Input.h>
#include <vantiflux/core/Namespace.h>
#include <vantiflux/state/StateKeeperXML.h>

using namespace Vantiflux;

// In place of the system's: no file is opened, whatever a type is called.
extern "C" __attribute__((visibility("default"))) void* dlopen(const char* /*file*/, int /*mode*/) noexcept {
  return nullptr;
}

namespace {

std::string save(Namespace& space) {
  std::ostringstream stream;
  StateKeeperXML::save(space, stream);
  return stream.str();
}

bool load(Namespace& space, const std::string& text) {
  std::istringstream stream(text);
  try {
    StateKeeperXML::load(space, stream);
  } catch (const std::exception&) {
    return false;
  }
  return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Namespace first;
  const bool whole = load(first, fuzz::Input(bytes, size).rest());
  const std::string saved = save(first); // also what stands there when the rest was bad
  Namespace second;
  fuzz::require(load(second, saved));
  const std::string again = save(second);
  fuzz::require(!whole || again == saved);
  return 0;
}
