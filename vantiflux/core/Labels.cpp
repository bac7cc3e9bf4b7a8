#include <vantiflux/core/Labels.h>

#include <algorithm>
#include <cctype>

#include <fnmatch.h>

namespace Vantiflux::Labels {

namespace {

constexpr std::string_view special = "*?[\\";

/// A text that `fnmatch` takes whole: a zero byte would be its end. "*" matches every label there is, even so.
class WholeText {
public:
  explicit WholeText(const std::string& text) : text_(text) {
    if (text.find('\0') == std::string::npos)
      return;
    changed_ = text;
    std::replace(changed_.begin(), changed_.end(), '\0', '\1');
  }
  const char* c_str() const noexcept { return changed_.empty() ? text_.c_str() : changed_.c_str(); }

private:
  const std::string& text_;
  std::string changed_;
};

} // namespace

std::string lower(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return result;
}

bool isPattern(std::string_view text) {
  return text.find_first_of(special) != std::string_view::npos;
}

bool matchesLower(const std::string& pattern, const std::string& text) {
  return pattern == text ||
         (isPattern(pattern) && fnmatch(WholeText(pattern).c_str(), WholeText(text).c_str(), 0) == 0);
}

bool matches(std::string_view pattern, std::string_view text) {
  return matchesLower(lower(pattern), lower(text));
}

} // namespace Vantiflux::Labels
