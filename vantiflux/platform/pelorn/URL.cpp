#include <vantiflux/platform/pelorn/URL.h>

#include <vantiflux/platform/pelorn/URLFile.h>
#include <vantiflux/platform/pelorn/URLImpl.h>

namespace Pelorn {

URL URL::parse(const std::string& text, const URL& base) {
  auto impl = URLImpl::create(text, base);
  if (!impl)
    throw URLImpl::Exception("Cannot parse URL");
  return impl;
}

std::string URL::toString() const {
  return impl_ ? impl_->toString() : std::string();
}

std::unique_ptr<std::istream> URL::open() const {
  return impl_ ? impl_->open() : URLFile::_cwd->open();
}

} // namespace Pelorn
