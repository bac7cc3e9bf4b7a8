#include <vantiflux/core/SmartPtr.h>

#include <exception>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;
using List = std::vector<Vec3<double>>;

TEST(SmartPtr, SharesAndReturnsToThePoolLastInFirstOut) {
  SmartPtr<List> first;
  EXPECT_FALSE(first);
  first.acquire();
  first->assign(3, {});
  List* const holder = first.get();
  {
    const SmartPtr<List> copy = first;
    EXPECT_EQ(copy.get(), holder);
    first.decrementReferenceCounter();
    EXPECT_FALSE(first);
    SmartPtr<List> other;
    other.acquire();
    EXPECT_NE(other.get(), holder); // the copy still holds it
  }
  SmartPtr<List> again;
  again.acquire();
  EXPECT_EQ(again.get(), holder);
  EXPECT_EQ(again->size(), 3u); // as it was left
  again.acquire();              // gives the old one up first, but only after it took another
  EXPECT_NE(again.get(), holder);
}

TEST(SmartPtr, PoolComplainsOfReferencesLeft) {
  EXPECT_NO_THROW({
    Cache<List> cache;
    cache.giveBack(cache.take());
  });
  RefCtr<List>* held = nullptr;
  EXPECT_THROW(
      {
        Cache<List> cache;
        held = cache.take();
      },
      std::exception);
  delete held; // the cache leaves it to who refers to it
}

TEST(SmartPtr, IsReleasedByAnyThread) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([] {
      OutSlot<SmartPtr<List>> out;
      InSlot<SmartPtr<List>> in;
      out.connect(&in);
      for (int i = 0; i < 2000; ++i) {
        SmartPtr<List> list;
        list.acquire();
        list->assign(1, {});
        (*list)[0].x = i;
        out.push(list);
        list.decrementReferenceCounter();
        EXPECT_EQ((*in.pop().getValue())[0].x, i);
      }
    });
  for (std::thread& thread : threads)
    thread.join();
}

} // namespace
