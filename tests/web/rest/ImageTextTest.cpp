#include <vantiflux/web/rest/ImageText.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/web/rest/Base64.h>
#include <vantiflux/web/rest/SlotText.h>

using Vantiflux::Image;
using Vantiflux::SmartPtr;

namespace {

std::string textOf(const Image& image) {
  return REST::imageToString(&image);
}

std::string textOf(const std::string& bytes) {
  std::string text((bytes.size() + 2) / 3 * 4 + 1, 0);
  std::size_t size = text.size();
  REST::base64_enc(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(),
                   reinterpret_cast<unsigned char*>(text.data()), &size);
  return text.substr(0, size);
}

std::string bytesOf(const std::string& text) {
  std::string bytes(text.size(), 0);
  std::size_t size = bytes.size();
  REST::base64_dec(reinterpret_cast<const unsigned char*>(text.data()), text.size(),
                   reinterpret_cast<unsigned char*>(bytes.data()), &size);
  return bytes.substr(0, size);
}

/// By way of a slot, as clients send it.
SmartPtr<Image> decode(const std::string& text) {
  Vantiflux::InSlot<SmartPtr<Image>> slot;
  REST::fromString<Vantiflux::BasicInSlot, Vantiflux::InSlot>(&slot, text);
  return slot.pop().getValue();
}

/// Smooth in all colours, so that JPEG keeps it well.
Image gradient(unsigned width, unsigned height, Image::Format format) {
  Image image;
  image.setParameters(width, height, format);
  const unsigned channels = format == Image::RGB24 || format == Image::BGR24 ? 3 : 4;
  const bool reversed = format == Image::BGR24;
  for (unsigned y = 0; y < height; ++y)
    for (unsigned x = 0; x < width; ++x) {
      unsigned char* const pixel = image.data() + std::size_t{y * width + x} * channels;
      pixel[reversed ? 2 : 0] = static_cast<unsigned char>(x * 255 / width);
      pixel[1] = static_cast<unsigned char>(y * 255 / height);
      pixel[reversed ? 0 : 2] = static_cast<unsigned char>(200 - x * 100 / width);
    }
  return image;
}

double distance(const Image& a, const Image& b) {
  EXPECT_EQ(a.size(), b.size());
  double sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i)
    sum += std::abs(a.data()[i] - b.data()[i]);
  return sum / static_cast<double>(a.size());
}

/// A PNG of one red pixel.
constexpr const char* redPixel =
    "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAIAAACQd1PeAAAADElEQVR4nGP4z8AAAAMBAQDJ/pLvAAAAAElFTkSuQmCC";

} // namespace

TEST(ImageText, ComesBackAsTheSamePicture) {
  const Image original = gradient(67, 35, Image::RGB24);
  for (const Image::Format format : {Image::RGB24, Image::RGB32, Image::BGR24}) {
    const SmartPtr<Image> back = decode(textOf(gradient(67, 35, format)));
    ASSERT_EQ(back->format(), Image::RGB24);
    ASSERT_EQ(back->width(), 67U);
    ASSERT_EQ(back->height(), 35U);
    EXPECT_LT(distance(*back, original), 2.0) << Image::format2String(format);
  }
  const std::string text = textOf(original);
  EXPECT_EQ(text.substr(0, 4), "/9j/") << "no JPEG stream";
  EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos);
}

TEST(ImageText, WhatHoldsTooFewBytesHasNoText) {
  EXPECT_EQ(REST::imageToString(nullptr), "");
  EXPECT_EQ(textOf(Image()), "");
  Image image;
  // SHORT16 has no way to RGB and two bytes a pixel, where the encoder would read four.
  for (const Image::Format format : {Image::NONE, Image::SHORT16, static_cast<Image::Format>(99)}) {
    image.setParameters(16, 16, format);
    EXPECT_EQ(textOf(image), "") << format;
  }
  image.setParameters(0, 16, Image::RGB24);
  EXPECT_EQ(textOf(image), "");
  image.setParameters(65501, 1, Image::RGB24); // wider than a JPEG can be
  EXPECT_EQ(textOf(image), "");
  image.setParameters(0x10000, 0x10000, Image::RGB32); // the size wraps to nothing
  EXPECT_EQ(textOf(image), "");
}

TEST(ImageText, TakesOtherPictureFilesAndReusesTheImage) {
  SmartPtr<Image> image = decode(redPixel);
  ASSERT_EQ(image->size(), 3U);
  EXPECT_EQ(image->data()[0], 255);
  EXPECT_EQ(image->data()[1], 0);
  Image* const before = image.get();
  REST::valueFromString(textOf(gradient(16, 16, Image::RGB24)), image);
  EXPECT_EQ(image.get(), before);
  EXPECT_EQ(image->width(), 16U);
}

TEST(ImageText, RefusesWhatIsNoPicture) {
  const std::string jpeg = textOf(gradient(16, 16, Image::RGB24));
  for (const std::string& bad : {std::string(), std::string("no picture"), std::string("AAAA"), jpeg.substr(0, 40),
                                 jpeg + '=', std::string(redPixel).substr(0, 60)})
    EXPECT_THROW(decode(bad), std::runtime_error) << bad;
}

TEST(ImageText, BelievesNoClaimOfASize) {
  std::string png = redPixel;
  // Width and height stand in bytes 16 to 23: in the text, from character 21 on, with the end of the word "IHDR"
  // before.
  png.replace(20, 12, "UgAA6mAAAOpg"); // 60000 x 60000
  EXPECT_THROW(decode(png), std::runtime_error);
}

// One pixel, and compressed bytes that come to 300 MiB of zeros.
TEST(ImageText, UnpacksNoMoreThanThereIsMemoryFor) {
  std::string zeros = "\x78\x9c";
  std::size_t count = 0;
  const auto put = [&](const char* bits) {
    for (; *bits != 0; ++bits, ++count) {
      if (count % 8 == 0)
        zeros += '\0';
      zeros.back() = static_cast<char>(zeros.back() | (*bits - '0') << count % 8);
    }
  };
  put("110"
      "00110000"); // a block of the usual codes, and a zero
  for (std::size_t unpacked = 0; unpacked < std::size_t{300} << 20; unpacked += 258)
    put("1100010100000"); // 258 times what was there before
  std::string png = bytesOf(redPixel).substr(0, 33);
  for (int shift = 24; shift >= 0; shift -= 8)
    png += static_cast<char>(zeros.size() >> shift);
  EXPECT_THROW(decode(textOf(png + "IDAT" + zeros)), std::runtime_error);
}

// Each of the scans goes over all pixels: minutes of work.
TEST(ImageText, GoesOverNoPictureAThousandTimes) {
  std::string jpeg = bytesOf(textOf(gradient(16, 16, Image::RGB24)));
  const std::size_t frame = jpeg.find("\xff\xc0");
  ASSERT_NE(frame, std::string::npos);
  jpeg.replace(frame + 5, 4, "\x0f\xa0\x0f\xa0"); // 4000 x 4000
  const std::size_t scan = jpeg.find("\xff\xda");
  const std::string again = jpeg.substr(scan, 14);
  jpeg.resize(jpeg.size() - 2);
  EXPECT_NO_THROW(decode(textOf(jpeg + "\xff\xd9")));
  for (int i = 0; i < 2000; ++i)
    jpeg += again;
  for (int i = 0; i < 5; ++i) // more often than there are places
    EXPECT_THROW(decode(textOf(jpeg + "\xff\xd9")), std::runtime_error);
}
