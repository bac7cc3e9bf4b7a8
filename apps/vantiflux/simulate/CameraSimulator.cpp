#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <unistd.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <vantiflux/core/Exception.h>

#include "../../camera/Settings.h"
#include "SimulateCommand.h"

namespace Simulate {

namespace {

using Vantiflux::Exception;

constexpr const char* explanation = R"(A camera is described by settings between commas, lists between plus signs:
  card=NAME           name of the card [Simulated Camera]
  size=WxH+...        sizes offered; it is set to the first [640x480+320x240+1280x720+1920x1080]
  formats=CODE+...    pixel layouts: RGB3, RGB4, BGR3, YUYV, GREY; others are blank [YUYV+RGB3+RGB4]
  adjust=yes|no       replace a format that is not offered, or refuse it [yes]
  rate=HZ             frames a second; 0: as fast as they are taken [30]
  io=mmap|read        how frames are had [mmap]
  inputs=NAME+...     names of the inputs [Camera]
  frames=N            silence after so many frames;  silent=yes  from the beginning
  unplug=N            unplugged after so many frames, and plugged in again
  absent=yes          there is no such file
  fail=REQUEST[@N]+.. OPEN, POLL, READ, MMAP, DQBUF, ... fail, from the Nth call on
  lie=WHAT+...        a broken driver: INDEX, LENGTH, COUNT, SIZE
  buffers=N           grant so many buffers;  short=N  bytes that each read lacks)";

// Beside the program, in the tree where it was built as where it was installed.
std::string preloadedLibrary() {
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
  std::string path = (program.parent_path() / VANTIFLUX_CAMERA_LIBRARY).lexically_normal().string();
  if (!std::filesystem::exists(path))
    throw Exception(path + " is missing, which is installed with this program");
  if (path.find_first_of(" :") != std::string::npos)
    throw Exception(path + " cannot be preloaded: its path holds a blank or a colon");
  return path;
}

// The process has no other thread yet.
void extend(const char* variable, const std::string& text) {
  const char* const value = std::getenv(variable); // NOLINT(concurrency-mt-unsafe)
  const std::string before = value == nullptr || *value == '\0' ? "" : std::string(value) + ":";
  ::setenv(variable, (before + text).c_str(), 1); // NOLINT(concurrency-mt-unsafe)
}

void runWithCameras(const std::vector<std::string>& cameras, std::vector<std::string> command) {
  std::string text;
  try {
    for (const std::string& camera : cameras) {
      if (camera.find(';') != std::string::npos)
        throw std::invalid_argument("a camera's settings hold no semicolon");
      Camera::parseCamera(camera);
      text += (&camera == &cameras.front() ? "" : ";") + camera;
    }
    Camera::parseCameras(text); // that there are not too many
  } catch (const std::invalid_argument& error) {
    throw Exception(error.what());
  }
  extend("LD_PRELOAD", preloadedLibrary());
#ifdef __SANITIZE_ADDRESS__
  extend("ASAN_OPTIONS", "verify_asan_link_order=0"); // the cameras come before the sanitizer, and pass on to it
#endif
  ::setenv("VANTIFLUX_CAMERAS", text.c_str(), 1); // NOLINT(concurrency-mt-unsafe)
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (std::string& word : command)
    arguments.push_back(word.data());
  arguments.push_back(nullptr);
  ::execvp(arguments[0], arguments.data());
  throw Exception("Cannot run \"" + command.front() + "\": " + std::generic_category().message(errno));
}

} // namespace

void addCamera(CLI::App& simulate, Program& program) {
  CLI::App* const command =
      simulate.add_subcommand("camera", "Run a command for which simulated cameras stand in the place of /dev/video*");
  command->footer(explanation);
  struct Words {
    std::vector<std::string> cameras;
    std::vector<std::string> command;
  };
  const auto words = std::make_shared<Words>();
  command->add_option("--device", words->cameras, "A camera; the first is /dev/video0, the next /dev/video1")
      ->type_name("SETTINGS")
      ->take_all()
      ->allow_extra_args(false);
  command->add_option("COMMAND", words->command, "What to run, after --")->required();
  command->callback([words, &program] { program = [words] { runWithCameras(words->cameras, words->command); }; });
}

} // namespace Simulate
