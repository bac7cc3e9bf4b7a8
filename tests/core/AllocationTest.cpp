#include <core/Allocations.h>

#include <string>

#include <gtest/gtest.h>

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

} // namespace
