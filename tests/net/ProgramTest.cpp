// The host program and the example trees on the network.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <apps/Process.h>

#include "Support.h"

namespace {

using namespace test;

TEST(Program, TellsWhoIsThereAndWhatMayBeWrong) {
  const std::vector<std::string> fields = loopbackFields();
  const auto valueOf = [&](std::size_t i) { return fields[i].substr(fields[i].find('=') + 1); };
  std::vector<std::string> words{HOST_PROGRAM, "peers",    "--address", "127.0.0.1", "--ttl",     "0",
                                 "--group",    valueOf(2), "--port",    valueOf(3),  "--seconds", "1"};
  {
    Process lonely(words);
    const std::string text = lonely.output();
    EXPECT_NE(text.find("Nobody was heard on " + valueOf(2)), std::string::npos) << text << lonely.errors();
    EXPECT_NE(text.find("Tried interface lo (127.0.0.1).\n"), std::string::npos) << text;
    EXPECT_NE(text.find("Packets for the group come back to this host"), std::string::npos) << text;
    EXPECT_EQ(lonely.wait(), 1);
  }
  const Space space(fields);
  const std::string port = std::to_string(space.port());
  words.push_back("127.0.0.1:" + port);
  Process asked(words);
  const std::string text = asked.output();
  EXPECT_EQ(text.substr(0, text.find('\n')), "127.0.0.1\t" + port + '\t' + valueOf(4) + "\t2.0") << text;
  EXPECT_NE(text.find("127.0.0.1:" + port + " is "), std::string::npos) << text;
  EXPECT_NE(text.find("protocol Vantiflux 2.0, ID " + valueOf(4) + ".\n"), std::string::npos) << text;
  EXPECT_EQ(asked.wait(), 0);
}

TEST(Program, TheExampleTreesFindEachOther) {
  Process consumer({HOST_PROGRAM, "run", TREES "/consumer.vfx", "--watch", "producer/Clock/Time"});
  Process producer({HOST_PROGRAM, "run", TREES "/producer.vfx"});
  std::string line;
  do
    line = consumer.readLine();
  while (!line.empty() && line.find("\tproducer/Clock/Time\t") == std::string::npos);
  EXPECT_NE(line, "");
  for (Process* const process : {&consumer, &producer}) {
    process->signal(SIGTERM);
    EXPECT_EQ(process->wait(), 0);
  }
}

} // namespace
