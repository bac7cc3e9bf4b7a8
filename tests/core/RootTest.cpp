#include <vantiflux/core/Root.h>

#include <atomic>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include <core/Support.h>

namespace {

using namespace Vantiflux;

TEST(Root, FindsNamespacesByPath) {
  Root& root = Root::the();
  const Root::WriteLock lock;
  auto branch = std::make_unique<Namespace>();
  branch->addNamespace("Leaf", std::make_unique<Namespace>());
  root.addNamespace("Branch", std::move(branch));
  EXPECT_TRUE(root.enabled());
  EXPECT_EQ(root.getNamespaceFromPath(""), &root);
  EXPECT_EQ(root.getNamespaceFromPath("branch/LEAF")->getLabel(), "Leaf");
  EXPECT_TRUE(root.getNamespaceFromPath("branch/leaf")->enabled());
  for (const char* path : {"/branch", "branch/", "branch//leaf", "/", "none", "branch/none"})
    EXPECT_THROW(root.getNamespaceFromPath(path), InvalidNamespaceException) << path;
  root.clear();
}

TEST(Root, LockExcludesReadersToo) {
  std::atomic<bool> entered{false};
  std::thread other;
  {
    const Root::ReadLock lock;
    const Root::WriteLock again;
    other = std::thread([&] {
      const Root::ReadLock wait;
      entered = true;
    });
    for (int i = 0; i < 1000; ++i)
      std::this_thread::yield();
    EXPECT_FALSE(entered);
  }
  other.join();
  EXPECT_TRUE(entered);
}

// A thread that does not hold the lock may take out what another one looks at.
TEST(Root, KeepsWhatIsRemovedUntilReadersHaveGone) {
  struct Counted : Namespace {
    explicit Counted(std::atomic<int>& destroyed) : destroyed_(destroyed) {}
    ~Counted() override { ++destroyed_; }
    std::atomic<int>& destroyed_;
  };
  std::atomic<int> destroyed{0};
  Root& root = Root::the();
  for (const char* const label : {"Branch", "Bough"}) {
    auto branch = std::make_unique<Namespace>();
    branch->addNamespace("Leaf", std::make_unique<Counted>(destroyed));
    root.addNamespace(label, std::move(branch));
  }
  root.addNamespace("Twig", std::make_unique<Counted>(destroyed));
  {
    const Root::ReadLock lock;
    const Namespace* const leaf = root.getNamespaceFromPath("Branch/Leaf");
    const Namespace* const other = root.getNamespaceFromPath("Bough/Leaf");
    const Namespace* const twig = root.getNamespaceFromPath("Twig");
    std::thread([&] {
      root.removeNamespace("Twig");
      root.removeNamespace("Bough")->clear();
      root.clear();
      const Counted elsewhere(destroyed);
      delete new Counted(destroyed);
      EXPECT_EQ(destroyed, 1);
    }).join();
    EXPECT_EQ(destroyed, 2);
    EXPECT_EQ(leaf->getLabel() + other->getLabel() + twig->getLabel(), "LeafLeafTwig");
  }
  EXPECT_EQ(destroyed, 5);
}

TEST(Root, DataFlowsWhileTheLockIsHeld) {
  const Root::WriteLock lock;
  OutSlot<float> out;
  InSlot<float> in;
  out.connect(&in);
  std::thread([&] { out.push(1.0F); }).join();
  EXPECT_EQ(in.pop().getValue(), 1.0F);
}

} // namespace
