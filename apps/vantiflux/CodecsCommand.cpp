#include "CodecsCommand.h"

#include <algorithm>
#include <vector>

#include <vantiflux/values/BasicCodec.h>

#include "Printable.h"

namespace Host {

std::string listCodecs() {
  std::vector<Vantiflux::BasicCodec*> codecs;
  Vantiflux::BasicCodec::getCodecs(codecs);
  std::size_t width = 0;
  for (const Vantiflux::BasicCodec* const codec : codecs)
    width = std::max(width, codec->getName().size());
  std::string text;
  for (const Vantiflux::BasicCodec* const codec : codecs) {
    std::string name = codec->getName();
    name.resize(width + 2, ' ');
    text += printable(name) + printable(codec->getTypeName()) + '\n';
  }
  return text;
}

} // namespace Host
