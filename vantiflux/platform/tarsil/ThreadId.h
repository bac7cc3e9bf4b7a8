#pragma once

#include <cstdint>

namespace Tarsil {

/// Identity of a living thread: the address of its control block, never 0 and with its lowest bit clear. Equal to the
/// value of `pthread_self()`, but read with one instruction, because every lock of a mutex needs it.
using ThreadId = std::uintptr_t;

inline ThreadId thisThread() noexcept {
  ThreadId id;
  __asm__("movq %%fs:0, %0" : "=r"(id));
  return id;
}

} // namespace Tarsil
