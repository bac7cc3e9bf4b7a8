#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace test {

/// A folder for the length of a test.
class Folder {
public:
  Folder() : path_(std::filesystem::temp_directory_path() / ("vantiflux_apps_" + std::to_string(getpid()))) {
    std::filesystem::create_directory(path_);
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  std::string file(const std::string& name) const { return path_ / name; }
  std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(file(name)) << text;
    return file(name);
  }

private:
  std::filesystem::path path_;
};

} // namespace test
