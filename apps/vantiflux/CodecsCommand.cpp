#include "CodecsCommand.h"

#include <algorithm>
#include <iomanip>
#include <vector>

#include <vantiflux/values/BasicCodec.h>

namespace Host {

void listCodecs(std::ostream& stream) {
  std::vector<Vantiflux::BasicCodec*> codecs;
  Vantiflux::BasicCodec::getCodecs(codecs);
  std::size_t width = 0;
  for (const Vantiflux::BasicCodec* const codec : codecs)
    width = std::max(width, codec->getName().size());
  for (const Vantiflux::BasicCodec* const codec : codecs)
    stream << std::left << std::setw(static_cast<int>(width) + 2) << codec->getName() << codec->getTypeName() << '\n';
}

} // namespace Host
