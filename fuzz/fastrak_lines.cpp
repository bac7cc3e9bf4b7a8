// What comes over a serial line from a Fastrak: cut into lines as the driver does, each read as a record.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include <vantiflux/devices/FastrakRecord.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using Vantiflux::FastrakRecord;
  std::string_view text(reinterpret_cast<const char*>(bytes), size);
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size() == text.size() ? line.size() : line.size() + 1);
    FastrakRecord record;
    const bool taken = FastrakRecord::parse(line, record);
    if (taken && (line.size() != FastrakRecord::length || record.sensor >= FastrakRecord::stations ||
                  !std::isfinite(record.position.x) || !std::isfinite(record.rotation.w)))
      std::abort();
    if (taken && FastrakRecord::isReply(line, 'E'))
      std::abort();
  }
  return 0;
}
