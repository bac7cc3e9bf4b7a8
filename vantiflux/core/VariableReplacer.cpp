#include <vantiflux/core/VariableReplacer.h>

namespace Vantiflux {

namespace {

/// The next occurrence that has no backslash before it.
std::size_t findUnescaped(const std::string& text, char wanted, std::size_t from) {
  for (std::size_t at = text.find(wanted, from); at != std::string::npos; at = text.find(wanted, at + 1))
    if (at == 0 || text[at - 1] != '\\')
      return at;
  return std::string::npos;
}

} // namespace

VariableReplacer::Element::~Element() = default;

std::string VariableReplacer::Variable::toString(const Config::ParamBag& params) const {
  const char* const value = params.getParam(name_.c_str(), nullptr);
  return value == nullptr ? std::string() : value;
}

void VariableReplacer::setFormat(const std::string& format) {
  clear();
  std::size_t start = 0;
  for (;;) {
    const std::size_t open = findUnescaped(format, '{', start);
    if (open == std::string::npos)
      return addText(format.substr(start));
    addText(format.substr(start, open - start));
    const std::size_t close = findUnescaped(format, '}', open + 1);
    if (close == std::string::npos)
      return addText(format.substr(open));
    elements_.push_back(std::make_unique<Variable>(stripEscapes(format.substr(open + 1, close - open - 1))));
    start = close + 1;
  }
}

void VariableReplacer::addText(const std::string& text) {
  if (!text.empty())
    elements_.push_back(std::make_unique<Text>(stripEscapes(text)));
}

std::string VariableReplacer::toString(const Config::ParamBag& params) const {
  std::string result;
  for (const auto& element : elements_)
    result += element->toString(params);
  return result;
}

std::string VariableReplacer::stripEscapes(const std::string& text) const {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool escapes = text[i] == '\\' && i + 1 < text.size() && (text[i + 1] == '{' || text[i + 1] == '}');
    if (!escapes)
      result += text[i];
  }
  return result;
}

} // namespace Vantiflux
