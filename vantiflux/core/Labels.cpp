#include <vantiflux/core/Labels.h>

#include <algorithm>
#include <cctype>

#include <fnmatch.h>

namespace Vantiflux::Labels {

namespace {

constexpr std::string_view special = "*?[\\";

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
  return pattern == text || fnmatch(pattern.c_str(), text.c_str(), 0) == 0;
}

bool matches(std::string_view pattern, std::string_view text) {
  return matchesLower(lower(pattern), lower(text));
}

} // namespace Vantiflux::Labels
