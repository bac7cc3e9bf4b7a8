// What comes over a serial line from a Fastrak: cut into lines, each read as a record.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include <vantiflux/devices/FastrakRecord.h>
#include <vantiflux/devices/LineCutter.h>

using Vantiflux::FastrakRecord;
using Vantiflux::LineCutter;

namespace {

void check(std::string_view line) {
  FastrakRecord record;
  const bool taken = FastrakRecord::parse(line, record);
  if (taken && (line.size() != FastrakRecord::length || record.sensor >= FastrakRecord::stations ||
                !std::isfinite(record.position.x) || !std::isfinite(record.rotation.w)))
    std::abort();
  if (taken && FastrakRecord::isReply(line, 'E'))
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(bytes), size);
  LineCutter cutter;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < size; ++i) {
    const bool complete = cutter.add(text[i]);
    if (text[i] != '\n')
      continue;
    const std::string_view line = text.substr(begin, i - begin);
    begin = i + 1;
    if (complete != (line.size() <= LineCutter::maxLength) || (complete && cutter.line() != line))
      std::abort();
    if (complete)
      check(line);
  }
  return 0;
}
