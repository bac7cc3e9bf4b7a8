// Begins anew with simulated cameras in the place of real ones, unless that was done already.
#include <cstdio>
#include <cstdlib>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

void append(const char* variable, const std::string& text) {
  const char* const value = std::getenv(variable); // NOLINT(concurrency-mt-unsafe): there are no threads yet
  setenv(variable, (value == nullptr ? text : value + (":" + text)).c_str(), 1);
}

} // namespace

int main(int argc, char** argv) {
  if (dlsym(RTLD_DEFAULT, "vantiflux_cameras_configure") == nullptr) {
    constexpr const char* tried = "VANTIFLUX_CAMERAS_PRELOADED";
    if (getenv(tried) != nullptr) { // NOLINT(concurrency-mt-unsafe)
      std::fputs("the simulated cameras cannot be preloaded from here: " CAMERA_LIBRARY "\n", stderr);
      return 1;
    }
    setenv(tried, "1", 1);
    append("LD_PRELOAD", CAMERA_LIBRARY);
    append("ASAN_OPTIONS", "verify_asan_link_order=0"); // the camera comes before the sanitizer, and passes on to it
    execv("/proc/self/exe", argv);
    std::perror("execv");
    return 1;
  }
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
