#include <vantiflux/web/rest/URLPath.h>

#include <cstddef>

#include <vantiflux/platform/pelorn/HTTPText.h>

namespace REST {

namespace {

int hexValue(char c) {
  if (c >= '0' && c <= '9')
    return c - '0';
  if (c >= 'a' && c <= 'f')
    return c - 'a' + 10;
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

} // namespace

bool pathAtEnd(const boost::filesystem::path::iterator& at) {
  return at->empty() || at->filename().native() == ".";
}

std::string toStr(const boost::filesystem::path::iterator& at) {
  std::string text = at->string();
  decodeUnsafeCharacters(text, std::string(), ~0UL);
  return text;
}

// The codes are squeezed out in one go: a long path full of them costs no more than any other.
void decodeUnsafeCharacters(std::string& text, const std::string& keep, unsigned long limit) {
  std::size_t to = 0;
  for (std::size_t from = 0; from < text.size(); ++from, ++to) {
    text[to] = text[from];
    if (text[from] != '%' || from + 2 >= text.size() || to >= limit)
      continue;
    const int high = hexValue(text[from + 1]);
    const int low = hexValue(text[from + 2]);
    const int code = high * 16 + low;
    if (high < 0 || low < 0 || code == 0)
      continue;
    const char character = static_cast<char>(code);
    if (keep.find(character) == std::string::npos) {
      text[to] = character;
    } else {
      text[++to] = text[from + 1];
      text[++to] = text[from + 2];
    }
    from += 2;
  }
  text.resize(to);
}

void mimetype(const std::string& text, std::string& base, std::string& extension) {
  const std::size_t point = text.find('.');
  std::string tail = point == std::string::npos ? std::string() : Pelorn::HTTPText::lower(text.substr(point + 1));
  base = text.substr(0, point);
  extension = std::move(tail);
}

} // namespace REST
