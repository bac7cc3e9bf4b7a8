// Three nodes in one process, each in a namespace of its own, and everything at once.
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/values/Image.h>
#include <vantiflux/values/SlotTypes.h>

#include "Support.h"

namespace {

using namespace test;
using namespace Vantiflux;

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int rounds = 60;
#else
constexpr int rounds = 300;
#endif

SmartPtr<Image> someImage() {
  SmartPtr<Image> image;
  image.acquire();
  image->setParameters(320, 200, Image::RGB24);
  return image;
}

TEST(Stress, SlotsRoutesValuesAndNodesComeAndGoAtOnce) {
  const auto fields = loopbackFields();
  std::vector<std::unique_ptr<Space>> spaces;
  for (const char* const name : {"A", "B", "C"})
    spaces.push_back(
        std::make_unique<Space>(fields + std::vector<std::string>{std::string("Prefix=") + name + "/{SlotLabel}"}));
  std::atomic<bool> over{false};
  std::vector<std::thread> threads;
  const auto work = [&](auto step) {
    threads.emplace_back([&over, step]() mutable {
      while (!over)
        step();
    });
  };
  OutSlot<std::string> steady;
  InSlot<std::string> target;
  OutSlot<SmartPtr<Image>> images;
  InSlot<SmartPtr<Image>> viewer;
  spaces[0]->top.addOutSlot("steady", &steady);
  spaces[0]->top.addOutSlot("images", &images);
  spaces[1]->top.addInSlot("target", &target);
  spaces[2]->top.addInSlot("viewer", &viewer);
  spaces[2]->top.addRoute("A/images", "viewer");
  // Values in both directions.
  work([&] { steady.push(std::string("value")); });
  work([&] {
    images.push(someImage());
    std::this_thread::yield();
  });
  // Slots that come and go, used by the routes of others.
  work([&] {
    OutSlot<float> out;
    InSlot<float> in;
    spaces[1]->top.addOutSlot("brief", &out);
    spaces[1]->top.addInSlot("brief", &in);
    out.push(1.0F);
    spaces[1]->top.removeOutSlot("brief", &out);
    spaces[1]->top.removeInSlot("brief", &in);
  });
  // Connections that come and go.
  work([&] {
    InSlot<std::string> here;
    spaces[2]->top.addInSlot("here", &here);
    for (const char* const from : {"A/steady", "A/*", "*"}) {
      spaces[2]->top.addRoute(from, "here");
      std::this_thread::yield();
      spaces[2]->top.removeRoute(from, "here");
    }
    spaces[2]->top.removeInSlot("here", &here);
    spaces[0]->top.addRoute("steady", "B/target");
    spaces[0]->top.addRoute("*", "*");
    std::this_thread::yield();
    spaces[0]->top.clearRoutes();
  });
  // Nodes that go and come, and people who look at them.
  work([&] {
    for (const auto& space : spaces) {
      space->log();
      space->node->getDetailedInfo();
    }
  });
  for (int i = 0; i < rounds; ++i) {
    Space& space = *spaces[static_cast<std::size_t>(i % 3)];
    space.node->disable();
    if (i % 5 == 0)
      space.node->enable();
    std::this_thread::sleep_for(std::chrono::milliseconds(i % 7 == 0 ? 30 : 1));
    space.node->enable();
  }
  over = true;
  for (std::thread& thread : threads)
    thread.join();
  // After all that it works as on the first day.
  spaces[0]->top.clearRoutes();
  spaces[0]->top.addRoute("steady", "B/target");
  EXPECT_TRUE(eventually([&] { return spaces[2]->hasOut("A/steady") && spaces[1]->hasOut("A/steady"); }));
  steady.push(std::string("the last"));
  EXPECT_TRUE(eventually([&] { return target.top().getValue() == "the last"; }));
  EXPECT_TRUE(eventually([&] { return !viewer.empty(); }));
  for (const auto& space : spaces)
    space->top.clear();
  spaces[0]->top.removeOutSlot("steady", &steady);
  spaces[0]->top.removeOutSlot("images", &images);
  spaces[1]->top.removeInSlot("target", &target);
  spaces[2]->top.removeInSlot("viewer", &viewer);
}

} // namespace
