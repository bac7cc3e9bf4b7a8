// The text form of a matrix, as it comes from a saved file or a web form: what was read can be written and read again.
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <string>

#include <vantiflux/values/Matrix4.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  std::istringstream in(std::string(reinterpret_cast<const char*>(bytes), size));
  Vantiflux::Matrix4<float> first;
  if (!(in >> first)) {
    if (!(first == Vantiflux::Matrix4<float>()))
      std::abort();
    return 0;
  }
  std::stringstream text;
  text.precision(std::numeric_limits<float>::max_digits10);
  text << first;
  Vantiflux::Matrix4<float> second;
  if (!(text >> second) || !(first == second))
    std::abort();
  return 0;
}
