#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <vantiflux/core/Namespace.h>
#include <vantiflux/core/ThreadedNode.h>
#include <vantiflux/values/SlotTypes.h>

namespace test {

/// Waits for a condition. A hang is the test's failure, ended by the test driver.
template <class Condition>
void waitFor(Condition&& condition) {
  while (!condition())
    std::this_thread::yield();
}

/// Pushes numbers as fast as it is asked to, for as long as it runs.
class SourceNode : public Vantiflux::ThreadedNode {
public:
  explicit SourceNode(std::atomic<int>* alive = nullptr, int pause = 0) : alive_(alive), pause_(pause) {
    if (alive_ != nullptr)
      ++*alive_;
    out.addListener(*this);
    addOutSlot("Out", &out);
    publishSlots();
  }
  ~SourceNode() override {
    disable();
    SourceNode::stop();
    if (alive_ != nullptr)
      --*alive_;
  }

  Vantiflux::OutSlot<float> out{"numbers"};
  std::atomic<int> runs{0};

protected:
  int thread() override {
    ++runs;
    setState(Running, "working");
    float value = 0;
    do {
      out.push(value);
      value += 1;
    } while (waitThread(pause_));
    out.invalidateValue();
    setState(Sleeping, "done");
    return 0;
  }

private:
  std::atomic<int>* alive_;
  int pause_;
};

/// Passes on what it gets, increased by one.
class FilterNode : public Vantiflux::Node {
public:
  explicit FilterNode(std::atomic<int>* alive = nullptr) : alive_(alive) {
    if (alive_ != nullptr)
      ++*alive_;
    in.addListener(*this);
    out.addListener(*this);
    addInSlot("In", &in);
    addOutSlot("Out", &out);
    publishSlots();
  }
  ~FilterNode() override {
    disable();
    if (alive_ != nullptr)
      --*alive_;
  }

  void newData(Vantiflux::BasicInSlot&) override {
    const Vantiflux::Data<float> data = in.top();
    out.push(Vantiflux::Data<float>(data.getValue() + 1, data.getTimeStamp()));
  }

  Vantiflux::InSlot<float> in;
  Vantiflux::OutSlot<float> out;

private:
  std::atomic<int>* alive_;
};

/// An in-slot with a function for its new data.
class Reader : public Vantiflux::BasicInSlot::Listener {
public:
  explicit Reader(std::function<void()> onData = {}) : onData_(std::move(onData)) { slot.addListener(*this); }
  ~Reader() override { slot.removeListener(*this); }

  void newData(Vantiflux::BasicInSlot&) override {
    ++count;
    if (onData_)
      onData_();
  }

  Vantiflux::InSlot<float> slot;
  std::atomic<int> count{0};

private:
  std::function<void()> onData_;
};

} // namespace test
