#include <vantiflux/core/OutSlot.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/core/BufferedInSlot.h>
#include <vantiflux/core/Wait.h>
#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;

/// Writes down what it is told.
struct Recorder : BasicInSlot::Listener, BasicOutSlot::Listener {
  void startInSlot(BasicInSlot&) override { text += "i+ "; }
  void stopInSlot(BasicInSlot&) override { text += "i- "; }
  void startOutSlot(BasicOutSlot&) override { text += "o+ "; }
  void stopOutSlot(BasicOutSlot&) override { text += "o- "; }
  void newData(BasicInSlot&) override { text += "d "; }
  std::string take() { return std::exchange(text, {}); }
  std::string text;
};

TEST(Slot, DeliversStampedCopiesToAllInOrder) {
  OutSlot<std::string> out("texts");
  InSlot<std::string> one;
  InSlot<std::string> two;
  EXPECT_EQ(out.getDescription(), "texts");
  EXPECT_EQ(one.top().getTimeStamp(), 0u);
  out.connect(&one);
  two.connect(&out);
  out.push(Data<std::string>("hello", 42));
  EXPECT_FALSE(one.empty());
  EXPECT_EQ(one.pop().getValue(), "hello");
  EXPECT_TRUE(one.empty());
  EXPECT_EQ(two.top().getTimeStamp(), 42u);
  EXPECT_FALSE(two.empty());
  out.push(std::string("first"));
  out.push(std::string("second"));
  EXPECT_EQ(two.pop().getValue(), "second");
  EXPECT_TRUE(two.empty()); // "hello" and "first" were overwritten
  EXPECT_GT(two.top().getTimeStamp(), 1600000000000u);
}

TEST(Slot, TypesMustMatchExactly) {
  OutSlot<float> out;
  InSlot<double> in;
  Recorder recorder;
  in.addListener(recorder);
  out.addListener(recorder);
  out.connect(&in);
  in.connect(&out);
  out.connect(nullptr);
  out.disconnect(nullptr);
  out.disconnect(&in);
  out.push(1.0F);
  EXPECT_EQ(recorder.take(), "");
  EXPECT_TRUE(in.empty());
  EXPECT_EQ(out.getTypeID(), typeid(float));
  EXPECT_STREQ(out.getTypeName(), "float");
  const auto matching = out.createMatchingInSlot();
  EXPECT_NE(dynamic_cast<InSlot<float>*>(matching.get()), nullptr);
  EXPECT_EQ(matching->getDescription(), "");
}

TEST(Slot, ANewReaderGetsTheLatestValidValue) {
  OutSlot<long> out;
  InSlot<long> early;
  out.setValue(7L);
  out.connect(&early);
  EXPECT_TRUE(early.empty()); // set, but not valid
  out.push(8L);
  InSlot<long> late;
  out.connect(&late);
  EXPECT_EQ(late.pop().getValue(), 8);
  out.invalidateValue();
  InSlot<long> later;
  out.connect(&later);
  EXPECT_TRUE(later.empty());
  EXPECT_EQ(out.getValue().getValue(), 8); // the stored value remains
}

TEST(Slot, ConnectionsAreCountedAndListenersToldInOrder) {
  OutSlot<bool> out;
  InSlot<bool> in;
  Recorder recorder;
  in.addListener(recorder);
  in.addListener(recorder); // only once
  out.addListener(recorder);
  out.push(true);
  out.connect(&in);
  EXPECT_EQ(recorder.take(), "i+ d o+ ");
  in.connect(&out);
  EXPECT_EQ(recorder.take(), "");
  out.disconnect(&in);
  EXPECT_EQ(recorder.take(), "");
  out.push(false);
  EXPECT_EQ(recorder.take(), "d ");
  in.disconnect(&out);
  EXPECT_EQ(recorder.take(), "o- i- ");
  out.push(true);
  EXPECT_EQ(recorder.take(), "");
  out.disconnect(&in); // nothing is connected: told again all the same
  EXPECT_EQ(recorder.take(), "o- i- ");
  InSlot<bool> other;
  out.connect(&other);
  EXPECT_EQ(recorder.take(), "o+ ");
  out.connect(&in);
  EXPECT_EQ(recorder.take(), "i+ d ");
  out.removeListener(recorder);
  in.removeListener(recorder);
  out.disconnect(&in);
  EXPECT_EQ(recorder.take(), "");
}

TEST(Slot, InterruptWakesReaders) {
  InSlot<long> in;
  std::thread reader([&] { EXPECT_THROW(in.pop(), InterruptedException); });
  in.interrupt();
  reader.join();
  in.push(Data<long>(5));
  in.interrupt();
  EXPECT_THROW(in.top(), InterruptedException);
  EXPECT_EQ(in.pop().getValue(), 5);
  EXPECT_EQ(in.pop().getValue(), 5); // the count that interrupt left lets one more through
}

