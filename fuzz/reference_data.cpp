// The calibration table of the equaliser: whatever the text, the lists agree, keep their limits, and hold numbers that
// come out the same when they are written and read again.
#include <cmath>
#include <cstdint>
#include <iostream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include <fuzz/Input.h>
#include <vantiflux/filters/EqualizeNode.h>

namespace {

struct Table {
  explicit Table(const std::string& text)
      : failed(Vantiflux::EqualizeNode::parseReferenceDataStr(text, reality, measure, ori)) {}

  std::vector<Vantiflux::Vec3<float>> reality, measure;
  std::vector<Vantiflux::Matrix4<float>> ori;
  bool failed;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  std::cerr.rdbuf(nullptr); // two lines of complaint an input
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const Table first(std::string(reinterpret_cast<const char*>(bytes), size));
  const std::size_t count = first.reality.size();
  fuzz::require(first.measure.size() == count && first.ori.size() == count);
  fuzz::require(first.failed == (count < 64 || count > 2048));
  std::ostringstream text;
  text.precision(std::numeric_limits<float>::max_digits10);
  for (std::size_t i = 0; i < count; ++i) {
    const auto& [x, y, z] = first.reality[i];
    fuzz::require(std::isfinite(x) && std::isfinite(y) && std::isfinite(z));
    text << first.reality[i] << '\t' << first.measure[i] << " 0 0 0 1 # orientations do not come back as quaternions\n";
  }
  const Table second(text.str() + "0");
  fuzz::require(second.reality == first.reality && second.measure == first.measure && second.failed == first.failed);
  return 0;
}
