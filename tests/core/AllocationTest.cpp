#include <core/Allocations.h>

#include <string>

#include <gtest/gtest.h>

#include <values/CodecSupport.h>

#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;
using test::allocations;

struct Popper : BasicInSlot::Listener {
  void newData(BasicInSlot&) override { taken += slot.pop().getValue()[3]; }
  InSlot<Matrix4<float>> slot;
  float taken = 0;
};

TEST(Allocation, PlainValuesTakeNone) {
  OutSlot<Matrix4<float>> out;
  Popper popper;
  popper.slot.addListener(popper);
  out.connect(&popper.slot);
  out.push(Matrix4<float>());
  const long before = allocations();
  for (int i = 0; i < 1000; ++i)
    out.push(Matrix4<float>());
  EXPECT_EQ(allocations(), before);
  popper.slot.removeListener(popper);
}

TEST(Allocation, TextsReuseTheirSpace) {
  OutSlot<std::string> out;
  InSlot<std::string> in;
  out.connect(&in);
  const Data<std::string> data(std::string(500, 'x'));
  out.push(data);
  const long before = allocations();
  for (int i = 0; i < 1000; ++i)
    out.push(data);
  EXPECT_EQ(allocations(), before);
}

TEST(Allocation, PooledValuesTakeNoneAfterTheFirst) {
  OutSlot<SmartPtr<Image>> out;
  InSlot<SmartPtr<Image>> in;
  out.connect(&in);
  const auto frame = [&] {
    SmartPtr<Image> image;
    image.acquire();
    image->setParameters(64, 48, Image::RGB24);
    out.push(image);
    in.pop();
  };
  for (int i = 0; i < 5; ++i)
    frame();
  const long before = allocations();
  for (int i = 0; i < 1000; ++i)
    frame();
  EXPECT_EQ(allocations(), before);
}

TEST(Allocation, EncodingAndDecodingTakeNone) {
  const test::Ends<Matrix4<float>> ends("SFMatrix4f");
  const test::Ends<SmartPtr<Image>> images("SFImage");
  const std::string image = images.encode(test::image(64, 48, Image::RGB24)).str();
  Pelorn::Gather gather;
  const auto exchange = [&] {
    ends.in->push(Data<Matrix4<float>>());
    gather.clear();
    ends.encoder->popAndEncode(gather);
    ends.decoder->decodeAndPush(gather.text(), 1);
    images.decoder->decodeAndPush(image, 1);
  };
  for (int i = 0; i < 5; ++i)
    exchange();
  const long before = allocations();
  for (int i = 0; i < 1000; ++i)
    exchange();
  EXPECT_EQ(allocations(), before);
}

} // namespace
