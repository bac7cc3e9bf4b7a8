// What deadlocks, or uses what is gone, in systems of this kind. A test that hangs has failed.
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <core/Support.h>
#include <vantiflux/core/ClockNode.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/platform/tarsil/Event.h>

namespace {

using namespace Vantiflux;
using test::FilterNode;
using test::Reader;
using test::SourceNode;
using test::waitFor;

/// A top namespace with a source "s" and a reader of its values.
struct Scene {
  explicit Scene(std::function<void()> onData) : reader(std::move(onData)) {
    ns.enable();
    ns.addInSlot("reader", &reader.slot);
    source = new SourceNode(&alive);
    ns.addNamespace("s", std::unique_ptr<Node>(source));
  }
  ~Scene() { ns.removeInSlot("reader", &reader.slot); }
  void go() { ns.addRoute("s/Out", "reader"); }

  std::atomic<int> alive{0};
  Namespace ns;
  SourceNode* source = nullptr;
  Reader reader;
};

/// Does something once, at the third value, on the worker's thread.
struct Scripted {
  explicit Scripted(std::function<void(Scene&)> action) : scene([this] { step(); }), act(std::move(action)) {
    scene.go();
    waitFor([this] { return done.load(); });
  }
  void step() {
    if (scene.reader.count != 3)
      return;
    act(scene);
    done = true;
  }
  std::atomic<bool> done{false};
  Scene scene;
  std::function<void(Scene&)> act;
};

TEST(Hazard, AWorkerReportsWhileItIsStopped) {
  // The worker's last act is setState, and addLog, while the thread that joins it holds every lock of the tree.
  for (int round = 0; round < 30; ++round) {
    Scene scene({});
    scene.go();
    waitFor([&] { return scene.reader.count > 0; });
    const Root::WriteLock lock;
    scene.ns.removeRoute("s/Out", "reader");
    EXPECT_EQ(scene.source->getState(), Node::Sleeping);
    EXPECT_EQ(scene.source->getShortInfo(), "done");
  }
}

TEST(Hazard, AListenerUnroutesItsOwnWorker) {
  Scripted script([](Scene& scene) { scene.ns.removeRoute("s/Out", "reader"); });
  waitFor([&] { return script.scene.source->getState() == Node::Sleeping; });
  EXPECT_EQ(script.scene.reader.count, 3);
  script.scene.go();
  waitFor([&] { return script.scene.reader.count > 4; });
}

TEST(Hazard, AListenerUnroutesAndRoutesAgain) {
  Scripted script([](Scene& scene) {
    scene.ns.removeRoute("s/Out", "reader");
    scene.go();
  });
  // The run that was stopped ends, and another one begins: the node is in use.
  waitFor([&] { return script.scene.source->runs == 2 && script.scene.reader.count > 5; });
  EXPECT_EQ(script.scene.source->getState(), Node::Running);
}

TEST(Hazard, AListenerDisablesTheTreeAndEnablesItAgain) {
  Scripted script([](Scene& scene) {
    scene.ns.disable();
    scene.ns.enable();
  });
  waitFor([&] { return script.scene.reader.count > 5; });
}

TEST(Hazard, AListenerDestroysTheNodeThatPushes) {
  Scripted script([](Scene& scene) {
    scene.ns.removeNamespace("s");
    EXPECT_EQ(scene.alive, 1); // still on this thread's stack
  });
  waitFor([&] { return script.scene.alive == 0; });
  EXPECT_EQ(script.scene.reader.count, 3);
}

TEST(Hazard, AListenerDestroysAWholeBranchAroundItsWorker) {
  std::atomic<int> alive{0};
  std::atomic<bool> done{false};
  Namespace top;
  top.enable();
  Reader reader([&] {
    if (reader.count == 3) {
      top.clearNamespaces();
      done = true;
    }
  });
  top.addInSlot("b/s/Out", &reader.slot);
  auto branch = std::make_unique<Namespace>();
  branch->addExternalRoute("*", "{NamespaceLabel}/{SlotLabel}");
  branch->addNamespace("s", std::make_unique<SourceNode>(&alive));
  branch->addNamespace("idle", std::make_unique<SourceNode>(&alive));
  top.addNamespace("b", std::move(branch));
  waitFor([&] { return done.load() && alive == 0; });
  EXPECT_EQ(reader.count, 3);
  top.removeInSlot("b/s/Out", &reader.slot);
}

TEST(Hazard, AListenerDestroysAFilterThatItRunsUnder) {
  OutSlot<float> out;
  std::atomic<int> alive{0};
  Namespace ns;
  ns.enable();
  auto* const filter = new FilterNode(&alive);
  ns.addNamespace("f", std::unique_ptr<Node>(filter));
  Reader reader([&] { ns.removeNamespace("f"); });
  ns.addInSlot("reader", &reader.slot);
  ns.addOutSlot("out", &out);
  ns.addRoute("out", "f/In");
  ns.addRoute("f/Out", "reader");
  out.push(1.0F);
  EXPECT_EQ(reader.count, 1);
  EXPECT_EQ(alive, 0); // the push has left it
  EXPECT_FALSE(out.isConnected());
}

// A holds the root lock and stops the worker, whose listener waits for the root lock.
TEST(Hazard, AListenerThatWantsTheRootLockDoesNotHoldUpAStop) {
  for (int round = 0; round < 30; ++round) {
    std::atomic<bool> wants{false};
    Scene scene([&] {
      wants = true;
      { const Root::WriteLock lock; }
      wants = false;
    });
    scene.go();
    {
      const Root::WriteLock lock;
      waitFor([&] { return wants.load(); });
      if (round % 3 == 0)
        scene.ns.removeRoute("s/Out", "reader");
      else if (round % 3 == 1)
        scene.ns.disable();
      else
        scene.ns.removeNamespace("s");
    }
    if (round % 3 == 2) {
      EXPECT_EQ(scene.alive, 0);
    } else {
      EXPECT_FALSE(scene.source->out.isConnected());
    }
  }
}

// The same where the listener changes the very structure that is being changed.
TEST(Hazard, BothSidesChangeTheTree) {
  for (int round = 0; round < 60; ++round) {
    std::atomic<bool> within{false};
    Scene* scenePointer = nullptr;
    Scene scene([&] {
      within = true;
      const Root::WriteLock lock;
      if (scenePointer == nullptr)
        return;
      scenePointer->ns.removeRoute("s/Out", "reader");
      scenePointer->ns.clearNamespaces();
    });
    {
      const Root::WriteLock lock;
      scene.go();
      waitFor([&] { return within.load(); });
      scenePointer = &scene;
      if (round % 2 == 0)
        scene.ns.removeRoute("s/Out", "reader");
      else
        scene.ns.clearNamespaces();
    }
    const Root::WriteLock lock;
    scenePointer = nullptr;
    scene.ns.clear();
    waitFor([&] { return scene.alive == 0; });
  }
}

// Each of two workers removes the other's node.
TEST(Hazard, WorkersRemoveEachOther) {
  for (int round = 0; round < 50; ++round) {
    std::atomic<int> alive{0};
    Namespace ns;
    ns.enable();
    std::atomic<int> arrived{0};
    const auto removal = [&](const char* label) {
      return [&, label, once = std::make_shared<bool>(false)] {
        if (std::exchange(*once, true))
          return;
        ++arrived;
        waitFor([&] { return arrived == 2; });
        ns.removeNamespace(label);
      };
    };
    Reader one(removal("b"));
    Reader two(removal("a"));
    ns.addInSlot("a/Out", &one.slot);
    ns.addInSlot("b/Out", &two.slot);
    ns.addNamespace("a", std::make_unique<SourceNode>(&alive));
    ns.addNamespace("b", std::make_unique<SourceNode>(&alive));
    waitFor([&] { return alive == 0; });
    ns.removeInSlot("a/Out", &one.slot);
    ns.removeInSlot("b/Out", &two.slot);
  }
}

TEST(Hazard, AWorkerBlockedInAPopIsStopped) {
  OutSlot<float> silent;
  struct Consumer : ThreadedNode {
    Consumer() {
      in.addListener(*this);
      addInSlot("In", &in);
      publishSlots();
    }
    ~Consumer() override {
      disable();
      stop();
    }
    void stop() override {
      in.interrupt();
      ThreadedNode::stop();
    }
    int thread() override {
      entered = true;
      try {
        for (;;)
          in.pop();
      } catch (const InterruptedException&) {
        return 0;
      }
    }
    InSlot<float> in;
    std::atomic<bool> entered{false};
  };
  Namespace ns;
  ns.enable();
  auto* const consumer = new Consumer;
  ns.addNamespace("c", std::unique_ptr<Node>(consumer));
  ns.addOutSlot("c/In", &silent);
  waitFor([&] { return consumer->entered.load(); });
  ns.removeNamespace("c");
  ns.removeOutSlot("c/In", &silent);
}

TEST(Hazard, ARingOfRoutesForwardsOnce) {
  Reader reader;
  OutSlot<float> out;
  Namespace ns;
  ns.enable();
  auto* const filter = new FilterNode;
  ns.addNamespace("f", std::unique_ptr<Node>(filter));
  ns.addNamespace("g", std::make_unique<FilterNode>());
  ns.addRoute("*", "*");
  ns.addInSlot("reader", &reader.slot);
  ns.addOutSlot("out", &out);
  out.push(1.0F); // would not return
  EXPECT_GE(reader.count, 1);
  const int count = reader.count;
  filter->out.push(10.0F); // enters the ring at another place
  EXPECT_GT(reader.count, count);
  ns.removeInSlot("reader", &reader.slot);
  ns.removeOutSlot("out", &out);
}

// Several writers push into a ring at different places at once, and nothing is lost for good.
TEST(Hazard, WritersMeetInARingOfRoutes) {
  OutSlot<float> one;
  OutSlot<float> two;
  Namespace ns;
  ns.enable();
  ns.addNamespace("f", std::make_unique<FilterNode>());
  ns.addNamespace("g", std::make_unique<FilterNode>());
  ns.addRoute("f/Out", "g/In");
  ns.addRoute("g/Out", "f/In");
  ns.addOutSlot("f/In", &one);
  ns.addOutSlot("g/In", &two);
  const auto write = [](OutSlot<float>& out) {
    for (int i = 0; i < 5000; ++i)
      out.push(static_cast<float>(i));
  };
  std::thread other([&] { write(two); });
  write(one);
  other.join();
  ns.removeOutSlot("f/In", &one);
  ns.removeOutSlot("g/In", &two);
}

// A listener is removed, from another thread and from itself, while it is being called: no call comes after.
TEST(Hazard, NoCallAfterAListenerWasRemoved) {
  OutSlot<float> out;
  InSlot<float> in;
  out.connect(&in);
  std::atomic<bool> stop{false};
  std::thread writer([&] {
    while (!stop)
      out.push(1.0F);
  });
  struct Watcher : BasicInSlot::Listener {
    void newData(BasicInSlot&) override { called = alive ? 1 : 2; }
    std::atomic<bool> alive{true};
    std::atomic<int> called{0};
  };
  for (int i = 0; i < 300; ++i) {
    Watcher watcher;
    in.addListener(watcher);
    waitFor([&] { return watcher.called == 1; });
    in.removeListener(watcher);
    watcher.alive = false;
    EXPECT_EQ(watcher.called, 1);
  }
  stop = true;
  writer.join();
}

} // namespace
