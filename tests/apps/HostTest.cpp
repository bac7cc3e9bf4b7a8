// The host program as a process of its own.
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <apps/Process.h>
#include <gtest/gtest.h>

namespace {

using test::Process;

std::vector<std::string> host(std::vector<std::string> words) {
  words.insert(words.begin(), HOST_PROGRAM);
  return words;
}

const std::string clockTree = TREES "/clock.vfx";

class Folder {
public:
  Folder() : path_(std::filesystem::temp_directory_path() / ("vantiflux_host_" + std::to_string(getpid()))) {
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

std::string contents(const std::string& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

TEST(Host, PrintsWatchedValuesUntilItIsInterrupted) {
  for (const int signal : {SIGINT, SIGTERM}) {
    Process process(host({"run", clockTree, "--watch", "clock/*"}));
    const std::regex form(
        R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}\tClock/Time\t\w{3} \w{3} \d+ \d\d:\d\d:\d\d \d{4}\n)");
    for (int i = 0; i < 2; ++i) {
      const std::string line = process.readLine();
      EXPECT_TRUE(std::regex_match(line, form)) << line;
    }
    process.signal(signal);
    EXPECT_EQ(process.wait(), 0);
    EXPECT_EQ(process.errors(), "");
  }
}

TEST(Host, TellsWhatItWaitsFor) {
  Process process(host({"run", clockTree, "--watch", "Mouse", "--watch", "clock/time"}));
  process.readLine();
  process.signal(SIGTERM);
  EXPECT_EQ(process.wait(), 0);
  EXPECT_EQ(process.errors(), "vantiflux: nothing is called \"Mouse\" yet, waiting for it\n");
}

TEST(Host, EndsThoughItsOutputIsStuck) {
  Process process(host({"run", clockTree, "--watch", "clock/*", "--watch", "Mouse"}), Process::Pipe::Full);
  process.readErrorLine(); // it is about to print
  process.signal(SIGTERM);
  EXPECT_EQ(process.wait(), 0);
}

TEST(Host, EndsWhenNobodyReadsItsOutputAnyMore) {
  Process process(host({"run", clockTree, "--watch", "*"}));
  process.readLine();
  process.closeOutput();
  EXPECT_EQ(process.wait(), 0);
}

TEST(Host, SavesAtTheEndWhatItCanLoadAgain) {
  const Folder folder;
  const std::string once = folder.file("once.vfx");
  const std::string twice = folder.file("twice.vfx");
  for (const auto& [from, to] : {std::pair(clockTree, once), std::pair(once, twice)}) {
    Process process(host({"run", from, "--watch", "*", "--save-on-exit", to}));
    process.readLine();
    process.signal(SIGTERM);
    EXPECT_EQ(process.wait(), 0);
  }
  EXPECT_NE(contents(once).find("type=\"Clock\""), std::string::npos);
  EXPECT_NE(contents(once).find("<Route from=\"Clock/Time\" to=\"Time\"/>"), std::string::npos);
  EXPECT_EQ(contents(once), contents(twice));
}

TEST(Host, ATreeThatCannotBeSavedIsAnError) {
  Process process(host({"run", clockTree, "--watch", "*", "--save-on-exit", "/nowhere/tree.vfx"}));
  process.readLine();
  process.signal(SIGINT);
  EXPECT_EQ(process.wait(), 1);
  EXPECT_EQ(process.errors(), "vantiflux: Cannot write \"/nowhere/tree.vfx.part\"\n");
}

TEST(Host, ErrorsAreOneLine) {
  const Folder folder;
  const std::string head = "<Vantiflux versionMajor=\"1\" versionMinor=\"0\">";
  const std::vector<std::vector<std::string>> commands = {
      {},
      {"fly"},
      {"run", "--watch"},
      {"run", "a.vfx", "b.vfx"},
      {"run", folder.file("missing.vfx")},
      {"run", "\x1b[31m:no such kind of place"},
      {"run", folder.write("text.vfx", "not XML\nat all")},
      {"run", folder.write("cut.vfx", head + "<Node label=\"a\" type=\"Clock\">")},
      {"run", folder.write("type.vfx", head + "<Node label=\"a\" type=\"Fly&#10;ing\"/></Vantiflux>")},
      {"types", "Flying"},
  };
  for (const auto& command : commands) {
    Process process(host(command));
    const std::string errors = process.errors();
    EXPECT_EQ(process.output(), "");
    EXPECT_GT(process.wait(), 0);
    EXPECT_TRUE(errors.starts_with("vantiflux: ")) << errors;
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
    EXPECT_EQ(errors.find('\x1b'), std::string::npos) << errors;
  }
}

TEST(Host, DescribesNodeTypes) {
  Process list(host({"types"}));
  const std::string types = list.output();
  EXPECT_EQ(list.wait(), 0);
  EXPECT_TRUE(std::regex_search(types, std::regex("(^|\n)Clock +Reads the system time\\.\n"))) << types;
  EXPECT_TRUE(std::regex_search(types, std::regex("(^|\n)Inline +Allows"))) << types;

  Process one(host({"types", "inline"}));
  const std::string type = one.output();
  EXPECT_EQ(one.wait(), 0);
  EXPECT_NE(type.find("Field URL = \"\"\n  URL of the file we read the namespace from\n"), std::string::npos) << type;
}

TEST(Host, HelpsOnEveryLevel) {
  for (const auto& command : {std::vector<std::string>{"--help"}, {"run", "--help"}, {"types", "--help"}}) {
    Process process(host(command));
    EXPECT_NE(process.output().find("Usage: vantiflux"), std::string::npos);
    EXPECT_EQ(process.wait(), 0);
  }
}

} // namespace
