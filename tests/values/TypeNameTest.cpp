#include <vantiflux/values/TypeName.h>

#include <set>
#include <string>

#include <gtest/gtest.h>

#include <vantiflux/values/ValueTypes.h>

namespace {

using namespace Vantiflux;

static_assert(PlainTypes::size == 19);
static_assert(PooledTypes::size == 21);
static_assert(ValueTypes::size == 40);

template <class T>
std::string name() {
  return TypeName<T>::getName();
}

template <class T>
using List = std::vector<T>;

TEST(TypeName, OfSingleValues) {
  EXPECT_EQ(name<bool>(), "bool");
  EXPECT_EQ(name<long>(), "long");
  EXPECT_EQ(name<float>(), "float");
  EXPECT_EQ(name<double>(), "double");
  EXPECT_EQ(name<std::string>(), "std::string");
  EXPECT_EQ(name<Time>(), "Vantiflux::Time");
  EXPECT_EQ(name<ColorRGBA>(), "Vantiflux::ColorRGBA");
  EXPECT_EQ(name<Rotation>(), "Vantiflux::Rotation");
  EXPECT_EQ(name<Vec2<double>>(), "Vantiflux::Vec2d");
  EXPECT_EQ(name<Matrix4<float>>(), "Vantiflux::Matrix4f");
}

TEST(TypeName, OfPointersIsStoredEscaped) {
  EXPECT_EQ(name<SmartPtr<Image>>(), "Vantiflux::SmartPtr&lt;Vantiflux::Image&gt;");
  EXPECT_EQ(name<SmartPtr<Sample>>(), "Vantiflux::SmartPtr&lt;Vantiflux::Sample&gt;");
  EXPECT_EQ(name<SmartPtr<List<long>>>(), "Vantiflux::SmartPtr&lt;Vantiflux::MFInt32&gt;");
  EXPECT_EQ(name<SmartPtr<List<std::string>>>(), "Vantiflux::SmartPtr&lt;Vantiflux::MFString&gt;");
  EXPECT_EQ(name<SmartPtr<List<Image>>>(), "Vantiflux::SmartPtr&lt;Vantiflux::MFImage&gt;");
  EXPECT_EQ(name<List<Vec4<double>>>(), "MFVec4d");
}

// A slip in the table shows as two types with one name, or as a list whose name does not come from its element's.
TEST(TypeName, OfEveryTypeIsItsOwnAndListsFollowTheirElement) {
  std::set<std::string> names;
  ValueTypes::forEach([&]<class T>() { EXPECT_TRUE(names.insert(name<T>()).second) << name<T>(); });
  EXPECT_EQ(names.size(), 40U);

  PlainTypes::forEach([&]<class T>() {
    std::string expected = name<T>();
    expected.erase(0, expected.starts_with("Vantiflux::") ? 11 : expected.starts_with("std::") ? 5 : 0);
    expected = expected == "long" ? "Int32" : expected;
    expected[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(expected[0])));
    EXPECT_EQ(name<List<T>>(), "MF" + expected);
    EXPECT_EQ(name<SmartPtr<List<T>>>(), "Vantiflux::SmartPtr&lt;Vantiflux::MF" + expected + "&gt;");
  });
}

} // namespace
