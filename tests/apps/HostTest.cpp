// The host program as a process of its own.
#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include <apps/Counterparts.h>
#include <apps/Folder.h>
#include <apps/Process.h>
#include <gtest/gtest.h>

namespace {

using test::Folder;
using test::Process;

std::vector<std::string> host(std::vector<std::string> words) {
  words.insert(words.begin(), HOST_PROGRAM);
  return words;
}

const std::string clockTree = TREES "/clock.vfx";

std::string contents(const std::string& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

TEST(Host, PrintsWatchedValuesUntilItIsInterrupted) {
  for (const auto& [signal, watched, label] :
       {std::tuple(SIGINT, "clock/*", "Clock/Time"), {SIGTERM, "time", "Time"}}) {
    Process process(host({"run", clockTree, "--watch", watched}));
    const std::regex form(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}\t)" + std::string(label) +
                          R"(\t\w{3} \w{3} \d+ \d\d:\d\d:\d\d \d{4}\n)");
    for (int i = 0; i < 2; ++i) {
      const std::string line = process.readLine();
      EXPECT_TRUE(std::regex_match(line, form)) << line;
    }
    process.signal(signal);
    EXPECT_EQ(process.wait(), 0);
    EXPECT_EQ(process.errors(), "");
  }
}

TEST(Host, OpensAWebInterfaceUnlessTheTreeHasOne) {
  const Folder folder;
  const std::string saved = folder.file("saved.vfx");
  const std::regex form(R"(vantiflux: the web interface is at http://127\.0\.0\.1:(\d+)/\n)");
  Process process(host({"run", clockTree, "--web", "localhost:0", "--save-on-exit", saved}));
  const std::string line = process.readErrorLine();
  std::smatch match;
  ASSERT_TRUE(std::regex_match(line, match, form)) << line;
  const std::string port = match[1];
  EXPECT_TRUE(std::regex_match(process.readLine(), std::regex("WebNode listening on \\S+:" + port + "\n")));
  Process second(host({"run", clockTree, "--web", port}));
  EXPECT_EQ(second.wait(), 1);
  EXPECT_NE(second.errors().find("vantiflux: Cannot listen on 127.0.0.1:" + port), std::string::npos);
  process.signal(SIGTERM);
  EXPECT_EQ(process.wait(), 0);
  EXPECT_NE(contents(saved).find("<Parameter name=\"Port\" value=\"" + port + "\"/>"), std::string::npos);

  const std::string own =
      folder.write("own.vfx", "<Vantiflux versionMajor=\"1\"><Namespace label=\"a\"><Node label=\"b\" "
                              "type=\"Web\"><Parameter name=\"Address\" value=\"127.0.0.1\"/></Node>"
                              "</Namespace></Vantiflux>");
  Process third(host({"run", own, "--web", "127.0.0.1:1"})); // where it could not be opened
  const std::string thirdLine = third.readErrorLine();
  EXPECT_TRUE(std::regex_match(thirdLine, form)) << thirdLine;
  third.signal(SIGTERM);
  EXPECT_EQ(third.wait(), 0);

  for (const char* const wrong : {"x", ":80", "1.2.3.4:", "80:x", "127.0.0.1:65536", "-1", "a b:80"}) {
    Process refused(host({"run", clockTree, std::string("--web=") + wrong}));
    EXPECT_EQ(refused.wait(), 1) << wrong;
  }
}

TEST(Host, TellsWhatItWaitsFor) {
  Process process(host({"run", clockTree, "--watch", "Mouse", "--watch", "clock/time"}));
  process.readLine();
  process.signal(SIGTERM);
  EXPECT_EQ(process.wait(), 0);
  EXPECT_EQ(process.errors(), "vantiflux: nothing arrives under \"Mouse\" yet, waiting for it\n");
}

TEST(Host, PrintsNoControlSequenceThatComesWithALabel) {
  const Folder folder;
  const std::string tree = folder.write("tree.vfx", "<Vantiflux versionMajor=\"1\"><Node label=\"&#x9b;2J&#x202e;\" "
                                                    "type=\"Clock\"/></Vantiflux>");
  Process process(host({"run", tree, "--watch", "*"}));
  EXPECT_NE(process.readLine().find("\t\\u009b2J\\u202e/Time\t"), std::string::npos);
  process.signal(SIGTERM);
  EXPECT_EQ(process.wait(), 0);
}

