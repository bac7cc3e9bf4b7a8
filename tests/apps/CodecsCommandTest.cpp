#include "../../apps/vantiflux/CodecsCommand.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

namespace {

TEST(CodecsCommand, ListsNamesWithTheirTypes) {
  const std::string lines = Host::listCodecs();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 40) << lines;
  EXPECT_TRUE(lines.starts_with("MFBool       Vantiflux::SmartPtr&lt;Vantiflux::MFBool&gt;\n")) << lines;
  EXPECT_NE(lines.find("\nSFInt32      long\n"), std::string::npos) << lines;
}

} // namespace
