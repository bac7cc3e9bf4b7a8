#include "../../apps/vantiflux/ValueText.h"
#include "../../apps/vantiflux/Printable.h"

#include <cstdlib>
#include <ctime>
#include <string>

#include <gtest/gtest.h>

#include <vantiflux/values/SlotTypes.h>

namespace {

struct Foreign {};

} // namespace

template <>
struct Vantiflux::TypeName<Foreign> {
  static const char* getName() { return "Foreign"; }
};

namespace {

using namespace Vantiflux;

template <class T>
std::string textOf(const T& value) {
  std::string result = "nothing";
  const Host::TextSlot text(OutSlot<T>(), [&](std::uint64_t timeStamp, const std::string& arrived) {
    EXPECT_EQ(timeStamp, 5);
    result = arrived;
  });
  dynamic_cast<InSlot<T>&>(text.slot()).push(Data<T>(value, 5));
  return result;
}

template <class T>
SmartPtr<T> pooled(T value) {
  SmartPtr<T> pointer;
  pointer.acquire();
  *pointer = std::move(value);
  return pointer;
}

TEST(ValueText, OfEveryKindOfValue) {
  EXPECT_EQ(textOf(true), "true");
  EXPECT_EQ(textOf(-5L), "-5");
  EXPECT_EQ(textOf(0.1), "0.1");
  EXPECT_EQ(textOf(std::string("a\tb\n\x1b[2J\x7f")), "a\\tb\\n\\x1b[2J\\x7f");
  EXPECT_EQ(textOf(Vec3<double>(1, 2, 3.5)), "1 2 3.5");
  EXPECT_EQ(textOf(pooled(std::vector<bool>{true, false})), "[true, false]");
  EXPECT_EQ(textOf(pooled(std::vector<std::string>{"a\n", "b"})), "[a\\n, b]");
  EXPECT_EQ(textOf(pooled(std::vector<Vec2<float>>{{1, 2}, {3, 4}})), "[1 2, 3 4]");
  EXPECT_EQ(textOf(pooled(std::vector<long>())), "[]");
  EXPECT_TRUE(textOf(pooled(std::vector<long>(1000, 7))).ends_with(", 7, ... 1000 in all]"));
  Image image;
  image.setParameters(4, 2, Image::YUY2);
  EXPECT_EQ(textOf(pooled(image)), "4x2 YUY2");
  EXPECT_EQ(textOf(SmartPtr<Sample>()), "none");
}

TEST(ValueText, OfEveryTypeOfTheLibraryAndTheNameOfOthers) {
  ValueTypes::forEach([]<class T>() { EXPECT_NE(textOf(T()), "nothing") << TypeName<T>::getName(); });
  OutSlot<Foreign> out;
  std::string told;
  const Host::TextSlot text(out, [&](std::uint64_t, const std::string& arrived) { told = arrived; });
  out.connect(&text.slot());
  out.push(Foreign());
  EXPECT_EQ(told, "(Foreign)");
  out.disconnect(&text.slot());
}

TEST(ValueText, IsPrintable) {
  EXPECT_EQ(Host::printable("gr\u00fc\u00df \u20ac \U0001f600"), "gr\u00fc\u00df \u20ac \U0001f600");
  EXPECT_EQ(Host::printable("\xc2\x9b 2J \xc2\x85 \xc2\xa0"), "\\u009b 2J \\u0085 \xc2\xa0");
  EXPECT_EQ(Host::printable("\u202egnp.exe \u2028 \u2066"), "\\u202egnp.exe \\u2028 \\u2066");
  // Bare and cut bytes, more of them than needed, half of a pair, beyond the last character.
  EXPECT_EQ(Host::printable("\x9b \xc3"), "\\x9b \\xc3");
  EXPECT_EQ(Host::printable("\xc0\x9b \xe0\x82\x9b"), "\\xc0\\x9b \\xe0\\x82\\x9b");
  EXPECT_EQ(Host::printable("\xed\xa0\x80 \xf4\x90\x80\x80"), "\\xed\\xa0\\x80 \\xf4\\x90\\x80\\x80");
  EXPECT_EQ(Host::printable(std::string(1, '\0') + "\r"), "\\x00\\x0d");
  EXPECT_TRUE(textOf(std::string(1 << 20, 'x')).ends_with("x... 1048576 bytes in all"));
}

TEST(ValueText, OfTimeStampsIsLocalTimeOrTheBareNumber) {
  setenv("TZ", "UTC0", 1);
  tzset();
  EXPECT_EQ(Host::timeText(1709210096007), "2024-02-29 12:34:56.007");
  EXPECT_EQ(Host::timeText(0), "1970-01-01 00:00:00.000");
  // A year of more digits than any calendar has is still told apart.
  EXPECT_FALSE(Host::timeText(~std::uint64_t{0}).empty());
}

} // namespace
