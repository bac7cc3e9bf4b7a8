#include <vantiflux/platform/pelorn/ProtocolHTTP.h>

#include <algorithm>

#include <ostream> // which the next one forgets

#include <boost/beast/http/status.hpp>

#include <vantiflux/platform/pelorn/HTTPText.h>

namespace Pelorn {

namespace {

/// Reads a header's value from left to right.
class Cursor {
public:
  explicit Cursor(std::string_view text) : rest_(text) {}

  bool atEnd() const { return rest_.empty(); }
  void skipBlanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t"), rest_.size())); }
  bool take(char c) {
    if (rest_.empty() || rest_.front() != c)
      return false;
    rest_.remove_prefix(1);
    return true;
  }
  std::string_view word(std::string_view ends) {
    const std::string_view taken = rest_.substr(0, rest_.find_first_of(ends));
    rest_.remove_prefix(taken.size());
    return taken;
  }
  /// What stands between quotation marks, the first of which was taken. False when the other one is missing.
  bool quoted(std::string& text) {
    while (!rest_.empty()) {
      const char c = rest_.front();
      rest_.remove_prefix(1);
      if (c == '"')
        return true;
      if (c == '\\' && !rest_.empty()) {
        text += rest_.front();
        rest_.remove_prefix(1);
      } else {
        text += c;
      }
    }
    return false;
  }

private:
  std::string_view rest_;
};

} // namespace

ProtocolHTTP::~ProtocolHTTP() = default;

bool ProtocolHTTP::Request::keepsAlive() const {
  return minorVersion == 0 ? headers.hasWord("Connection", "keep-alive") : !headers.hasWord("Connection", "close");
}

std::string ProtocolHTTP::createQuery(const Config::ParamBag& params) {
  std::string query;
  for (const Config::Param& param : params) {
    if (!query.empty())
      query += '&';
    query += HTTPText::encode(param.first) + '=' + HTTPText::encode(param.second);
  }
  return query;
}

bool ProtocolHTTP::parseQuery(std::string_view query, Config::ParamBag& params) {
  params.clear();
  std::string name, value;
  while (!query.empty()) {
    const std::string_view pair = query.substr(0, query.find('&'));
    query.remove_prefix(pair.size() < query.size() ? pair.size() + 1 : pair.size());
    const std::size_t equals = std::min(pair.find('='), pair.size());
    if (!HTTPText::decode(pair.substr(0, equals), true, name) ||
        !HTTPText::decode(pair.substr(std::min(equals + 1, pair.size())), true, value))
      return false;
    if (!pair.empty())
      params.setParam(name, value);
  }
  return true;
}

bool ProtocolHTTP::parseTokenAndParameters(const std::string& text, std::string& token, Config::ParamBag& parameters) {
  parameters.clear();
  Cursor cursor(text);
  cursor.skipBlanks();
  token = HTTPText::lower(HTTPText::trim(cursor.word(";")));
  while (cursor.take(';')) {
    cursor.skipBlanks();
    const std::string name = HTTPText::lower(HTTPText::trim(cursor.word("=;")));
    if (name.empty())
      continue; // a semicolon too many
    if (!cursor.take('='))
      return false;
    cursor.skipBlanks();
    std::string value;
    if (!cursor.take('"'))
      value = HTTPText::trim(cursor.word(";"));
    else if (!cursor.quoted(value))
      return false;
    parameters.setParam(name, value);
    cursor.skipBlanks();
  }
  return cursor.atEnd() && !token.empty();
}

const char* ProtocolHTTP::getStatusPhrase(unsigned long status) {
  namespace http = boost::beast::http;
  const auto known = status < 1000 ? http::int_to_status(static_cast<unsigned>(status)) : http::status::unknown;
  return known == http::status::unknown ? "Unknown" : http::obsolete_reason(known).data();
}

std::string ProtocolHTTP::createTimestamp(std::time_t time) {
  return HTTPText::date(time);
}

} // namespace Pelorn
