#include <vantiflux/values/Image.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

using Vantiflux::Image;

// Bits a pixel of every format, from the layout of each; the fractions are exact for the size used below.
const std::map<std::string, unsigned> bitsPerPixel = {
    {"NONE", 0},   {"BGR232", 8},   {"BGR555", 16},  {"BGR565", 16},  {"BGR24", 24}, {"RGB24", 24}, {"BGR32", 32},
    {"RGB32", 32}, {"SHORT16", 16}, {"FLOAT16", 16}, {"FLOAT32", 32}, {"Y444", 24},  {"IYU2", 24},  {"I420", 12},
    {"YVU9", 9},   {"YUV9", 9},     {"Y800", 8},     {"Y1600", 16},   {"Y422", 16},  {"Y411", 12},  {"Y41P", 12},
    {"YV12", 12},  {"YUY2", 16},    {"YUV422P", 16}, {"YUV411P", 12}};

Image filled(unsigned width, unsigned height, Image::Format format, unsigned char value) {
  Image image;
  image.setParameters(width, height, format);
  std::fill_n(image.data(), image.size(), value);
  return image;
}

TEST(Image, EveryFormatHasItsNameAndSize) {
  ASSERT_EQ(bitsPerPixel.size(), static_cast<std::size_t>(Image::formatCount));
  for (int value = 0; value < Image::formatCount; ++value) {
    const auto format = static_cast<Image::Format>(value);
    const std::string name = Image::format2String(format);
    EXPECT_EQ(Image::string2Format(name), format) << name;
    ASSERT_TRUE(bitsPerPixel.contains(name)) << name;
    Image image;
    image.setParameters(16, 8, format);
    EXPECT_EQ(image.size(), 16U * 8 * bitsPerPixel.at(name) / 8) << name;
    EXPECT_EQ(image.capacity(), image.size());
  }
  EXPECT_STREQ(Image::format2String(static_cast<Image::Format>(25)), "NONE");
  EXPECT_STREQ(Image::format2String(static_cast<Image::Format>(-1)), "NONE");
  EXPECT_EQ(Image::Y422, 18);
  EXPECT_EQ(Image::YUV411P, 24);
}

TEST(Image, NamesAreFoundInAnyCaseAndByTheirAliases) {
  const std::map<std::string, Image::Format> names = {
      {"IYUV", Image::I420},     {"yuv420p", Image::I420}, {"YVU410", Image::YVU9}, {"YUV410P", Image::YUV9},
      {"Y8", Image::Y800},       {"grey", Image::Y800},    {"Y16", Image::Y1600},   {"UYVY", Image::Y422},
      {"YUV411", Image::Y41P},   {"YVU420", Image::YV12},  {"YUV422", Image::YUY2}, {"\t yuyv\r\n", Image::YUY2},
      {" rgb24 ", Image::RGB24}, {"RGBA", Image::NONE},    {"", Image::NONE},       {" \n", Image::NONE},
      {"RGB 24", Image::NONE},   {"RGB24\v", Image::NONE}, {"\xff", Image::NONE}};
  for (const auto& [name, format] : names)
    EXPECT_EQ(Image::string2Format(name), format) << name;
}

TEST(Image, ABufferGrowsAndNeverShrinks) {
  Image image;
  EXPECT_EQ(image.data(), nullptr);
  image.setParameters(640, 480, Image::RGB24);
  EXPECT_EQ(image.capacity(), 921600U);
  const unsigned char* const buffer = image.data();
  image.setParameters(10, 10, Image::Y800);
  EXPECT_EQ(image.size(), 100U);
  EXPECT_EQ(image.capacity(), 921600U);
  image.setParameters(640, 480, Image::NONE);
  EXPECT_EQ(image.size(), 0U);
  image.setParameters(640, 480, static_cast<Image::Format>(25));
  EXPECT_EQ(image.size(), 0U);
  EXPECT_EQ(image.width(), 640U);
  EXPECT_EQ(image.format(), 25);
  EXPECT_EQ(image.data(), buffer);
  EXPECT_EQ(image.capacity(), 921600U);
}

TEST(Image, SizesAreShiftedAndWrapInThirtyTwoBits) {
  Image image;
  image.setParameters(3, 3, Image::I420);
  EXPECT_EQ(image.size(), 9U + 4);
  image.setParameters(5, 3, Image::YVU9);
  EXPECT_EQ(image.size(), 15U + 1);
  image.setParameters(65536, 65537, Image::Y800);
  EXPECT_EQ(image.size(), 65536U);
  image.setParameters(65536, 16385, Image::RGB32);
  EXPECT_EQ(image.size(), 262144U);
}

TEST(Image, NewBytesCarryNothingOfOtherMemory) {
  filled(100, 100, Image::Y800, 0xAB);
  Image image;
  image.setParameters(100, 100, Image::Y800);
  EXPECT_TRUE(std::all_of(image.data(), image.data() + image.size(), [](unsigned char byte) { return byte == 0; }));
}

TEST(Image, CopyConstructionTakesThePixelsOnly) {
  Image source = filled(10, 10, Image::Y800, 1);
  source.setParameters(2, 2, Image::Y800);
  const Image copy(source);
  EXPECT_EQ(copy.capacity(), 4U);
  EXPECT_EQ(copy, source);
  EXPECT_EQ(Image(Image()).data(), nullptr);
}

TEST(Image, AssignmentToALargerImageStaysInsideTheSource) {
  const Image small = filled(2, 2, Image::Y800, 7);
  Image large = filled(100, 100, Image::RGB24, 9);
  large = small; // the address sanitizer watches the bytes behind the four of the source
  EXPECT_EQ(large, small);
  EXPECT_EQ(large.capacity(), 30000U);
  EXPECT_EQ(large.data()[3], 7);
  EXPECT_EQ(large.data()[4], 9);
}

TEST(Image, AssignmentCopiesWhatLiesBehindThePixelsAndGrowsWhenItMust) {
  Image source = filled(10, 10, Image::Y800, 1);
  source.setParameters(2, 2, Image::Y800);
  source.data()[10] = 5;
  Image target = filled(4, 4, Image::Y800, 0);
  target = source;
  EXPECT_EQ(target.data()[10], 5);
  EXPECT_EQ(target.capacity(), 16U);

  source.setParameters(10, 10, Image::Y800);
  target = source;
  EXPECT_EQ(target.capacity(), 100U);
  EXPECT_EQ(target, source);

  const Image& self = target;
  target = self;
  EXPECT_EQ(target, source);
  target = Image();
  EXPECT_EQ(target.size(), 0U);
  EXPECT_EQ(target.format(), Image::NONE);
}

TEST(Image, EqualityLooksAtParametersAndPixelsInUse) {
  Image a = filled(2, 2, Image::Y800, 1);
  Image b = filled(10, 10, Image::Y800, 1);
  b.setParameters(2, 2, Image::Y800);
  EXPECT_EQ(a, b);
  b.data()[50] = 2;
  EXPECT_EQ(a, b);
  b.data()[3] = 2;
  EXPECT_FALSE(a == b);
  EXPECT_FALSE(filled(1, 4, Image::Y800, 1) == a);
  EXPECT_FALSE(filled(2, 2, Image::BGR232, 1) == a);
  a.setParameters(7, 7, Image::NONE);
  b.setParameters(7, 7, Image::NONE);
  EXPECT_EQ(a, b);
  std::ostringstream out;
  out << filled(4, 3, Image::YUY2, 0);
  EXPECT_EQ(out.str(), "4x3 YUY2");
}

} // namespace
