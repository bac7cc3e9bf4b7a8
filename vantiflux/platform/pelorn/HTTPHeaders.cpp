#include <vantiflux/platform/pelorn/HTTPHeaders.h>

#include <vantiflux/platform/pelorn/HTTPText.h>

namespace Pelorn {

void HTTPHeaders::setParam(const std::string& name, const std::string& value) {
  if (const std::string* const found = findParam(name))
    const_cast<std::string&>(*found) = value;
  else
    params_.emplace_back(name, value);
}

void HTTPHeaders::addParam(std::string_view name, std::string_view value) {
  if (const std::string* const found = findParam(name))
    const_cast<std::string&>(*found).append(", ").append(value);
  else
    params_.emplace_back(name, value);
}

const char* HTTPHeaders::getParam(const char* name, const char* fallback) const {
  const std::string* const value = name != nullptr ? findParam(name) : nullptr;
  return value != nullptr ? value->c_str() : fallback;
}

std::string HTTPHeaders::getParam(const std::string& name, const std::string& fallback) const {
  const std::string* const value = findParam(name);
  return value != nullptr ? *value : fallback;
}

const std::string* HTTPHeaders::findParam(std::string_view name) const {
  for (const Config::Param& param : params_)
    if (HTTPText::equal(param.first, name))
      return &param.second;
  return nullptr;
}

bool HTTPHeaders::hasWord(std::string_view name, std::string_view word) const {
  const std::string* const value = findParam(name);
  if (value == nullptr)
    return false;
  for (std::string_view rest = *value; !rest.empty();) {
    const std::string_view item = rest.substr(0, rest.find(','));
    rest.remove_prefix(item.size() < rest.size() ? item.size() + 1 : item.size());
    if (HTTPText::equal(HTTPText::trim(item), word))
      return true;
  }
  return false;
}

} // namespace Pelorn
