// The loops over pixels against plain code, once for each instruction set that this processor has.
#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <hwy/highway.h>

#include <vantiflux/values/Image.h>
#include <vantiflux/values/image/ChannelSplit.h>
#include <vantiflux/values/image/Flip.h>

#include "ImageReference.h"

namespace {

using ImageReference::bytesOf;
using ImageReference::noise;
using Vantiflux::Image;

std::vector<std::int64_t> instructionSets() {
  std::vector<std::int64_t> sets = {HWY_STATIC_TARGET}; // the one that every processor has
  for (std::int64_t left = hwy::SupportedTargets() & HWY_TARGETS & ~HWY_STATIC_TARGET; left != 0; left &= left - 1)
    sets.push_back(left & -left);
  return sets;
}

class ImageLoops : public testing::TestWithParam<std::int64_t> {
protected:
  ImageLoops() { use(GetParam()); }
  ~ImageLoops() override { use(0); }

private:
  static void use(std::int64_t target) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
  }
};

INSTANTIATE_TEST_SUITE_P(All, ImageLoops, testing::ValuesIn(instructionSets()),
                         [](const auto& set) { return std::string(hwy::TargetName(set.param)); });

// A source, a target, and the format that comes of it.
struct Way {
  Image::Format source;
  Image::Format target;
  Image::Format result;
};
const std::array<Way, 35> ways = {{
    {Image::BGR232, Image::RGB24, Image::RGB24}, {Image::BGR555, Image::RGB24, Image::RGB24},
    {Image::BGR565, Image::RGB24, Image::RGB24}, {Image::BGR24, Image::RGB24, Image::RGB24},
    {Image::RGB24, Image::RGB24, Image::RGB24},  {Image::BGR32, Image::RGB24, Image::RGB24},
    {Image::BGR24, Image::Y800, Image::Y800},    {Image::RGB24, Image::Y800, Image::Y800},
    {Image::Y444, Image::Y800, Image::Y800},     {Image::I420, Image::Y800, Image::Y800},
    {Image::Y422, Image::Y800, Image::Y800},     {Image::Y411, Image::Y800, Image::Y800},
    {Image::Y800, Image::Y800, Image::Y800},     {Image::Y444, Image::Y444, Image::Y444},
    {Image::IYU2, Image::Y444, Image::Y444},     {Image::I420, Image::Y444, Image::Y444},
    {Image::YVU9, Image::Y444, Image::Y444},     {Image::Y800, Image::Y444, Image::Y444},
    {Image::Y1600, Image::Y800, Image::Y444},    {Image::Y422, Image::YUY2, Image::Y444},
    {Image::Y411, Image::Y444, Image::Y444},     {Image::Y41P, Image::Y800, Image::Y444},
    {Image::YV12, Image::Y444, Image::Y444},     {Image::YUY2, Image::Y444, Image::Y444},
    {Image::Y444, Image::RGB24, Image::RGB24},   {Image::IYU2, Image::BGR24, Image::RGB24},
    {Image::I420, Image::RGB24, Image::RGB24},   {Image::YVU9, Image::RGB24, Image::RGB24},
    {Image::Y800, Image::RGB32, Image::RGB24},   {Image::Y1600, Image::NONE, Image::RGB24},
    {Image::Y422, Image::RGB24, Image::RGB24},   {Image::Y411, Image::RGB24, Image::RGB24},
    {Image::Y41P, Image::RGB24, Image::RGB24},   {Image::YV12, Image::RGB24, Image::RGB24},
    {Image::YUY2, Image::FLOAT32, Image::RGB24},
}};

void expectConversion(const Image& source, const Way& way) {
  Image result;
  source.convertFormat(way.target, result);
  ASSERT_EQ(result.format(), way.result) << source << " to " << Image::format2String(way.target);
  ASSERT_EQ(result.width(), source.width());
  ASSERT_EQ(result.height(), source.height());
  ASSERT_EQ(bytesOf(result), ImageReference::converted(source, way.result))
      << source << " to " << Image::format2String(way.target);
}

