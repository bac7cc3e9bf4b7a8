#include <vantiflux/web/rest/SlotText.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <locale>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <boost/lexical_cast/bad_lexical_cast.hpp>

#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/web/rest/BasicType.h>
#include <web/rest/Tree.h>

// A host's own kind of slot.
namespace Vantiflux {
template <>
struct TypeName<int> {
  static const char* getName() { return "int"; }
};
} // namespace Vantiflux

using namespace Vantiflux;
using test::listOf;

namespace {

template <class T>
std::string textOf(const T& value) {
  OutSlot<T> out;
  out.push(value);
  InSlot<T> in;
  in.push(value);
  const std::string text = REST::toString<BasicOutSlot, OutSlot>(&out);
  EXPECT_EQ((REST::toString<BasicInSlot, InSlot>(&in)), text);
  EXPECT_TRUE(in.empty()) << "reading an in-slot takes its value";
  EXPECT_EQ((REST::toString<BasicOutSlot, OutSlot>(&out)), text) << "reading an out-slot leaves its value";
  return text;
}

template <class T>
T written(const std::string& text) {
  InSlot<T> slot;
  const auto before = BasicData(Data<T>(T())).getTimeStamp();
  REST::fromString<BasicInSlot, InSlot>(&slot, text);
  EXPECT_FALSE(slot.empty());
  EXPECT_GE(slot.top().getTimeStamp(), before);
  return slot.pop().getValue();
}

template <class T>
bool refuses(const std::string& text) {
  InSlot<T> slot;
  EXPECT_THROW((REST::fromString<BasicInSlot, InSlot>(&slot, text)), boost::bad_lexical_cast) << text;
  return slot.empty();
}

} // namespace

TEST(SlotText, WritesNumbersExactly) {
  EXPECT_EQ(textOf(-12), "-12");
  EXPECT_EQ(textOf(std::numeric_limits<long>::min()), "-9223372036854775808");
  EXPECT_EQ(textOf(1e30F), "1.00000002e+30");
  EXPECT_EQ(textOf(-1e-5), "-1.0000000000000001e-05");
  EXPECT_EQ(textOf(std::numeric_limits<float>::infinity()), "inf");
  EXPECT_EQ(textOf(-std::numeric_limits<double>::infinity()), "-inf");
  EXPECT_EQ(textOf(std::numeric_limits<double>::quiet_NaN()), "nan");
  EXPECT_EQ(textOf(-std::numeric_limits<float>::quiet_NaN()), "-nan");
  EXPECT_EQ(textOf(std::string("a \"b\"\n")), "a \"b\"\n");
}

TEST(SlotText, StandsListsAndSlotsWithoutText) {
  EXPECT_EQ(textOf(SmartPtr<std::vector<float>>()), "");
  EXPECT_EQ(textOf(listOf<float>({})), "");
  EXPECT_EQ(textOf(listOf<std::string>({"a", "", "b, c"})), "a, , b, c");
  InSlot<SmartPtr<Sample>> sound;
  sound.push(SmartPtr<Sample>());
  EXPECT_EQ((REST::toString<BasicInSlot, InSlot>(&sound)), "");
  EXPECT_FALSE(sound.empty());
  EXPECT_EQ((REST::toString<BasicOutSlot, OutSlot>(nullptr)), "");
}

TEST(SlotText, HasNoNameForOtherTypes) {
  const auto nameOf = [](auto slot) { return REST::getBasicType<BasicOutSlot, OutSlot>(&*slot).name; };
  EXPECT_EQ(nameOf(std::make_unique<OutSlot<int>>()), "invalid");
  EXPECT_EQ(nameOf(std::make_unique<OutSlot<SmartPtr<Sample>>>()), "invalid");
  EXPECT_EQ(nameOf(std::make_unique<OutSlot<SmartPtr<std::vector<Matrix3<float>>>>>()), "invalid");
  EXPECT_EQ((REST::getBasicType<BasicInSlot, InSlot>(nullptr).name), "invalid");
}

TEST(SlotText, AnInterruptIsForTheSlotsOwnReader) {
  InSlot<SmartPtr<std::vector<double>>> slot;
  const auto length = [&slot] { return REST::getBasicType<BasicInSlot, InSlot>(&slot).length; };
  EXPECT_EQ(length(), 0U);
  slot.push(listOf<double>({1}));
  slot.interrupt();
  EXPECT_EQ(length(), 0U);
  EXPECT_THROW(slot.pop(), InterruptedException);
  EXPECT_EQ(length(), 1U);
}

