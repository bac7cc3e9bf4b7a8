#include <vantiflux/values/Sample.h>

#include <algorithm>
#include <limits>
#include <new>
#include <sstream>
#include <utility>

#include <gtest/gtest.h>

namespace {

using Vantiflux::Sample;

TEST(Sample, SizeCountsWholeBytesASample) {
  Sample s;
  EXPECT_EQ(s.data(), nullptr);
  EXPECT_EQ(s.capacity(), 0U);
  s.setParameters(44100, 12, 2, 100);
  EXPECT_EQ(s.size(), 400U);
  EXPECT_EQ(s.capacity(), 400U);
  EXPECT_EQ(s.frequency(), 44100U);
  s.setParameters(8000, 8, 1, 50);
  EXPECT_EQ(s.size(), 50U);
  s.setParameters(8000, 0, 1, 50);
  EXPECT_EQ(s.size(), 0U);
}

TEST(Sample, ABufferGrowsAndNeverShrinks) {
  Sample s;
  s.setParameters(44100, 16, 2, 100);
  unsigned char* const buffer = s.data();
  s.setParameters(44100, 16, 1, 10);
  EXPECT_EQ(s.data(), buffer);
  EXPECT_EQ(s.capacity(), 400U);
  s.setParameters(44100, 16, 2, 101);
  EXPECT_EQ(s.capacity(), 404U);
}

TEST(Sample, CopiesOwnTheirBytes) {
  Sample s;
  s.setParameters(44100, 8, 1, 4);
  std::copy_n("abcd", 4, s.data());
  Sample larger;
  larger.setParameters(1, 8, 1, 1000);
  larger = s;
  Sample copy(s);
  s.data()[0] = 'x';
  EXPECT_EQ(larger.data()[0], 'a');
  EXPECT_EQ(larger, copy);
  EXPECT_FALSE(larger == s);
  const Sample moved(std::move(copy));
  EXPECT_EQ(moved, larger);
  std::ostringstream out;
  out << moved;
  EXPECT_EQ(out.str(), "44100 Hz 8 bits 1 channels 4 frames");
}

TEST(Sample, AnAbsurdSizeIsRefusedAndLeavesTheBlockEmpty) {
  Sample s;
  s.setParameters(44100, 16, 2, 100);
  constexpr auto most = std::numeric_limits<unsigned long>::max();
  EXPECT_THROW(s.setParameters(44100, 16, 2, most / 4 + 2), std::bad_alloc); // times 4 would be 4
  EXPECT_EQ(s.size(), 0U);
  EXPECT_EQ(s.capacity(), 0U);
  s.setParameters(44100, 16, 2, 3);
  EXPECT_EQ(s.size(), 12U);
}

} // namespace
