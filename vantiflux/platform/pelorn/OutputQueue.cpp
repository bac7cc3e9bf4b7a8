#include <vantiflux/platform/pelorn/OutputQueue.h>

#include <utility>

namespace Pelorn {

namespace {

constexpr std::size_t smallBelow = 1024;
constexpr std::size_t runSize = std::size_t{64} << 10;
/// Of a frame that small states were copied into. No state has this number.
constexpr std::uint64_t runNumber = ~std::uint64_t{0};

} // namespace

bool OutputQueue::push(Frame::Pointer frame) {
  const std::size_t size = frame->bytes.size();
  const std::uint64_t number = frame->supersedes;
  if (number == 0) {
    run_ = nullptr;
    commandBytes_ += size;
    if (commandBytes_ > giveUpAt)
      return false;
  } else if (bytes_ + size > fullAt) {
    index();
    const auto [found, isNew] = latest_.try_emplace(number, 0);
    if (!isNew && found->second >= taken_) {
      Frame::Pointer& waiting = frames_[found->second - taken_];
      bytes_ += size - waiting->bytes.size();
      waiting = std::move(frame);
      return true;
    }
    found->second = taken_ + frames_.size();
  } else if (indexed_) {
    latest_[number] = taken_ + frames_.size();
  } else if (joinRun(*frame)) {
    return true;
  }
  bytes_ += size;
  frames_.push_back(std::move(frame));
  return true;
}

bool OutputQueue::joinRun(const Frame& frame) {
  const std::size_t size = frame.bytes.size();
  if (size >= smallBelow || !frame.bytes.blocks().empty()) {
    run_ = nullptr;
    return false;
  }
  if (run_ == nullptr || run_->bytes.size() + size > runSize) {
    run_ = std::make_shared<Frame>();
    run_->supersedes = runNumber;
    frames_.push_back(run_);
  }
  run_->bytes.append(frame.bytes.text().data(), size);
  bytes_ += size;
  return true;
}

// Made when the queue fills up and kept until it has run empty: as long as all is well it costs nothing.
void OutputQueue::index() {
  if (indexed_)
    return;
  indexed_ = true;
  run_ = nullptr;
  latest_.clear();
  for (std::size_t i = 0; i < frames_.size(); ++i)
    if (frames_[i]->supersedes != 0 && frames_[i]->supersedes != runNumber)
      latest_[frames_[i]->supersedes] = taken_ + i;
}

void OutputQueue::take(std::vector<Frame::Pointer>& batch, std::size_t bytes) {
  for (std::size_t sum = 0; !frames_.empty(); ++taken_) {
    const std::size_t size = frames_.front()->bytes.size();
    if (sum != 0 && sum + size > bytes)
      return;
    sum += size;
    bytes_ -= size;
    if (frames_.front()->supersedes == 0)
      commandBytes_ -= size;
    batch.push_back(std::move(frames_.front()));
    frames_.pop_front();
    if (frames_.empty())
      run_ = nullptr; // it has left
  }
  indexed_ = false;
}

void OutputQueue::clear() {
  frames_.clear();
  run_ = nullptr;
  bytes_ = commandBytes_ = 0;
  indexed_ = false;
}

} // namespace Pelorn
