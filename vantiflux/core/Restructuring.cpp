#include <vantiflux/core/Restructuring.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include <vantiflux/core/BasicInSlot.h>
#include <vantiflux/core/BasicOutSlot.h>
#include <vantiflux/core/Graveyard.h>
#include <vantiflux/core/Namespace.h>

namespace Vantiflux {

constinit Restructuring* Restructuring::current_ = nullptr;
constinit Restructuring* Restructuring::telling_ = nullptr;

bool Restructuring::Task::concerns(const Slot& slot) const {
  return out == &slot || in == &slot || about == &slot;
}

void Restructuring::settle(BasicOutSlot& out, BasicInSlot& in, Stops stops) {
  // What others still had to do with this pair is done here.
  for (Restructuring* other = telling_; other != nullptr; other = other->outer_)
    std::erase_if(other->tasks_, [&](const Task& task) { return task.out == &out && task.in == &in; });
  current_->tasks_.push_back({.out = &out, .in = &in, .stops = stops});
}

void Restructuring::tell(Namespace& ns, const Slot* about, std::function<void()> call) {
  ns.pin();
  current_->tasks_.push_back({.ns = &ns, .about = about, .call = std::move(call)});
}

void Restructuring::adopt(const Slot& slot) {
  for (Restructuring* other = telling_; other != nullptr; other = other->outer_) {
    const auto foreign = std::stable_partition(other->tasks_.begin(), other->tasks_.end(),
                                               [&](const Task& task) { return !task.concerns(slot); });
    std::move(foreign, other->tasks_.end(), std::back_inserter(current_->tasks_));
    other->tasks_.erase(foreign, other->tasks_.end());
  }
}

Restructuring::~Restructuring() {
  for (const Task& task : tasks_) // none, unless the first half threw
    if (task.ns != nullptr)
      task.ns->unpin();
}

void Restructuring::tellAll() {
  outer_ = std::exchange(telling_, this);
  std::exception_ptr failure;
  while (!tasks_.empty()) {
    const Task task = std::move(tasks_.front());
    tasks_.pop_front();
    try {
      perform(task);
    } catch (...) {
      if (failure == nullptr)
        failure = std::current_exception();
    }
    if (task.ns != nullptr)
      task.ns->unpin();
  }
  telling_ = outer_;
  Graveyard::visit();
  if (failure != nullptr)
    std::rethrow_exception(failure);
}

void Restructuring::perform(const Task& task) {
  if (task.ns != nullptr)
    task.call();
  else
    task.out->settle(*task.in, task.stops);
}

} // namespace Vantiflux
