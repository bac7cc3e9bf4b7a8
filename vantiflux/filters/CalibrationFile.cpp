#include <vantiflux/filters/CalibrationFile.h>

#include <cstddef>
#include <ios>

#include <vantiflux/filters/SearchPath.h>
#include <vantiflux/platform/pelorn/URLFile.h>

namespace Vantiflux {

std::string CalibrationFile::find(const std::string& name) {
  return SearchPath::find(name, "VANTIFLUX_CALIBRATION_PATH");
}

std::string CalibrationFile::read(const std::string& path) {
  const auto stream = Pelorn::URLFile(path).open();
  std::string text;
  std::string block(std::size_t{1} << 16, '\0');
  // A file may grow while it is read.
  while (stream->read(block.data(), static_cast<std::streamsize>(block.size())), stream->gcount() > 0)
    if (text.append(block, 0, static_cast<std::size_t>(stream->gcount())).size() > Pelorn::URLImpl::maxDocument)
      throw Pelorn::URLImpl::Exception("Cannot read " + path + ": too long");
  return text;
}

} // namespace Vantiflux
