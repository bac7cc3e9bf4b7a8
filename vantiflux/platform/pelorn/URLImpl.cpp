#include <vantiflux/platform/pelorn/URLImpl.h>

#include <algorithm>
#include <cctype>
#include <sstream>
#include <vantiflux/platform/pelorn/URL.h>
#include <vantiflux/platform/pelorn/URLFile.h>
#include <vantiflux/platform/pelorn/URLHTTP.h>

namespace Pelorn {

namespace {

/// The kind that a URL names before its first colon, in lower case; empty when it names none.
std::string schemeOf(const std::string& text) {
  const auto colon = text.find(':');
  if (colon == std::string::npos || colon == 0 || !std::isalpha(static_cast<unsigned char>(text[0])))
    return {};
  std::string scheme = text.substr(0, colon);
  for (char& c : scheme) {
    const auto byte = static_cast<unsigned char>(c);
    if (!std::isalnum(byte) && c != '+' && c != '-' && c != '.')
      return {};
    c = static_cast<char>(std::tolower(byte));
  }
  return scheme;
}

} // namespace

URLImpl::Exception::~Exception() = default;

URLImpl::URLImpl() = default;
URLImpl::~URLImpl() = default;

std::unique_ptr<std::istream> URLImpl::open() const {
  return std::make_unique<std::istringstream>(read(), std::ios::in | std::ios::binary);
}

std::shared_ptr<const URLImpl> URLImpl::create(const std::string& text, const URL& base) {
  if (text.empty() || text.find('\0') != std::string::npos)
    return nullptr;
  const std::string scheme = schemeOf(text);
  if (scheme.empty())
    return base.empty() ? URLFile::_cwd->resolve(text) : base->resolve(text);
  if (scheme == "file")
    return URLFile::parse(text);
  if (scheme == "http" || scheme == "https")
    return URLHTTP::parse(text);
  return nullptr;
}

} // namespace Pelorn
