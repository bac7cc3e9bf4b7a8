#include <vantiflux/media/ImageChannelSplitterNode.h>
#include <vantiflux/media/ImageConvertNode.h>
#include <vantiflux/media/ImageFlipNode.h>

#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/core/Namespace.h>

namespace {

using namespace Vantiflux;
using Bytes = std::vector<unsigned char>;

SmartPtr<Image> imageOf(unsigned width, unsigned height, Image::Format format, const Bytes& bytes = {}) {
  SmartPtr<Image> image;
  image.acquire();
  image->setParameters(width, height, format);
  for (std::size_t i = 0; i < image->size(); ++i)
    image->data()[i] = bytes.empty() ? static_cast<unsigned char>(i) : bytes[i];
  return image;
}

Bytes bytesOf(const Image& image) {
  return {image.data(), image.data() + image.size()};
}

struct Flipped {
  bool horizontal;
  bool vertical;
  Bytes order; ///< where the pixels of a picture of three by three come from
};

TEST(ImageFlip, ReflectsAtTheAxisOfItsName) {
  for (const Flipped& flipped :
       {Flipped{true, false, {6, 7, 8, 3, 4, 5, 0, 1, 2}}, Flipped{false, true, {2, 1, 0, 5, 4, 3, 8, 7, 6}},
        Flipped{true, true, {8, 7, 6, 5, 4, 3, 2, 1, 0}}}) {
    for (const auto& [format, bytesPerPixel] :
         {std::pair(Image::BGR565, 2U), std::pair(Image::RGB24, 3U), std::pair(Image::BGR32, 4U)}) {
      ImageFlipNode node;
      node.setFlipHorizontal(flipped.horizontal);
      node.setFlipVertical(flipped.vertical);
      SmartPtr<Image> frame = imageOf(3, 3, format);
      const Bytes before = bytesOf(*frame);
      const SmartPtr<Image> result = node.transform(frame);
      ASSERT_EQ(result->size(), frame->size());
      EXPECT_EQ(result->format(), format);
      for (unsigned i = 0; i < result->size(); ++i)
        EXPECT_EQ(result->data()[i], flipped.order[i / bytesPerPixel] * bytesPerPixel + i % bytesPerPixel);
      EXPECT_EQ(bytesOf(*frame), before); // others may be looking at it
    }
  }
}

TEST(ImageFlip, PassesOnTheVeryImageWhereThereIsNothingToDo) {
  ImageFlipNode node;
  SmartPtr<Image> frame = imageOf(4, 2, Image::RGB24);
  EXPECT_EQ(node.transform(frame), frame);

  node.setFlipHorizontal(true);
  SmartPtr<Image> grey = imageOf(4, 2, Image::Y800);
  const Bytes before = bytesOf(*grey);
  testing::internal::CaptureStderr();
  EXPECT_EQ(node.transform(grey), grey);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "image flip not implemented for image format:Y800\n");
  EXPECT_EQ(bytesOf(*grey), before);

  SmartPtr<Image> missing;
  testing::internal::CaptureStderr();
  EXPECT_EQ(node.transform(missing), missing);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "image flip not implemented for image format:NONE\n");
  EXPECT_TRUE(missing && missing->size() == 0);
}

TEST(ImageConvert, GivesWhatTheConversionGives) {
  ImageConvertNode node;
  SmartPtr<Image> frame = imageOf(1, 1, Image::RGB24, {255, 0, 0});
  EXPECT_EQ(bytesOf(*node.transform(frame)), Bytes{77 * 255 >> 8});

  node.setFormat(" rgb24\n");
  SmartPtr<Image> grey = imageOf(1, 1, Image::Y800, {7});
  const SmartPtr<Image> color = node.transform(grey);
  EXPECT_EQ(color->format(), Image::RGB24);
  EXPECT_EQ(bytesOf(*color), (Bytes{7, 7, 7}));
}

