#include "SaveFile.h"

#include <cerrno>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>

#include <vantiflux/core/Exception.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/state/StateKeeperXML.h>

namespace Host {

namespace {

[[noreturn]] void fail(const std::string& file, const std::string& why) {
  throw Vantiflux::Exception("Cannot save \"" + file + "\": " + why);
}

std::string document() {
  const Vantiflux::Root::ReadLock lock;
  std::ostringstream stream;
  Vantiflux::StateKeeperXML::save(Vantiflux::Root::the(), stream);
  return stream.str();
}

void write(const std::filesystem::path& path, std::string_view text) {
  errno = 0;
  std::ofstream stream(path, std::ios::binary | std::ios::trunc);
  stream.write(text.data(), static_cast<std::streamsize>(text.size()));
  stream.close();
  if (!stream)
    throw std::system_error(errno, std::generic_category());
}

/// A file beside the one that it will replace; removed, unless it did.
class Part {
public:
  explicit Part(const std::filesystem::path& file) : path_(file.string() + ".part") {}
  ~Part() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  Part(const Part&) = delete;
  Part& operator=(const Part&) = delete;

  const std::filesystem::path& path() const noexcept { return path_; }

private:
  const std::filesystem::path path_;
};

void replace(const std::filesystem::path& file, std::string_view text) {
  // What is no file, such as a terminal, has no place beside it.
  if (std::filesystem::exists(file) && !std::filesystem::is_regular_file(file)) {
    write(file, text);
    return;
  }
  const auto target = std::filesystem::is_symlink(file) ? std::filesystem::weakly_canonical(file) : file;
  const Part part(target);
  write(part.path(), text);
  std::filesystem::rename(part.path(), target);
}

} // namespace

void saveTree(const std::string& file) {
  std::string text;
  try {
    text = document();
  } catch (const std::exception& error) {
    fail(file, error.what());
  }
  saveText(file, text);
}

void saveText(const std::string& file, std::string_view text) {
  try {
    replace(file, text);
  } catch (const std::system_error& error) {
    fail(file, error.code().message());
  }
}

} // namespace Host
