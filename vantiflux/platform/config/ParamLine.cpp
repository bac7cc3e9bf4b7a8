#include <vantiflux/platform/config/ParamLine.h>

#include <cstddef>
#include <utility>

namespace Config {

namespace {

constexpr std::string_view blanks = " \t\r\n";

bool isBlank(char c) {
  return blanks.find(c) != std::string_view::npos;
}

int hexValue(char c) {
  if (c >= '0' && c <= '9')
    return c - '0';
  if (c >= 'a' && c <= 'f')
    return c - 'a' + 10;
  if (c >= 'A' && c <= 'F')
    return c - 'A' + 10;
  return -1;
}

class Parser {
public:
  explicit Parser(std::string_view line) : line_(line) {}

  Params parse() {
    Params params;
    for (skipBlanks(); !atEnd(); skipBlanks()) {
      const std::size_t start = at_;
      std::string name = text(true);
      if (atEnd() || line_[at_] != '=')
        fail("\"=\" expected", at_);
      if (name.empty())
        fail("name expected", start);
      ++at_;
      std::string value = text(false);
      params.emplace_back(std::move(name), std::move(value));
    }
    return params;
  }

private:
  bool atEnd() const { return at_ == line_.size(); }

  void skipBlanks() {
    while (!atEnd() && isBlank(line_[at_]))
      ++at_;
  }

  std::string text(bool isName) {
    std::string result;
    while (!atEnd()) {
      const char c = line_[at_];
      if (isBlank(c) || (isName && c == '='))
        break;
      if (c == '"')
        quoted(result);
      else if (c == '\'')
        raw(result);
      else if (c == '\\')
        result += escape();
      else {
        result += c;
        ++at_;
      }
    }
    return result;
  }

  void quoted(std::string& result) {
    const std::size_t start = at_++;
    while (!atEnd() && line_[at_] != '"') {
      if (line_[at_] == '\\')
        result += escape();
      else
        result += line_[at_++];
    }
    if (atEnd())
      fail("quotation mark is not closed", start);
    ++at_;
  }

  void raw(std::string& result) {
    const std::size_t start = at_++;
    const std::size_t end = line_.find('\'', at_);
    if (end == std::string_view::npos)
      fail("quotation mark is not closed", start);
    result += line_.substr(at_, end - at_);
    at_ = end + 1;
  }

  char escape() {
    const std::size_t start = at_++;
    if (atEnd())
      fail("character expected after the backslash", start);
    const char c = line_[at_++];
    switch (c) {
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    case 'x':
      break;
    default:
      return c;
    }
    const int high = at_ < line_.size() ? hexValue(line_[at_]) : -1;
    const int low = at_ + 1 < line_.size() ? hexValue(line_[at_ + 1]) : -1;
    if (high < 0 || low < 0)
      fail("two hexadecimal digits expected after \"\\x\"", start);
    at_ += 2;
    return static_cast<char>(high * 16 + low);
  }

  [[noreturn]] static void fail(const std::string& what, std::size_t position) {
    throw ParamLine::Exception(what + " at character " + std::to_string(position + 1));
  }

  std::string_view line_;
  std::size_t at_ = 0;
};

} // namespace

ParamLine::Exception::Exception(std::string message) : message_(std::move(message)) {}
ParamLine::Exception::~Exception() = default;

void ParamLine::setParamLine(const std::string& line) {
  params_ = Parser(line).parse();
}

std::string ParamLine::quote(std::string_view text) {
  constexpr std::string_view digits = "0123456789abcdef";
  if (!text.empty() && text.find_first_of(" \t\r\n\"'\\=") == std::string_view::npos &&
      text.find('\0') == std::string_view::npos)
    return std::string(text);
  std::string result = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      result += '\\';
      result += c;
    } else if (c == '\n') {
      result += "\\n";
    } else if (byte < 0x20) {
      result += "\\x";
      result += digits[byte >> 4];
      result += digits[byte & 15];
    } else {
      result += c;
    }
  }
  return result + '"';
}

} // namespace Config