TEST(ImageConvert, LeavesThePoolsImageAsItIsWhereThereIsNoConversion) {
  ImageConvertNode node;
  node.setFormat("y444");
  const Image* reused = nullptr;
  {
    const SmartPtr<Image> last = imageOf(2, 1, Image::Y800, {1, 2});
    reused = last.get();
  }
  // The pool hands out first what came back last.
  const Image source = [] {
    Image image;
    image.setParameters(5, 5, Image::RGB24);
    return image;
  }();
  SmartPtr<Image> keptOut;
  keptOut.acquire();
  ASSERT_EQ(keptOut.get(), reused);
  SmartPtr<Image> frame;
  frame.acquire();
  *frame = source;
  keptOut.decrementReferenceCounter();
  const SmartPtr<Image> result = node.transform(frame);
  EXPECT_EQ(result.get(), reused);
  EXPECT_EQ(bytesOf(*result), (Bytes{1, 2}));

  SmartPtr<Image> missing;
  testing::internal::CaptureStderr();
  node.transform(missing);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "convert \"NONE\" to \"Y444\" not implemented\n");
}

struct Splitter {
  Splitter() {
    space.enable();
    space.addOutSlot("source", &source);
    space.addRoute("source", "n/Frame In");
    for (std::size_t i = 0; i < labels.size(); ++i)
      space.addInSlot(labels[i], &planes[i]);
    space.addNamespace("n", std::unique_ptr<Node>(node));
  }
  ~Splitter() {
    space.clear();
    for (std::size_t i = 0; i < labels.size(); ++i)
      space.removeInSlot(labels[i], &planes[i]);
    space.removeOutSlot("source", &source);
  }
  std::vector<Bytes> split(const SmartPtr<Image>& frame) {
    source.push(Data<SmartPtr<Image>>(frame, 77));
    std::vector<Bytes> result;
    for (auto& plane : planes) {
      EXPECT_FALSE(plane.empty());
      const auto data = plane.pop();
      EXPECT_EQ(data.getTimeStamp(), 77U);
      EXPECT_EQ(data.getValue()->format(), Image::Y800);
      result.push_back(bytesOf(*data.getValue()));
    }
    return result;
  }

  const std::vector<std::string> labels{"red", "green", "blue", "alpha"};
  Namespace space;
  OutSlot<SmartPtr<Image>> source;
  std::array<InSlot<SmartPtr<Image>>, 4> planes;
  ImageChannelSplitterNode* node = new ImageChannelSplitterNode;
};

TEST(ImageChannelSplitter, HasItsInSlotWhileAnOutSlotIsUsed) {
  Splitter splitter;
  const auto hasIn = [&] { return splitter.space.findInSlot("n/Frame In", nullptr) != nullptr; };
  EXPECT_FALSE(hasIn());
  for (int round = 0; round < 2; ++round) {
    splitter.space.addRoute("n/Red Channel", "red");
    splitter.space.addRoute("n/Blue Channel", "blue");
    EXPECT_TRUE(hasIn() && splitter.source.isConnected());
    splitter.space.removeRoute("n/Red Channel", "red");
    EXPECT_TRUE(hasIn());
    splitter.space.removeRoute("n/Blue Channel", "blue");
    EXPECT_FALSE(hasIn() || splitter.source.isConnected());
  }
}

TEST(ImageChannelSplitter, GivesEachChannelAsAnImage) {
  Splitter splitter;
  for (const char* const color : {"red", "green", "blue", "alpha"})
    splitter.space.addRoute("n/" + std::string(color) + " channel", color);
  EXPECT_EQ(splitter.split(imageOf(2, 1, Image::BGR32, {1, 2, 3, 4, 5, 6, 7, 8})),
            (std::vector<Bytes>{{3, 7}, {2, 6}, {1, 5}, {4, 8}}));
  EXPECT_EQ(splitter.split(imageOf(2, 1, Image::BGR24, {1, 2, 3, 4, 5, 6})),
            (std::vector<Bytes>{{3, 6}, {2, 5}, {1, 4}, {255, 255}}));
  EXPECT_EQ(splitter.split(imageOf(2, 1, Image::Y800, {9, 10})),
            (std::vector<Bytes>{{9, 10}, {9, 10}, {9, 10}, {255, 255}}));
  testing::internal::CaptureStderr();
  EXPECT_EQ(splitter.split(SmartPtr<Image>()), std::vector<Bytes>(4));
  testing::internal::GetCapturedStderr();
}

} // namespace
