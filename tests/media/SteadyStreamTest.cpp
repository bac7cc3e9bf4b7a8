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

// The thread sanitizer needs seconds for a large frame, and memory is asked for in the same places with a small one.
#ifdef __SANITIZE_THREAD__
constexpr const char* camera = "rate=50,size=320x240";
#else
constexpr const char* camera = "rate=50,size=1920x1080";
#endif

/// The tree; its end comes before that of what it fills.
struct Stream {
  explicit Stream(test::Viewer& end) : viewer(end) {
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
  }
  ~Stream() {
    space.clear();
    space.removeInSlot("viewer", &viewer.slot);
  }

  test::Viewer& viewer;
  Namespace space;
};

// How the threads take turns decides how many images circulate, so the first frames may be a few more or less.
TEST(SteadyStream, AllocatesNothingAfterItsFirstFrames) {
  test::plugIn(camera);
  Buffers buffers;
  test::Viewer viewer([&] { buffers.add(viewer.frame()->data()); });
  const Stream stream(viewer);
  bool steady = false;
  for (int window = 0; window < 60 && !steady; ++window) {
    const long before = test::allocations();
    const int buffersBefore = buffers.count();
    ASSERT_TRUE(viewer.sees(viewer.count + 50));
    steady = test::allocations() == before && buffers.count() == buffersBefore;
  }
  EXPECT_TRUE(steady);
  EXPECT_LT(buffers.count(), 20);
}

} // namespace
