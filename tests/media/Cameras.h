#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <platform/support.h>
#include <vantiflux/core/Namespace.h>
#include <vantiflux/media/VideoNodeV4L.h>
#include <vantiflux/values/SlotTypes.h>

namespace test {

/// A function of the preloaded library.
template <class Function>
Function* cameraFunction(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_DEFAULT, name));
}

inline void plugIn(const std::string& cameras) {
  auto* const configure = cameraFunction<int(const char*)>("vantiflux_cameras_configure");
  ASSERT_EQ(configure(cameras.c_str()), 0) << cameras;
}
inline void unplug(unsigned camera = 0) {
  cameraFunction<void(unsigned)>("vantiflux_camera_unplug")(camera);
}
inline unsigned calls(const char* request, unsigned camera = 0) {
  return cameraFunction<unsigned(unsigned, const char*)>("vantiflux_camera_calls")(camera, request);
}
inline unsigned openings(unsigned camera = 0) {
  return cameraFunction<unsigned(unsigned)>("vantiflux_camera_openings")(camera);
}

/// How many buffers of cameras this process has mapped, as the program and not as the camera.
inline int mappedBuffers() {
  std::ifstream maps("/proc/self/maps");
  int count = 0;
  for (std::string line; std::getline(maps, line);)
    count += line.find("simulated camera") != std::string::npos ? 1 : 0;
  return count;
}

/// The number of a frame of the test card, from its fields for programs. YUY2 only.
inline unsigned numberOf(const Vantiflux::Image& image) {
  const unsigned unit = std::min(image.width() / 42, image.height() / 24);
  const unsigned left = (image.width() - 21 * unit) / 4 * 2;
  const unsigned top = (image.height() - 10 * unit) / 2;
  unsigned number = 0;
  for (unsigned bit = 0; bit < 16; ++bit) {
    const std::size_t x = left + (2 + bit) * unit + unit / 2;
    const std::size_t y = top + 8 * unit;
    number = number * 2 + (image.data()[2 * (y * image.width() + x)] > 127 ? 1 : 0);
  }
  return number;
}

/// An in-slot that keeps the latest frame and counts all.
class Viewer : public Vantiflux::BasicInSlot::Listener {
public:
  explicit Viewer(std::function<void()> onFrame = {}) : onFrame_(std::move(onFrame)) { slot.addListener(*this); }
  ~Viewer() override { slot.removeListener(*this); }

  void newData(Vantiflux::BasicInSlot&) override {
    if (slot.empty())
      return;
    {
      const Vantiflux::Data<Vantiflux::SmartPtr<Vantiflux::Image>> data = slot.pop();
      const std::lock_guard guard(lock_);
      frame_ = data.getValue();
    }
    ++count;
    if (onFrame_)
      onFrame_();
  }

  Vantiflux::SmartPtr<Vantiflux::Image> frame() const {
    const std::lock_guard guard(lock_);
    return frame_;
  }
  bool sees(int frames) const {
    return eventually([&] { return count >= frames; });
  }

  Vantiflux::InSlot<Vantiflux::SmartPtr<Vantiflux::Image>> slot;
  std::atomic<int> count{0};

private:
  std::function<void()> onFrame_;
  mutable std::mutex lock_;
  Vantiflux::SmartPtr<Vantiflux::Image> frame_;
};

/// A camera node "Camera" in an enabled namespace, and somebody who looks at its frames while they are routed.
class Scene {
public:
  using Fields = std::vector<std::pair<std::string, std::string>>;

  explicit Scene(const Fields& fields = {}) {
    space.addInSlot("viewer", &viewer.slot);
    for (const auto& [name, value] : fields)
      node->setFieldValue(name, value);
    space.enable();
    space.addNamespace("Camera", std::unique_ptr<Vantiflux::Node>(node));
  }
  ~Scene() {
    space.clear();
    space.removeInSlot("viewer", &viewer.slot);
  }

  void route() { space.addRoute("Camera/Frames", "viewer"); }
  void unroute() { space.removeRoute("Camera/Frames", "viewer"); }
  /// Finds the device anew.
  void initialize() {
    space.disable();
    space.enable();
  }
  /// Whether no run has the camera open any more.
  bool runEnds() const {
    return eventually([] { return openings() == 0; });
  }
  bool reaches(Vantiflux::Node::State state) const {
    return eventually([&] { return node->getState() == state; });
  }
  bool logs(const std::string& line) const {
    return eventually([&] {
      std::vector<std::string> lines;
      node->getLog(lines);
      return std::find(lines.begin(), lines.end(), line) != lines.end();
    });
  }

  Vantiflux::Namespace space;
  Viewer viewer;
  Vantiflux::VideoNodeV4L* node = new Vantiflux::VideoNodeV4L;
};

} // namespace test
