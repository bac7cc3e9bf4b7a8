// The calibration table as text and in files.
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <filters/Support.h>
#include <gtest/gtest.h>
#include <platform/support.h>
#include <sys/stat.h>
#include <vantiflux/filters/EqualizeNode.h>

namespace {

using namespace test;
using Vantiflux::EqualizeNode;
using Vantiflux::Node;

std::string records(int count) {
  std::ostringstream text;
  for (int i = 0; i < count; ++i)
    text << i << " 2 3\t" << i % 7 << ' ' << i / 7 << " 0.5 0 0 0.6 0.8\n";
  return text.str();
}

struct Parsed {
  explicit Parsed(const std::string& text) {
    testing::internal::CaptureStderr();
    failed = EqualizeNode::parseReferenceDataStr(text, reality, measure, ori, "a.cln");
    errors = testing::internal::GetCapturedStderr();
  }
  bool failed;
  std::vector<Vector> reality{{9, 9, 9}}, measure;
  std::vector<Matrix> ori;
  std::string errors;
};

TEST(ReferenceData, TheLastRecordIsNotStored) {
  for (const std::string end : {"", "\n", " \n# done", "\n1 2 3 4"}) {
    SCOPED_TRACE(end);
    std::string text = records(65);
    text.pop_back();
    const Parsed p(text + end);
    EXPECT_FALSE(p.failed);
    EXPECT_EQ(p.errors, "");
    ASSERT_EQ(p.reality.size(), end.ends_with('4') ? 65U : 64U);
    ASSERT_EQ(p.measure.size(), p.reality.size());
    ASSERT_EQ(p.ori.size(), p.reality.size());
    EXPECT_EQ(p.reality[63], Vector(63, 2, 3));
    EXPECT_EQ(p.measure[63], Vector(0, 9, 0.5F));
    const Matrix turn = makePose({}, {0, 0, 1}, 2 * std::acos(0.8F));
    for (std::size_t i = 0; i < Matrix::elementCount; ++i)
      EXPECT_NEAR(p.ori[63][i], turn[i], 1e-6F);
  }
  const Parsed exact(records(64));
  EXPECT_TRUE(exact.failed);
  EXPECT_EQ(exact.reality.size(), 63U);
  EXPECT_EQ(exact.errors, "Found only 63 reference points, but there must be at least 64, (a.cln:65)\n");
  EXPECT_TRUE(Parsed("").failed);
  EXPECT_TRUE(Parsed("abc").failed);
}

TEST(ReferenceData, CommentsStandBetweenNumbers) {
  std::string text = "# head\n#\n  # twice\n";
  for (const char c : records(66))
    text += c == ' ' ? " # 17 \"#\"\n\t" : std::string(1, c);
  EXPECT_EQ(Parsed(text).ori, Parsed(records(66)).ori);
  EXPECT_EQ(Parsed(text).measure, Parsed(records(66)).measure);
}

TEST(ReferenceData, ABadTokenEndsTheTable) {
  for (const std::string bad : {"seven", "1e99", "1,5", "nan"}) {
    const Parsed p(records(70) + bad + '\n' + records(70));
    EXPECT_FALSE(p.failed) << bad;
    EXPECT_EQ(p.reality.size(), 70U) << bad;
    EXPECT_EQ(p.errors, "There's something wrong with the reference data. (a.cln:71)\n") << bad;
  }
  EXPECT_TRUE(Parsed(records(50) + "x" + records(50)).failed);
  EXPECT_FALSE(Parsed(records(2049)).failed);
  EXPECT_TRUE(Parsed(records(2050)).failed);
}

std::string contents(const std::string& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

TEST(ReferenceData, WhatCannotBeTakenChangesNothing) {
  const TemporaryFolder folder;
  const auto file = [&folder](const char* name) { return (folder.path() / name).string(); };
  EqualizeNode node;
  node.setFieldValue("ReferenceData", records(66));
  EXPECT_EQ(node.getState(), Node::Sleeping);
  folder.write("empty", "");
  ASSERT_EQ(mkfifo(file("pipe").c_str(), 0600), 0);
  const std::string unreadable = "File with reference data empty or not readable: ";
  for (const auto& [text, error] :
       std::vector<std::pair<std::string, std::string>>{{"file:", unreadable},
                                                        {"file:" + file(""), unreadable + file("")},
                                                        {"file:" + file("missing"), unreadable + file("missing")},
                                                        {"file:" + file("empty"), unreadable + file("empty")},
                                                        {"file:" + file("pipe"), unreadable + file("pipe")},
                                                        {"file:/dev/zero", unreadable + "/dev/zero"},
                                                        {records(64), "Can't parse reference data."},
                                                        {"fil", "Can't parse reference data."}}) {
    node.setState(Node::Running, "");
    node.setFieldValue("ReferenceData", text);
    EXPECT_EQ(node.getState(), Node::Error);
    EXPECT_EQ(node.getShortInfo(), error);
    EXPECT_EQ(node.getReferenceData(), records(66));
    EXPECT_EQ(node.getRealityPos(64), Vector(64, 2, 3));
  }
  node.setReferenceData({{}}, {{}}, {});
  EXPECT_EQ(node.getShortInfo(), "Supplied reference data is incomplete.");
  node.setReferenceData(std::vector<Vector>(63), std::vector<Vector>(63), std::vector<Matrix>(63));
  EXPECT_EQ(node.getShortInfo(), "The reference data must have at least 64 points.");
}

TEST(ReferenceData, TheDefaultFileIsLookedForAtTheStart) {
  const TemporaryFolder folder;
  setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1); // nothing there
  unsetenv("VANTIFLUX_CALIBRATION_PATH");
  Rig<EqualizeNode> rig;
  EXPECT_EQ(rig.node().getState(), Node::Running);
  EXPECT_EQ(rig.node().getShortInfo(), "No reference data: all positions are zero");
  EXPECT_EQ(rig.send(makePose({1, 2, 3}, {1, 0, 0}, 1)).position, Vector());

  folder.write("calibration.cln", records(80));
  setenv("VANTIFLUX_CALIBRATION_PATH", ("/nowhere::" + folder.path().string()).c_str(), 1);
  rig.restart();
  EXPECT_EQ(rig.node().getShortInfo(), "Equalizing with 79 reference points");
  EXPECT_EQ(rig.node().getReferenceData(), records(80));
  unsetenv("VANTIFLUX_CALIBRATION_PATH");

  EXPECT_NEAR(rig.send(makePose({3, 2, 0.5F}, {1, 0, 0}, 1)).position.x, 17, 0.01F);
  const std::string saved = folder.write("saved", "");
  rig.node().saveReferenceData(saved);
  EXPECT_EQ(contents(saved), records(80));
  rig.node().saveCoefficients(saved);
  std::istringstream lines(contents(saved));
  std::vector<std::string> all;
  for (std::string line; std::getline(lines, line);)
    all.push_back(line);
  ASSERT_EQ(all.size(), 2 + 79 + 1 + 2 + 79U);
  EXPECT_EQ(all[0], "position coefficients");
  EXPECT_EQ(all[1], std::string(35, '='));
  EXPECT_EQ(all[81], "");
  EXPECT_EQ(all[82], "orientation coefficients");
  char expected[100];
  const Vector c = rig.node().getCoeffPos(0);
  std::snprintf(expected, sizeof(expected), "%8.6f %8.6f %8.6f", static_cast<double>(c.x), static_cast<double>(c.y),
                static_cast<double>(c.z));
  EXPECT_EQ(all[2], expected);
  const Matrix o = rig.node().getCoeffOri(78);
  std::snprintf(expected, sizeof(expected), "%8.6f %8.6f %8.6f \t %8.6f %8.6f %8.6f", static_cast<double>(o[0]),
                static_cast<double>(o[4]), static_cast<double>(o[8]), static_cast<double>(o[1]),
                static_cast<double>(o[5]), static_cast<double>(o[9]));
  EXPECT_EQ(all.back(), expected);
}

} // namespace