TEST_P(ImageLoops, EveryConversionOfEveryWidth) {
  for (const Way& way : ways) {
    for (unsigned width = 1; width <= 67; ++width) {
      for (const unsigned height : {1U, 2U, 3U, 5U, 7U})
        expectConversion(noise(width, height, way.source, width), way);
    }
    expectConversion(noise(1031, 9, way.source), way); // longer than the runs in which steps are joined
  }
}

TEST_P(ImageLoops, EveryPairOfChromaAndEverySixteenBits) {
  Image yuv;
  yuv.setParameters(256, 256 * 8, Image::Y444);
  constexpr std::array<unsigned char, 8> luminances = {0, 1, 16, 127, 128, 200, 254, 255};
  for (std::size_t i = 0; i < yuv.size() / 3; ++i) {
    yuv.data()[3 * i] = luminances[i / 65536];
    yuv.data()[3 * i + 1] = static_cast<unsigned char>(i / 256);
    yuv.data()[3 * i + 2] = static_cast<unsigned char>(i);
  }
  expectConversion(yuv, {Image::Y444, Image::RGB24, Image::RGB24});

  Image words;
  words.setParameters(256, 256, Image::BGR555);
  for (std::size_t i = 0; i < words.size() / 2; ++i) {
    words.data()[2 * i] = static_cast<unsigned char>(i);
    words.data()[2 * i + 1] = static_cast<unsigned char>(i / 256);
  }
  for (const Image::Format format : {Image::BGR555, Image::BGR565}) {
    words.setParameters(256, 256, format);
    expectConversion(words, {format, Image::RGB24, Image::RGB24});
  }
  words.setParameters(512, 256, Image::BGR232);
  expectConversion(words, {Image::BGR232, Image::RGB24, Image::RGB24});
  std::fill_n(words.data(), words.size(), 255);
  words.setParameters(99, 33, Image::RGB24);
  expectConversion(words, {Image::RGB24, Image::Y800, Image::Y800}); // the largest sum
}

TEST_P(ImageLoops, EveryFlipOfEveryWidth) {
  using Color = std::pair<Image::Format, std::size_t>;
  for (const auto& [format, bytes] : {Color{Image::BGR555, 2},
                                      {Image::BGR565, 2},
                                      {Image::BGR24, 3},
                                      {Image::RGB24, 3},
                                      {Image::BGR32, 4},
                                      {Image::RGB32, 4}}) {
    ASSERT_TRUE(Vantiflux::canFlip(format));
    for (unsigned width = 1; width <= 67; ++width) {
      for (const unsigned height : {1U, 2U, 5U}) {
        const Image source = noise(width, height, format);
        for (const unsigned axes : {0U, 1U, 2U, 3U}) {
          const bool horizontal = (axes & 1) != 0;
          const bool vertical = (axes & 2) != 0;
          Image result;
          Vantiflux::flip(source, result, horizontal, vertical);
          ASSERT_EQ(bytesOf(result), ImageReference::flipped(source, bytes, horizontal, vertical))
              << source << ' ' << axes;
        }
      }
    }
  }
}

TEST_P(ImageLoops, EverySplitOfEveryWidth) {
  for (const Image::Format format : {Image::BGR555, Image::BGR565, Image::BGR24, Image::RGB24, Image::BGR32,
                                     Image::RGB32, Image::BGR232, Image::Y800, Image::YUY2, Image::I420}) {
    std::array<Image, 4> planes;
    for (unsigned width = 67; width > 0; --width) {
      for (const unsigned height : {1U, 3U}) {
        const Image source = noise(width, height, format);
        Vantiflux::splitChannels(source, {planes[0], planes[1], planes[2], planes[3]});
        const auto expected = ImageReference::channels(source);
        for (std::size_t i = 0; i < planes.size(); ++i) {
          ASSERT_EQ(planes[i].format(), Image::Y800);
          ASSERT_EQ(planes[i].width(), width);
          ASSERT_EQ(bytesOf(planes[i]), expected[i]) << source << ' ' << i;
        }
      }
    }
  }
}

} // namespace
