#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/platform/pelorn/MultipartMessage.h>
#include <vantiflux/platform/pelorn/ProtocolHTTP.h>

namespace {

using Pelorn::MultipartMessage;
using Pelorn::ProtocolHTTP;
using Parts = std::vector<std::pair<std::string, std::string>>;

/// Name and body of each part.
Parts parts(const std::string& message, bool skipBodies = false) {
  std::istringstream stream(message);
  MultipartMessage multipart(stream, "edge");
  Parts result;
  if (multipart.headers.empty())
    return result;
  do {
    std::string body;
    if (!skipBodies)
      multipart.body(body);
    result.emplace_back(multipart.headers.getParam("x-name", std::string("?")), body);
  } while (multipart.next());
  return result;
}

std::string part(const std::string& name, const std::string& body) {
  return "--edge\r\nX-Name: " + name + "\r\n\r\n" + body + "\r\n";
}

TEST(Multipart, GivesPartsByteForByte) {
  const std::string binary("\0\r\n--edg\r\n--\r\r\n", 14);
  // The delimiter comes to lie across the end of every piece that is read at a time.
  for (std::size_t size = 65536 - 80; size < 65536 + 20; ++size) {
    const std::string large(size, 'x');
    const std::string message =
        "preamble\r\n" + part("a", large) + part("b", binary) + part("c", "") + "--edge--\r\nepilogue" + part("d", "d");
    ASSERT_EQ(parts(message), (Parts{{"a", large}, {"b", binary}, {"c", ""}})) << size;
    ASSERT_EQ(parts(message, true), (Parts{{"a", ""}, {"b", ""}, {"c", ""}})) << size;
  }
}

TEST(Multipart, TakesWhatThereIsOfABrokenMessage) {
  EXPECT_EQ(parts(""), Parts());
  EXPECT_EQ(parts("nothing of the kind"), Parts());
  EXPECT_EQ(parts("--edge--\r\n"), Parts());
  EXPECT_EQ(parts("--edge\r\nX-Name: a\r\n"), Parts());
  EXPECT_EQ(parts("--edge\r\nX-Name: a\r\nY: " + std::string(20000, 'y') + "\r\n\r\nz\r\n--edge--"), Parts());
  EXPECT_EQ(parts(part("a", "1") + "--edge\r\nx-name:b\r\n\r\ncut"), (Parts{{"a", "1"}, {"b", "cut"}}));
  EXPECT_EQ(parts(part("a", "1") + "--edge"), (Parts{{"a", "1"}}));
}

TEST(ProtocolHTTP, TakesHeaderValuesApart) {
  std::string token;
  Config::ParamBag parameters;
  EXPECT_TRUE(ProtocolHTTP::parseTokenAndParameters(
      " Form-Data ; Name=\"a;\\\"b\\\\\" ;filename=\"\xC3\xA4.vfx\"; x = y ;", token, parameters));
  EXPECT_EQ(token, "form-data");
  EXPECT_EQ(parameters.getParams(), (Config::Params{{"name", "a;\"b\\"}, {"filename", "\xC3\xA4.vfx"}, {"x", "y"}}));
  for (const char* const wrong : {"", ";", "a; b", "a; b=\"c", "a; b=\"c\" d"})
    EXPECT_FALSE(ProtocolHTTP::parseTokenAndParameters(wrong, token, parameters)) << wrong;
  EXPECT_EQ(ProtocolHTTP::createTimestamp(784111777), "Sun, 06 Nov 1994 08:49:37 GMT");
  EXPECT_STREQ(ProtocolHTTP::getStatusPhrase(413), "Payload Too Large");
  EXPECT_STREQ(ProtocolHTTP::getStatusPhrase(999), "Unknown");
}

TEST(ProtocolHTTP, WritesQueriesThatReadBackTheSame) {
  Config::ParamBag params, read;
  params.setParam("a/b c", "<&>=\"'%+\xC3\xA4\n");
  params.setParam("", "");
  params.setParam("last", "x");
  const std::string query = ProtocolHTTP::createQuery(params);
  EXPECT_EQ(query, "a%2Fb%20c=%3C%26%3E%3D%22%27%25%2B%C3%A4%0A&=&last=x");
  EXPECT_TRUE(ProtocolHTTP::parseQuery(query, read));
  EXPECT_EQ(read, params);
  EXPECT_TRUE(ProtocolHTTP::parseQuery("&&a=1&a=2=3&b", read));
  EXPECT_EQ(read.getParams(), (Config::Params{{"a", "2=3"}, {"b", ""}}));
}

} // namespace
