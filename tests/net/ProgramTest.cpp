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
  // A second may be too short on a machine that has much to do.
  const auto answer = [&](int status, const std::string& part) {
    std::string text;
    int ended = -1;
    for (int i = 0; i < 20 && text.find(part) == std::string::npos; ++i) {
      Process asked(words);
      text = asked.output();
      ended = asked.wait();
    }
    EXPECT_NE(text.find(part), std::string::npos) << text;
    EXPECT_EQ(ended, status) << text;
    return text;
  };
  const std::string lonely = answer(1, "Packets for the group come back to this host");
  EXPECT_NE(lonely.find("Nobody was heard on " + valueOf(2)), std::string::npos) << lonely;
  EXPECT_NE(lonely.find("Tried interface lo (127.0.0.1).\n"), std::string::npos) << lonely;
  const Space space(fields);
  const std::string port = std::to_string(space.port());
  words.push_back("127.0.0.1:" + port);
  answer(0, "127.0.0.1\t" + port + '\t' + valueOf(4) + "\t2.0\n");
  const std::string met = answer(0, "127.0.0.1:" + port + " is ");
  EXPECT_NE(met.find("protocol Vantiflux 2.0, ID " + valueOf(4) + ".\n"), std::string::npos) << met;
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
