#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

namespace Vantiflux {

/// The peers to which a slot delivers, in order: walked without a lock while they change.
///
/// *Threads.* One thread at a time walks; it holds the slot's data mutex. Changes hold the lock of structure. A peer
/// that was removed is not visited from then on, except by a visit that had begun: whoever removes one and wants that
/// to be over takes the data mutex next. A peer that is added during a walk is not visited by it.
template <class Peer>
class DeliveryList {
public:
  template <class Visit>
  void walk(Visit&& visit) {
    const Block* const block = current_.load(std::memory_order_acquire);
    if (block == nullptr)
      return;
    struct Walking {
      ~Walking() { place = nullptr; }
      const Block*& place;
    } const walking{walked_};
    walked_ = block;
    const std::size_t size = block->size.load(std::memory_order_acquire);
    for (std::size_t i = 0; i < size; ++i)
      if (Peer* const peer = block->peers[i].load(std::memory_order_acquire))
        visit(*peer);
  }

  /// Needs the data mutex too, for what `tidy` needs it.
  void add(Peer* peer) {
    Block* block = current_.load(std::memory_order_relaxed);
    if (block == nullptr || block->size.load(std::memory_order_relaxed) == block->capacity)
      block = grow(block);
    const std::size_t size = block->size.load(std::memory_order_relaxed);
    block->peers[size].store(peer, std::memory_order_relaxed);
    block->size.store(size + 1, std::memory_order_release);
  }

  void remove(const Peer* peer) {
    Block* const block = current_.load(std::memory_order_relaxed);
    const std::size_t size = block == nullptr ? 0 : block->size.load(std::memory_order_relaxed);
    for (std::size_t i = 0; i < size; ++i)
      if (block->peers[i].load(std::memory_order_relaxed) == peer) {
        block->peers[i].store(nullptr, std::memory_order_seq_cst);
        ++holes_;
      }
    for (const auto& old : blocks_) // a walk may be under way in a block that has been outgrown
      if (old.get() != block)
        for (std::size_t i = 0; i < old->capacity; ++i)
          if (old->peers[i].load(std::memory_order_relaxed) == peer)
            old->peers[i].store(nullptr, std::memory_order_seq_cst);
  }

  /// Closes gaps and drops what was outgrown. Needs the data mutex, and no walk under way.
  void tidy() {
    Block* const block = current_.load(std::memory_order_relaxed);
    if (block == nullptr)
      return;
    std::erase_if(blocks_, [&](const auto& old) { return old.get() != block; });
    const std::size_t size = block->size.load(std::memory_order_relaxed);
    if (holes_ * 2 < size)
      return;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < size; ++i)
      if (Peer* const peer = block->peers[i].load(std::memory_order_relaxed))
        block->peers[kept++].store(peer, std::memory_order_relaxed);
    block->size.store(kept, std::memory_order_release);
    holes_ = 0;
  }

private:
  struct Block {
    explicit Block(std::size_t room) : capacity(room), peers(std::make_unique<std::atomic<Peer*>[]>(room)) {}
    const std::size_t capacity;
    std::atomic<std::size_t> size{0};
    const std::unique_ptr<std::atomic<Peer*>[]> peers;
  };

  // Without the gaps, and without what else was outgrown: a listener may part and join slots at each value, for ever.
  Block* grow(const Block* old) {
    const std::size_t size = old == nullptr ? 0 : old->size.load(std::memory_order_relaxed);
    auto block = std::make_unique<Block>(2 * (size - std::min(size, holes_)) + 1);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < size; ++i)
      if (Peer* const peer = old->peers[i].load(std::memory_order_relaxed))
        block->peers[kept++].store(peer, std::memory_order_relaxed);
    block->size.store(kept, std::memory_order_relaxed);
    blocks_.push_back(std::move(block));
    Block* const current = blocks_.back().get();
    current_.store(current, std::memory_order_release);
    holes_ = 0;
    std::erase_if(blocks_, [&](const auto& b) { return b.get() != current && b.get() != walked_; });
    return current;
  }

  std::atomic<Block*> current_{nullptr};
  std::vector<std::unique_ptr<Block>> blocks_; ///< the current one and those that it has outgrown
  const Block* walked_ = nullptr;              ///< where a walk is under way; guarded by the data mutex
  std::size_t holes_ = 0;                      ///< in the current one
};

} // namespace Vantiflux
