#include <vantiflux/platform/tarsil/DynamicLibrary.h>
#include <vantiflux/platform/tarsil/SysInfo.h>
#include <vantiflux/platform/tarsil/SystemTime.h>

#include "support.h"
#include <ctime>

namespace {

using Tarsil::DynamicLibrary;

/// Sets an environment variable and the working directory for a test.
class Surroundings {
public:
  Surroundings(const std::string& pluginPath, const std::filesystem::path& directory)
      : before_(std::filesystem::current_path()) {
    ::setenv("VANTIFLUX_PLUGIN_PATH", pluginPath.c_str(), 1);
    std::filesystem::current_path(directory);
  }
  ~Surroundings() {
    ::unsetenv("VANTIFLUX_PLUGIN_PATH");
    std::filesystem::current_path(before_);
  }

private:
  std::filesystem::path before_;
};

const std::string pluginFolder = PLATFORM_PLUGIN_DIR;
const std::string pluginName =
    std::string(DynamicLibrary::defaultPrefix) + "platform_plugin" + DynamicLibrary::defaultSuffix;

bool loads(const std::string& name) {
  try {
    DynamicLibrary library;
    library.load(name.c_str());
    using Answer = int();
    const auto answer = reinterpret_cast<Answer*>(library.symbol("pluginAnswer"));
    EXPECT_EQ(nullptr, library.symbol("noSuchSymbol"));
    return answer && answer() == 42;
  } catch (const DynamicLibrary::Exception& exception) {
    EXPECT_STRNE("", exception.what());
    return false;
  }
}

TEST(DynamicLibrary, WhereItLooks) {
  const test::TemporaryFolder empty;
  EXPECT_TRUE(loads(pluginFolder + "/" + pluginName));
  EXPECT_FALSE(loads(pluginName));
  {
    const Surroundings here("", pluginFolder);
    EXPECT_FALSE(loads(pluginName)) << "a bare name must not find a file of the working directory";
    EXPECT_TRUE(loads("./" + pluginName));
  }
  {
    const Surroundings listed("/no/such/folder::" + empty.path().string() + ":" + pluginFolder + ":", empty.path());
    EXPECT_TRUE(loads(pluginName));
  }
  {
    const Surroundings emptyEntries("::", pluginFolder);
    EXPECT_FALSE(loads(pluginName));
  }
}

TEST(DynamicLibrary, WhatIsNoLibrary) {
  const test::TemporaryFolder folder;
  folder.write("libtext.so", "not a library");
  const Surroundings listed(folder.path().string(), folder.path());
  for (const std::string name : {"", "libtext.so", "./libtext.so", "/", "/no/such/file.so"})
    EXPECT_FALSE(loads(name)) << name;
  DynamicLibrary library;
  EXPECT_THROW(library.load(nullptr), DynamicLibrary::Exception);
  EXPECT_EQ(nullptr, library.symbol("malloc"));
  library.load((pluginFolder + "/" + pluginName).c_str());
  EXPECT_THROW(library.load("libtext.so"), DynamicLibrary::Exception);
  EXPECT_NE(nullptr, library.symbol("pluginAnswer")) << "a failure keeps what was loaded";
}

TEST(System, FactsAboutHostAndProcess) {
  const auto& info = Tarsil::SysInfo::the();
  EXPECT_FALSE(info.getUserName().empty());
  EXPECT_FALSE(info.getHostName().empty());
  EXPECT_EQ(0U, info.getSystemName().find("Linux "));
  EXPECT_GE(info.getNumberOfProcessors(), 1U);
  EXPECT_EQ(::getpid(), info.getProcessId());

  const auto before = std::time(nullptr);
  std::int64_t seconds = 0;
  std::int32_t microseconds = -1;
  Tarsil::getSystemTime(seconds, microseconds);
  EXPECT_GE(seconds + 1, before); // time() reads a coarser clock
  EXPECT_LE(seconds, std::time(nullptr) + 1);
  EXPECT_TRUE(microseconds >= 0 && microseconds < 1000000);
}

} // namespace
