#pragma once

namespace test {

/// How often this process has asked for memory with `new`. Link Allocations.cpp, which counts.
long allocations() noexcept;

} // namespace test
