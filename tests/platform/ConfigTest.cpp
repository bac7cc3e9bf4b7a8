#include <vantiflux/platform/config/ParamBag.h>
#include <vantiflux/platform/config/ParamLine.h>

#include <gtest/gtest.h>

namespace {

using Config::ParamBag;
using Config::ParamLine;
using Config::Params;

TEST(ParamBag, ReplacesInPlaceAndKeepsOrder) {
  ParamBag bag;
  EXPECT_TRUE(bag.empty());
  EXPECT_EQ(nullptr, bag.getParam("a", nullptr));
  bag.setParam("b", "1");
  bag.setParam("a", "2");
  bag.setParam("B", "3");
  bag.setParam("b", "4");
  bag.setParam("null", static_cast<const char*>(nullptr));
  EXPECT_EQ((Params{{"b", "4"}, {"a", "2"}, {"B", "3"}, {"null", ""}}), bag.getParams());
  EXPECT_STREQ("4", bag.getParam("b", "x"));
  EXPECT_STREQ("x", bag.getParam("c", "x"));
  EXPECT_EQ("fallback", bag.getParam(std::string("c"), std::string("fallback")));
  ParamBag copy = bag;
  bag.clear();
  EXPECT_TRUE(bag.empty());
  EXPECT_FALSE(bag.hasParam("b"));
  bag.setParam("z", "0");
  EXPECT_EQ(1U, bag.size());
  EXPECT_STREQ("4", copy.getParam("b", nullptr));
}

TEST(ParamLine, Grammar) {
  const std::pair<std::string, Params> lines[] = {
      {"", {}},
      {" \t\r\n", {}},
      {"a=1", {{"a", "1"}}},
      {"  a=1\tb=2  ", {{"a", "1"}, {"b", "2"}}},
      {"a=1 a=2", {{"a", "1"}, {"a", "2"}}},
      {"Axis=1,3,-2 Url=http://h/?q=1&r=2", {{"Axis", "1,3,-2"}, {"Url", "http://h/?q=1&r=2"}}},
      {"a= b=", {{"a", ""}, {"b", ""}}},
      {"a=\"\"", {{"a", ""}}},
      {"\"left hand\"=\"x y\"", {{"left hand", "x y"}}},
      {"a=x\" y \"z", {{"a", "x y z"}}},
      {"a='\"\\n' b=\"'\"", {{"a", "\"\\n"}, {"b", "'"}}},
      {R"(a=\ \"\\\n\t\r\x41\xe4)", {{"a", " \"\\\n\t\rA\xe4"}}},
      {R"(a="\"\x00b")", {{"a", std::string("\"\0b", 3)}}},
      {R"(a\=b=c)", {{"a=b", "c"}}},
  };
  for (const auto& [line, params] : lines) {
    ParamLine parsed;
    parsed.setParamLine(line);
    EXPECT_EQ(params, parsed.getParams()) << line;
  }
}

TEST(ParamLine, ABadLineIsRefusedWholeWithItsPlace) {
  ParamLine line;
  line.setParamLine("keep=me");
  const std::pair<const char*, const char*> lines[] = {
      {"a", "\"=\" expected at character 2"},
      {"a =1", "\"=\" expected at character 2"},
      {"a=1 =2", "name expected at character 5"},
      {"\"\"=2", "name expected at character 1"},
      {"a=1 b=\"x", "quotation mark is not closed at character 7"},
      {"a='", "quotation mark is not closed at character 3"},
      {"a=\\", "character expected after the backslash at character 3"},
      {"a=\\x4", "two hexadecimal digits expected after \"\\x\" at character 3"},
  };
  for (const auto& [text, message] : lines) {
    try {
      line.setParamLine(text);
      ADD_FAILURE() << text;
    } catch (const ParamLine::Exception& exception) {
      EXPECT_STREQ(message, exception.what());
    }
    EXPECT_EQ((Params{{"keep", "me"}}), line.getParams());
  }
}

TEST(ParamLine, QuotedTextReadsBackTheSame) {
  std::string all;
  for (int i = 0; i < 256; ++i)
    all += static_cast<char>(i);
  for (const std::string& text :
       {all, std::string(), std::string("plain"), std::string("\\x41"), std::string("a\nb")}) {
    ParamLine line;
    line.setParamLine("n" + ParamLine::quote(text) + "=" + ParamLine::quote(text) + " end=1");
    EXPECT_EQ((Params{{"n" + text, text}, {"end", "1"}}), line.getParams());
  }
  EXPECT_EQ("plain", ParamLine::quote("plain"));
}

} // namespace