TEST(Host, EndsThoughItsOutputIsStuck) {
  test::Terminal terminal;
  test::fill(terminal.slave());
  std::array<int, 2> pipe{};
  ASSERT_EQ(pipe2(pipe.data(), O_CLOEXEC), 0);
  test::fill(pipe[1]);
  for (const int output : {terminal.slave(), pipe[1]}) {
    Process process(host({"run", clockTree, "--watch", "clock/*", "--watch", "Mouse"}), output);
    process.readErrorLine(); // it has begun to watch, and the clock to tick
    process.signal(SIGTERM);
    EXPECT_EQ(process.wait(), 0);
    EXPECT_EQ(fcntl(output, F_GETFL) & O_NONBLOCK, 0) << "belongs to others too";
  }
  close(pipe[0]);
  close(pipe[1]);
}

TEST(Host, SaysThatItsOutputCannotBeWritten) {
  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  ASSERT_GE(full, 0);
  for (const auto& command :
       {std::vector<std::string>{"run", clockTree, "--watch", "*"}, {"types"}, {"run", "--help"}}) {
    Process process(host(command), full);
    EXPECT_EQ(process.wait(), 1);
    EXPECT_EQ(process.errors(), "vantiflux: Cannot write to standard output: No space left on device\n");
  }
  close(full);
}

TEST(Host, CanBeInterruptedWhileAServerKeepsItWaiting) {
  const Folder folder;
  const test::SilentServer server;
  const std::string url = "http://127.0.0.1:" + std::to_string(server.port()) + "/tree.vfx";
  {
    Process process(host({"run", url, "--save-on-exit", folder.file("half.vfx")}));
    const int connection = server.accept(); // it waits for the answer now
    process.signal(SIGINT);
    EXPECT_EQ(process.wait(), 128 + SIGINT);
    EXPECT_EQ(process.errors(), "vantiflux: interrupted before the tree was loaded\n");
    EXPECT_FALSE(std::filesystem::exists(folder.file("half.vfx")));
    close(connection);
  }
  // A file that such a document is included in has been loaded all the same.
  const std::string tree =
      folder.write("tree.vfx", "<Vantiflux versionMajor=\"1\"><Node label=\"Clock\" type=\"Clock\"/><Node label=\"a\" "
                               "type=\"Inline\"><Parameter name=\"URL\" value=\"" +
                                   url + "\"/></Node></Vantiflux>");
  Process process(host({"run", tree, "--watch", "Clock/Time"}));
  const int connection = server.accept();
  process.readLine();
  process.signal(SIGINT);
  EXPECT_EQ(process.wait(), 0);
  close(connection);
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
  const Folder folder;
  const std::string taken = folder.file("taken.vfx"); // the name of a folder
  std::filesystem::create_directory(taken);
  for (const auto& [file, why] : {std::pair(std::string("/nowhere/tree.vfx"), "No such file or directory"),
                                  {taken, "Is a directory"},
                                  {std::string("/dev/full"), "No space left on device"}}) {
    Process process(host({"run", clockTree, "--watch", "*", "--save-on-exit", file}));
    process.readLine();
    process.signal(SIGINT);
    EXPECT_EQ(process.wait(), 1);
    EXPECT_EQ(process.errors(), "vantiflux: Cannot save \"" + file + "\": " + why + "\n");
    EXPECT_FALSE(std::filesystem::exists(file + ".part"));
  }
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
      {"run", folder.file("")},
      {"run", ""},
      {"run", "/dev/null"},
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
    if (command.size() == 2 && command[0] == "run" && command[1].starts_with(folder.file(""))) {
      EXPECT_TRUE(errors.starts_with("vantiflux: " + command[1] + ": ")) << errors;
    }
  }
}

TEST(Host, DescribesNodeTypes) {
  const std::string field = "  Field URL = \"\"\n    URL of the file we read the namespace from\n";
  Process list(host({"types"}));
  const std::string types = list.output();
  EXPECT_EQ(list.wait(), 0);
  EXPECT_NE(("\n" + types).find("\nClock: Reads the system time.\n"), std::string::npos) << types;
  EXPECT_NE(types.find(field), std::string::npos) << types;

  Process one(host({"types", "inline"}));
  const std::string type = one.output();
  EXPECT_EQ(one.wait(), 0);
  EXPECT_TRUE(type.starts_with("Inline: Allows") && type.ends_with(field)) << type;
  EXPECT_NE(types.find('\n' + type + '\n'), std::string::npos);
}

TEST(Host, HelpsOnEveryLevel) {
  for (const auto& command : {std::vector<std::string>{"--help"}, {"run", "--help"}, {"types", "--help"}}) {
    Process process(host(command));
    EXPECT_NE(process.output().find("Usage: vantiflux"), std::string::npos);
    EXPECT_EQ(process.wait(), 0);
  }
}

} // namespace
