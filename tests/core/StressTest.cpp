#include <array>
#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <core/Support.h>
#include <vantiflux/core/Root.h>

namespace {

using namespace Vantiflux;
using test::FilterNode;
using test::SourceNode;

/// Random changes of one tree from many threads, and from the workers' own listeners; changes under the root lock,
/// values without it. Ends with everything removed, and everything that was made must be gone.
class Stress {
public:
  explicit Stress(unsigned seed) : seed_(seed) {
    const Root::WriteLock lock;
    Root::the().addNamespace("stress", std::make_unique<Namespace>());
    ns_ = Root::the().getNamespace("stress");
    for (std::size_t i = 0; i < outs_.size(); ++i)
      ns_->addOutSlot("host/" + std::to_string(i), &outs_[i]);
    for (int i = 0; i < 3; ++i) {
      readers_.push_back(std::make_unique<test::Reader>([this] { onData(); }));
      ns_->addInSlot("reader/" + std::to_string(i), &readers_.back()->slot);
    }
  }

  void run(int changers, int steps) {
    std::vector<std::thread> threads;
    std::atomic<int> left{changers};
    for (int i = 0; i < changers; ++i)
      threads.emplace_back([&, i] {
        std::mt19937 random(seed_ + static_cast<unsigned>(i));
        for (int n = 0; n < steps; ++n)
          change(random);
        --left;
      });
    for (auto& out : outs_)
      threads.emplace_back([&] {
        while (left != 0) {
          out.push(1.0F);
          std::this_thread::yield();
        }
      });
    for (std::thread& thread : threads)
      thread.join();
    quiet_ = true;
    const Root::WriteLock lock;
    ns_->clear();
    for (std::size_t i = 0; i < outs_.size(); ++i)
      ns_->removeOutSlot("host/" + std::to_string(i), &outs_[i]);
    for (std::size_t i = 0; i < readers_.size(); ++i)
      ns_->removeInSlot("reader/" + std::to_string(i), &readers_[i]->slot);
    Root::the().removeNamespace("stress");
    for (const OutSlot<float>& out : outs_)
      EXPECT_FALSE(out.isConnected());
  }

  int alive() const { return alive_; }

private:
  using Random = std::mt19937;

  static std::size_t pick(Random& random, std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
  }

  /// A change from inside a delivery, now and then.
  void onData() {
    thread_local Random random(seed_ + 1000u + static_cast<unsigned>(threads_++));
    if (!quiet_ && pick(random, 200) == 0)
      change(random);
  }

  void change(Random& random) {
    const std::string from = std::array{"*", "host/*", "n*/Out", "n 2/Out", "host/1"}[pick(random, 5)];
    const std::string to = std::array{"*", "reader/*", "n*/In", "n/In", "reader/0"}[pick(random, 5)];
    std::unique_ptr<Namespace> removed;
    const Root::WriteLock lock;
    const std::vector<Namespace*> children = ns_->getNamespaces();
    Namespace* const child = children.empty() ? nullptr : children[pick(random, children.size())];
    switch (pick(random, 8)) {
    case 0:
      if (children.size() < 5)
        ns_->addNamespace("n", std::make_unique<SourceNode>(&alive_, 1));
      break;
    case 1:
      if (children.size() < 5)
        ns_->addNamespace("n", std::make_unique<FilterNode>(&alive_));
      break;
    case 2:
      if (child != nullptr)
        removed = ns_->removeNamespace(child->getLabel());
      break;
    case 3:
      if (child != nullptr)
        child->disable();
      break;
    case 4:
      if (child != nullptr)
        child->enable();
      break;
    case 5:
      ns_->addRoute(from, to);
      break;
    case 6:
      ns_->removeRoute(from, to);
      break;
    default:
      if (pick(random, 10) == 0) {
        ns_->disable();
        ns_->enable();
      } else if (child != nullptr) {
        child->removeExternalRoute("*", "{NamespaceLabel}/{SlotLabel}");
        child->addExternalRoute("*", "{NamespaceLabel}/{SlotLabel}");
      }
    }
  }

  const unsigned seed_;
  std::atomic<int> alive_{0};
  std::atomic<int> threads_{0};
  std::atomic<bool> quiet_{false};
  Namespace* ns_ = nullptr;
  std::array<OutSlot<float>, 2> outs_;
  std::vector<std::unique_ptr<test::Reader>> readers_;
};

class StressTest : public testing::TestWithParam<unsigned> {};

TEST_P(StressTest, ChangesFromEverywhere) {
  Stress stress(GetParam());
  stress.run(3, 400);
  test::waitFor([&] { return stress.alive() == 0; });
}

INSTANTIATE_TEST_SUITE_P(Seeds, StressTest, testing::Values(1u, 20u, 300u, 4000u));

} // namespace
