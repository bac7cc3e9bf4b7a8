// A steady stream of large frames through a camera and two filters.
#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include <core/Allocations.h>
#include <media/Cameras.h>
#include <vantiflux/media/ImageConvertNode.h>
#include <vantiflux/media/ImageFlipNode.h>

namespace {

using namespace Vantiflux;

/// The buffers in which images arrive. Asks for no memory itself.
class Buffers {
public:
  void add(const unsigned char* data) {
    const auto end = seen_.begin() + count_;
    if (std::find(seen_.begin(), end, data) == end && count_ + 1 < static_cast<int>(seen_.size()))
      seen_[static_cast<std::size_t>(count_++)] = data; // by one thread
  }
  int count() const { return count_; }

private:
  std::array<const unsigned char*, 64> seen_{};
  std::atomic<int> count_{0};
};

// How the threads take turns decides how many images circulate, so the first frames may be a few more or less.
TEST(SteadyStream, AllocatesNothingAfterItsFirstFrames) {
  test::plugIn("rate=200,size=1920x1080");
  Namespace space;
  Buffers buffers;
  test::Viewer viewer([&] { buffers.add(viewer.frame()->data()); });
  space.addInSlot("viewer", &viewer.slot);
  space.enable();
  space.addNamespace("Camera", std::make_unique<VideoNodeV4L>());
  auto convert = std::make_unique<ImageConvertNode>();
  convert->setFormat("RGB24");
  space.addNamespace("Convert", std::move(convert));
  auto flip = std::make_unique<ImageFlipNode>();
  flip->setFlipVertical(true);
  space.addNamespace("Flip", std::move(flip));
  space.addRoute("Camera/Frames", "Convert/frame_in");
  space.addRoute("Convert/frames_out", "Flip/frames_in");
  space.addRoute("Flip/frames_out", "viewer");

  bool steady = false;
  for (int window = 0; window < 60 && !steady; ++window) {
    const long before = test::allocations();
    const int buffersBefore = buffers.count();
    ASSERT_TRUE(viewer.sees(viewer.count + 50));
    steady = test::allocations() == before && buffers.count() == buffersBefore;
  }
  EXPECT_TRUE(steady);
  EXPECT_LT(buffers.count(), 20);
  space.clear();
  space.removeInSlot("viewer", &viewer.slot);
}

} // namespace
