#include "../../apps/vantiflux/ValueText.h"

#include <cstdlib>
#include <ctime>
#include <string>

#include <gtest/gtest.h>

#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;

template <class T>
std::string textOf(const T& value) {
  InSlot<T> slot;
  slot.push(Data<T>(value, 5));
  const auto taken = Host::takeAsText(slot);
  EXPECT_TRUE(taken && taken->timeStamp == 5 && slot.empty());
  return taken ? taken->text : "nothing";
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

TEST(ValueText, KnowsEveryTypeOfTheLibrary) {
  ValueTypes::forEach([]<class T>() { EXPECT_TRUE(Host::isPrintable(InSlot<T>())) << TypeName<T>::getName(); });
  InSlot<float> empty;
  EXPECT_FALSE(Host::takeAsText(empty));
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
