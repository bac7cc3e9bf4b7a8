#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include <values/CodecSupport.h>

#include <vantiflux/values/SlotTypes.h>

namespace {

std::atomic<long> allocations{0};

} // namespace

// Not inlined: g++ would see half of a pair in a caller and take the two for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
  ++allocations;
  if (void* const memory = std::malloc(size))
    return memory;
  throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace {

using namespace Vantiflux;

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
  const long before = allocations;
  for (int i = 0; i < 1000; ++i)
    out.push(Matrix4<float>());
  EXPECT_EQ(allocations, before);
  popper.slot.removeListener(popper);
}

TEST(Allocation, TextsReuseTheirSpace) {
  OutSlot<std::string> out;
  InSlot<std::string> in;
  out.connect(&in);
  const Data<std::string> data(std::string(500, 'x'));
  out.push(data);
  const long before = allocations;
  for (int i = 0; i < 1000; ++i)
    out.push(data);
  EXPECT_EQ(allocations, before);
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
  const long before = allocations;
  for (int i = 0; i < 1000; ++i)
    frame();
  EXPECT_EQ(allocations, before);
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
  const long before = allocations;
  for (int i = 0; i < 1000; ++i)
    exchange();
  EXPECT_EQ(allocations, before);
}

} // namespace