TEST(SlotText, GivesBytesOfFloatsAlone) {
  const auto floats = [](auto value) {
    OutSlot<decltype(value)> slot;
    slot.push(value);
    const std::string bytes = REST::toFloat<BasicOutSlot, OutSlot>(&slot);
    std::vector<float> numbers(bytes.size() / sizeof(float));
    for (std::size_t i = 0; i < numbers.size(); ++i)
      std::memcpy(&numbers[i], &bytes[i * sizeof(float)], sizeof(float));
    return numbers;
  };
  using Numbers = std::vector<float>;
  EXPECT_EQ(floats(Vec3<float>(1, 2, 3)), (Numbers{1, 2, 3}));
  EXPECT_EQ(floats(Color(1, 2, 3)), (Numbers{1, 2, 3}));
  EXPECT_EQ(floats(listOf<Vec3<float>>({{1, 2, 3}, {4, 5, 6}})), (Numbers{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(floats(SmartPtr<std::vector<Color>>()), Numbers{});
  EXPECT_THROW(floats(1.5), std::runtime_error);
  EXPECT_THROW(floats(SmartPtr<Sample>()), std::runtime_error);

  OutSlot<SmartPtr<std::vector<long>>> list;
  EXPECT_THROW((REST::toInt<BasicOutSlot, OutSlot>(&list)), std::runtime_error);
  EXPECT_EQ((REST::toInt<BasicOutSlot, OutSlot>(nullptr)), "");
}

TEST(SlotText, ReadsWholeTextsOnly) {
  EXPECT_EQ(written<float>("-1.5e3"), -1500.F);
  EXPECT_EQ(written<double>("+0.10000000000000001"), 0.1);
  EXPECT_EQ(written<double>("-inf"), -std::numeric_limits<double>::infinity());
  EXPECT_NE(written<float>("nan"), written<float>("nan"));
  EXPECT_EQ(written<int>("+12"), 12);
  EXPECT_EQ(written<long>("-9223372036854775808"), std::numeric_limits<long>::min());
  EXPECT_EQ(written<bool>("1"), true);
  EXPECT_EQ(written<float>("1e-50"), 0.F);
  EXPECT_EQ(written<float>("1e-40"), 1e-40F);
  EXPECT_EQ(written<float>("+0." + std::string(400, '0') + "1"), 0.F);
  EXPECT_EQ(std::signbit(written<double>("-1e-400")), true);
  EXPECT_EQ(written<double>("-1e-400"), 0.);
  EXPECT_EQ(written<std::string>(" as it is\n"), " as it is\n");
  for (const char* const bad : {"", " 1", "1 ", "1,5", "1x", "x", "0x"}) {
    EXPECT_TRUE(refuses<float>(bad));
    EXPECT_TRUE(refuses<double>(bad));
    EXPECT_TRUE(refuses<int>(bad));
    EXPECT_TRUE(refuses<long>(bad));
    EXPECT_TRUE(refuses<bool>(bad));
  }
  for (const char* const bad : {"true", "2", "+1", "-0", "01", "1\n"})
    EXPECT_TRUE(refuses<bool>(bad));
  for (const char* const bad : {"1e400", "-1e400", "+-1", "1e", "1e-50x"}) {
    EXPECT_TRUE(refuses<float>(bad));
    EXPECT_TRUE(refuses<double>(bad));
  }
  EXPECT_TRUE(refuses<float>("1e39"));
  EXPECT_TRUE(refuses<int>("2147483648"));
  EXPECT_TRUE(refuses<long>("1.0"));

  InSlot<Vec3<float>> vector; // has no way in
  REST::fromString<BasicInSlot, InSlot>(&vector, "1 2 3");
  EXPECT_TRUE(vector.empty());
  REST::fromString<BasicInSlot, InSlot>(nullptr, "1");
}

TEST(SlotText, DoesNotDependOnTheHostsLocale) {
  struct German : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::string time = textOf(Time(1e9));
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new German));
  EXPECT_EQ(textOf(1234.5F), "1234.5");
  EXPECT_EQ(textOf(1234567L), "1234567");
  EXPECT_EQ(written<double>("1234.5"), 1234.5);
  EXPECT_EQ(written<float>("0.5"), 0.5F);
  EXPECT_EQ(written<float>("1e-50"), 0.F);
  EXPECT_EQ(textOf(Time(1e9)), time);
  EXPECT_TRUE(refuses<long>("1.234"));
  EXPECT_TRUE(refuses<int>("1.234"));
  std::locale::global(before);
}