TEST(Slot, AnExceptionOfAListenerLeavesThroughPush) {
  struct Thrower : BasicInSlot::Listener {
    void newData(BasicInSlot&) override { throw std::runtime_error("no"); }
  } thrower;
  OutSlot<float> out;
  InSlot<float> first;
  InSlot<float> second;
  first.addListener(thrower);
  out.connect(&first);
  out.connect(&second);
  EXPECT_THROW(out.push(1.0F), std::runtime_error);
  EXPECT_FALSE(first.empty());
  EXPECT_TRUE(second.empty());
  first.removeListener(thrower);
  std::thread([&] { out.push(2.0F); }).join(); // nothing stays locked
  EXPECT_EQ(second.pop().getValue(), 2.0F);
}

// Removed listeners and peers are not called any more, even when that happens in the middle of a delivery.
TEST(Slot, ListsMayChangeDuringADelivery) {
  OutSlot<float> out;
  std::vector<std::unique_ptr<InSlot<float>>> ins;
  for (int i = 0; i < 4; ++i)
    ins.push_back(std::make_unique<InSlot<float>>());
  struct Changer : BasicInSlot::Listener {
    void newData(BasicInSlot&) override {
      if (act)
        std::exchange(act, nullptr)();
    }
    std::function<void()> act;
  } changer;
  ins[1]->addListener(changer);
  for (const auto& in : ins)
    out.connect(in.get());
  InSlot<float> newcomer;
  changer.act = [&] {
    out.disconnect(ins[0].get());
    out.disconnect(ins[2].get());
    ins[2].reset();
    out.connect(&newcomer);
    out.disconnect(ins[1].get());
  };
  out.push(3.0F);
  EXPECT_EQ(ins[3]->pop().getValue(), 3.0F);
  EXPECT_EQ(newcomer.pop().getValue(), 3.0F);
  EXPECT_TRUE(newcomer.empty()); // once, not twice
  out.push(4.0F);
  EXPECT_EQ(ins[1]->top().getValue(), 3.0F);
  EXPECT_EQ(ins[3]->pop().getValue(), 4.0F);
}

TEST(BufferedInSlot, KeepsTheNewestInOrder) {
  BufferedInSlot<SmartPtr<Sample>> in("sound", 5);
  OutSlot<SmartPtr<Sample>> out;
  out.connect(&in);
  EXPECT_TRUE(in.empty());
  EXPECT_FALSE(in.top().getValue());
  const auto push = [&](unsigned long samples) {
    SmartPtr<Sample> sample;
    sample.acquire();
    sample->setParameters(8000, 8, 1, samples);
    out.push(sample);
  };
  for (unsigned long i = 1; i <= 7; ++i)
    push(i);
  EXPECT_EQ(in.top().getValue()->samples(), 3u);
  for (unsigned long i = 3; i <= 7; ++i)
    EXPECT_EQ(in.pop().getValue()->samples(), i);
  EXPECT_TRUE(in.empty());
  push(8);
  in.interrupt();
  EXPECT_THROW(in.pop(), InterruptedException);
  EXPECT_EQ(in.pop().getValue()->samples(), 8u);
}

TEST(Wait, TakesTurnsAndWakes) {
  InSlot<float> a;
  InSlot<float> b;
  Wait wait;
  EXPECT_EQ(wait.findNonEmptyInSlot(), nullptr);
  a.push(Data<float>(1));
  wait.addInSlot(a);
  wait.addInSlot(b);
  EXPECT_EQ(wait.wait(), &a);
  b.push(Data<float>(1));
  BasicInSlot* const first = wait.wait(); // both hold a value from here on
  BasicInSlot* const second = wait.wait();
  EXPECT_NE(first, second);
  EXPECT_EQ(wait.wait(), first);
  a.pop();
  b.pop();
  std::thread writer([&] { b.push(Data<float>(2)); });
  EXPECT_EQ(wait.wait(), &b);
  writer.join();
  wait.removeInSlot(b);
  EXPECT_EQ(wait.findNonEmptyInSlot(), nullptr);
}

TEST(Wait, WithoutSlotsSleepsUntilOneComes) {
  InSlot<float> in;
  Wait wait;
  BasicInSlot* found = nullptr;
  std::thread reader([&] { found = wait.wait(); });
  in.push(Data<float>(1));
  wait.addInSlot(in); // already holds a value
  reader.join();
  EXPECT_EQ(found, &in);
}

} // namespace
