#include <vantiflux/values/Image.h>

#include <array>
#include <set>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <vantiflux/values/image/ChannelSplit.h>
#include <vantiflux/values/image/Flip.h>

#include "ImageReference.h"

namespace {

using ImageReference::bytesOf;
using ImageReference::noise;
using Vantiflux::Image;

// Converts, and gives what was written to standard error.
std::string convert(const Image& source, Image::Format target, Image& result) {
  testing::internal::CaptureStderr();
  source.convertFormat(target, result);
  return testing::internal::GetCapturedStderr();
}

TEST(ImageConvert, TheFormatOfTheResultFollowsFromSourceAndTarget) {
  using Pair = std::pair<int, int>;
  const std::set<Pair> direct = {{4, 16}, {5, 16}, {11, 16}, {13, 16}, {18, 16}, {19, 16}, {16, 16}};
  const std::set<int> impossible = {0, 7, 8, 9, 10, 15, 23, 24, 25, -1};
  for (int from = -1; from <= Image::formatCount; ++from) {
    const auto source = static_cast<Image::Format>(from);
    for (int to = -1; to <= Image::formatCount; ++to) {
      const auto target = static_cast<Image::Format>(to);
      const Image before = noise(4, 2, Image::Y1600);
      Image result = before;
      const std::string message = convert(noise(8, 2, source), target, result);
      const std::string way = std::to_string(from) + " to " + std::to_string(to);

      const bool backToRgb = from >= 11 && to < 11;
      if (impossible.contains(from)) {
        EXPECT_EQ(message, std::string("convert \"") + Image::format2String(source) + "\" to \"" +
                               Image::format2String(target) + "\" not implemented\n");
        EXPECT_EQ(result.width(), 4U);
        EXPECT_EQ(result.format(), backToRgb ? Image::RGB24 : Image::Y1600) << way;
        EXPECT_TRUE(backToRgb || result == before) << way;
        continue;
      }
      EXPECT_EQ(message, "") << way;
      if (direct.contains({from, to})) {
        EXPECT_EQ(result.format(), Image::Y800) << way;
      } else if (from == Image::RGB24 && to != Image::RGB24) {
        EXPECT_EQ(result, before) << way;
      } else {
        EXPECT_EQ(result.format(), from < 11 || backToRgb ? Image::RGB24 : Image::Y444) << way;
        EXPECT_EQ(result.width(), 8U) << way;
      }
    }
  }
}

TEST(ImageConvert, WithoutAWayFromYuvTheResultIsTakenForYuv) {
  Image result = noise(4, 2, Image::Y444);
  const ImageReference::Bytes expected = ImageReference::converted(result, Image::RGB24);
  EXPECT_EQ(convert(noise(8, 2, Image::YUV422P), Image::RGB32, result),
            "convert \"YUV422P\" to \"RGB32\" not implemented\n");
  EXPECT_EQ(bytesOf(result), expected);

  Image empty;
  convert(noise(8, 2, Image::YUV9), Image::RGB24, empty);
  EXPECT_EQ(empty.format(), Image::RGB24);
  EXPECT_EQ(empty.size(), 0U);
}

TEST(ImageConvert, AFrameOfTheSameSizeReusesTheBuffer) {
  Image result;
  noise(64, 48, Image::YUY2).convertFormat(Image::RGB24, result);
  const unsigned char* const buffer = result.data();
  noise(64, 48, Image::YUY2, 2).convertFormat(Image::Y444, result);
  noise(64, 48, Image::BGR24).convertFormat(Image::Y800, result);
  noise(64, 48, Image::I420).convertFormat(Image::RGB24, result);
  Vantiflux::flip(noise(64, 48, Image::BGR24), result, true, true);
  EXPECT_EQ(result.data(), buffer);

  Image self = noise(17, 3, Image::YUY2);
  const ImageReference::Bytes expected = ImageReference::converted(self, Image::RGB24);
  self.convertFormat(Image::RGB24, self);
  EXPECT_EQ(bytesOf(self), expected);
}

TEST(ImageConvert, AnImageWithoutPixelsConvertsToOne) {
  for (int from = 1; from < Image::formatCount; ++from) {
    for (const auto& [width, height] : {std::pair{0U, 0U}, {0U, 70000U}, {70000U, 0U}}) {
      Image source;
      source.setParameters(width, height, static_cast<Image::Format>(from));
      for (const Image::Format target : {Image::RGB24, Image::Y800, Image::Y444}) {
        Image result;
        convert(source, target, result);
        EXPECT_EQ(result.size(), 0U);
      }
    }
  }
}

// The size is computed in 32 bits. The address sanitizer watches the small buffers that come of it.
TEST(ImageConvert, ASizeThatWrappedAroundLeadsNowhereOutside) {
  constexpr std::pair<unsigned, unsigned> sizes[] = {{65536, 65537}, {65537, 65536}, {131072, 32769}, {3, 1431655766}};
  for (int from = 1; from < Image::formatCount; ++from) {
    for (const auto& [width, height] : sizes) {
      const Image source = noise(width, height, static_cast<Image::Format>(from));
      ASSERT_LT(source.size(), 1000000U);
      for (const Image::Format target : {Image::RGB24, Image::Y800, Image::Y444}) {
        Image result;
        convert(source, target, result);
        ASSERT_LT(result.size(), 1000000U);
      }
      Image flipped;
      Vantiflux::flip(source, flipped, true, true);
      EXPECT_EQ(flipped, source);
      std::array<Image, 4> planes;
      Vantiflux::splitChannels(source, {planes[0], planes[1], planes[2], planes[3]});
      EXPECT_EQ(planes[3].size(), 0U);
    }
  }
  // A few bytes do not make room for gigabytes.
  Image source;
  source.setParameters(1073741825U, 1, Image::BGR32);
  EXPECT_EQ(source.size(), 4U);
  Image result;
  source.convertFormat(Image::RGB24, result);
  EXPECT_EQ(result.size(), 0U);
  // Nor does what a result of the pool was before.
  result = source;
  Image plain;
  plain.setParameters(0, 0, Image::YUV422P);
  convert(plain, Image::RGB24, result);
  EXPECT_EQ(result.size(), 0U);
}

TEST(ImageFlip, WhatCannotBeFlippedIsCopied) {
  const Image source = noise(5, 3, Image::Y800);
  EXPECT_FALSE(Vantiflux::canFlip(Image::Y800));
  Image result = noise(50, 30, Image::RGB24);
  Vantiflux::flip(source, result, true, false);
  EXPECT_EQ(result, source);

  Image self = noise(5, 3, Image::RGB24);
  const ImageReference::Bytes expected = ImageReference::flipped(self, 3, true, true);
  Vantiflux::flip(self, self, true, true);
  EXPECT_EQ(bytesOf(self), expected);
}

TEST(ImageSplit, WhatCannotBeConvertedIsBlackAndOpaque) {
  std::array<Image, 4> planes = {noise(9, 9, Image::RGB24), noise(9, 9, Image::RGB24), noise(9, 9, Image::RGB24),
                                 noise(9, 9, Image::RGB24)};
  testing::internal::CaptureStderr();
  Vantiflux::splitChannels(noise(5, 3, Image::FLOAT32), {planes[0], planes[1], planes[2], planes[3]});
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "convert \"FLOAT32\" to \"RGB24\" not implemented\n");
  EXPECT_EQ(bytesOf(planes[0]), ImageReference::Bytes(15, 0));
  EXPECT_EQ(bytesOf(planes[3]), ImageReference::Bytes(15, 255));

  const std::array<const unsigned char*, 2> buffers = {planes[0].data(), planes[3].data()};
  Vantiflux::splitChannels(noise(5, 3, Image::YUY2), {planes[0], planes[1], planes[2], planes[3]});
  EXPECT_EQ(planes[0].data(), buffers[0]);
  EXPECT_EQ(planes[3].data(), buffers[1]);

  Image none;
  none.setParameters(60000, 60000, Image::NONE);
  Vantiflux::splitChannels(none, {planes[0], planes[1], planes[2], planes[3]});
  EXPECT_EQ(planes[0].size(), 0U);
}

} // namespace
