#include <vantiflux/filters/DTW.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <platform/support.h>
#include <vantiflux/filters/GestureReader.h>

namespace {

using namespace Vantiflux;
using DTW::mydtw;
using DTW::Series;
using Path = std::vector<DTW::pair>;

const double infinity = std::numeric_limits<double>::infinity();

TEST(Quantize, HasTheLevels) {
  const std::vector<std::pair<double, double>> levels{
      {0, 0},   {0.05, 1}, {0.1, 2},  {0.15, 2}, {0.2, 3},  {0.3, 4},  {0.4, 5},  {0.5, 6},  {0.6, 7},  {0.7, 8},
      {0.8, 9}, {0.9, 10}, {1.0, 11}, {1.1, 11}, {1.2, 12}, {1.4, 13}, {1.6, 14}, {1.8, 15}, {2.0, 16}, {99, 16},
  };
  for (const auto& [value, level] : levels) {
    EXPECT_EQ(quantize(value), level) << value;
    EXPECT_EQ(quantize(-value), -level) << value;
    if (value > 0) {
      EXPECT_LE(quantize(std::nextafter(value, 0)), level);
    }
  }
  EXPECT_EQ(quantize(infinity), 16);
  EXPECT_EQ(quantize(std::nextafter(1.2, 0)), 11);
  EXPECT_TRUE(std::isnan(quantize(std::nan(""))));
}

TEST(SingleDTW, FindsTheWay) {
  EXPECT_EQ(mydtw::singledtw({1, 2, 3}, {1, 2, 3}).distance, 0);
  EXPECT_EQ(mydtw::singledtw({1, 2, 3}, {1, 2, 3}).path, (Path{{0, 0}, {1, 1}, {2, 2}}));
  // The second one dwells.
  const auto dwelling = mydtw::singledtw({1, 5}, {1, 1, 1, 5});
  EXPECT_EQ(dwelling.distance, 0);
  EXPECT_EQ(dwelling.path, (Path{{0, 0}, {0, 1}, {0, 2}, {1, 3}}));
  const auto first = mydtw::singledtw({1, 4, 4, 9}, {1, 4, 9});
  EXPECT_EQ(first.distance, 0);
  EXPECT_EQ(first.path, (Path{{0, 0}, {1, 1}, {2, 1}, {3, 2}}));
  EXPECT_EQ(mydtw::singledtw({7}, {1, 2}).distance, 11);
  EXPECT_EQ(mydtw::singledtw({1, 2}, {7}).path, (Path{{0, 0}, {1, 0}}));
  // Where all ways cost the same, it goes straight.
  EXPECT_EQ(mydtw::singledtw({0, 0, 0}, {0, 0, 0, 0}).path, (Path{{0, 0}, {0, 1}, {1, 2}, {2, 3}}));
  EXPECT_EQ(mydtw::singledtw({}, {1}).distance, infinity);
  EXPECT_EQ(mydtw::singledtw({1}, {}).path, Path());
}

class Templates : public testing::Test {
protected:
  void store(const std::string& gesture, const std::string& text) {
    std::filesystem::create_directories(folder_.path() / gesture);
    folder_.write(gesture + "/" + std::to_string(counts_[gesture]++) + ".csv", text);
  }
  static std::string textOf(const DTW::Template& series) {
    std::string text;
    for (std::size_t i = 0; i < series[0].size(); ++i)
      text += std::to_string(i) + "," + std::to_string(series[0][i]) + "," + std::to_string(series[1][i]) + "," +
              std::to_string(series[2][i]) + "\n";
    return text;
  }
  std::string path() const { return folder_.path().string(); }

  const test::TemporaryFolder folder_;
  std::map<std::string, int> counts_;
};

TEST_F(Templates, AreReadAsTheyStand) {
  store("xs", "0,1,-2,3\r\n1,4,5.5,nonsense\n2,6\n\n3,7,8,9,ignored,10,11,12\n");
  const std::string file = path() + "/xs/0.csv";
  EXPECT_TRUE(DTW::fileExists(file.c_str()));
  EXPECT_FALSE(DTW::fileExists(path().c_str()));
  EXPECT_FALSE(DTW::fileExists((file + "x").c_str()));
  EXPECT_EQ(DTW::csvReader(file.c_str()), (DTW::Template{{1, 4, 6, 7, 10}, {-2, 5.5, 8, 11}, {3, 0, 9, 12}}));
  EXPECT_EQ(DTW::csvReader("/nowhere"), DTW::Template(3));
  folder_.write("xs/1.csv", std::string((1 << 20) + 1, '1'));
  EXPECT_EQ(DTW::csvReader((path() + "/xs/1.csv").c_str()), DTW::Template(3));
  store("zets", "");
  store("zets", "");
  folder_.write("zets/3.csv", "0,1,1,1\n"); // behind a gap
  const mydtw known(path());
  EXPECT_EQ(known.templates().size(), 10u);
  EXPECT_EQ(known.templates()[4].size(), 2u);
  EXPECT_EQ(known.templates()[1].size(), 2u);
  EXPECT_EQ(known.thresholds(), std::vector<double>(11, 100.0));
}

TEST_F(Templates, AreLookedFor) {
  std::filesystem::create_directories(folder_.path() / "mine" / "throws");
  folder_.write("mine/throws/0.csv", "0,1,1,1\n");
  EXPECT_EQ(mydtw("mine").templates()[3].size(), 0u);
  setenv("VANTIFLUX_GESTURE_PATH", ("/nowhere:" + path()).c_str(), 1);
  EXPECT_EQ(mydtw("mine").templates()[3].size(), 1u);
  EXPECT_EQ(mydtw::findFolder("mine"), path() + "/mine");
  unsetenv("VANTIFLUX_GESTURE_PATH");
}

TEST_F(Templates, DecideWhichGestureItIs) {
  const auto line = [](double value) { return DTW::Template(3, Series(10, value)); };
  const mydtw none(path());
  EXPECT_EQ(none.check_gesture(line(1)).distance, infinity);
  EXPECT_EQ(none.check_gesture(line(1)).gesture, 0);
  EXPECT_TRUE(none.check_gesture(line(1)).paths.empty());
  store("squares", textOf(line(1)));
  store("squares", "0,1,1\n"); // three series of different lengths
  store("xs", textOf(line(1)));
  store("left_to_right", textOf(line(6)));
  const mydtw known(path());
  const auto exact = known.check_gesture(line(1));
  EXPECT_EQ(exact.distance, 0);
  EXPECT_EQ(exact.gesture, 3); // the first of equals
  ASSERT_EQ(exact.paths.size(), 3u);
  EXPECT_EQ(exact.paths[2].size(), 10u);
  EXPECT_EQ(known.check_gesture(line(4)).distance, 60); // 30 a level: of 1 it is 90 away, of 6 it is 60
  EXPECT_EQ(known.check_gesture(line(4)).gesture, 8);
  const auto foreign = known.check_gesture(line(-3));
  EXPECT_EQ(foreign.distance, 120);
  EXPECT_EQ(foreign.gesture, 0);
  EXPECT_EQ(known.check_gesture({}).distance, infinity);
  EXPECT_EQ(known.check_gesture({{1}, {1, 2}, {}}).gesture, 0);
  // Whoever does not wait gets what there is.
  EXPECT_EQ(known.check_gesture(line(1), [] { return false; }).distance, infinity);
}

// The sums are those of whole tables, to the last bit.
TEST_F(Templates, AreComparedAlikeByBothWays) {
  std::mt19937 random(3);
  const auto series = [&random](std::size_t length) {
    DTW::Template made(3, Series(length));
    for (Series& one : made)
      for (double& value : one)
        value = static_cast<double>(random() % 33) - 16;
    return made;
  };
  std::vector<DTW::Template> patterns;
  for (const std::size_t length : {1, 2, 7, 40})
    store("circles", textOf(patterns.emplace_back(series(length))));
  const mydtw known(path());
  for (const std::size_t length : {1, 2, 5, 39, 60}) {
    const DTW::Template query = series(length);
    double best = infinity;
    for (const DTW::Template& pattern : patterns) {
      double sum = 0;
      for (std::size_t k = 0; k < 3; ++k) {
        const auto result = mydtw::singledtw(pattern[k], query[k]);
        double walked = 0;
        for (const DTW::pair& step : result.path)
          walked += std::abs(pattern[k][static_cast<std::size_t>(step.first)] -
                             query[k][static_cast<std::size_t>(step.second)]);
        EXPECT_EQ(walked, result.distance);
        sum += result.distance;
      }
      best = std::min(best, sum);
    }
    EXPECT_EQ(known.check_gesture(query).distance, best);
  }
}

TEST(GestureReader, Smooths) {
  const auto with = [](const Series& x) { return DTW::Template{x, Series(x.size(), 1), Series(x.size(), 0)}; };
  EXPECT_EQ(GestureReader::smooth(with({0.1, 0.5, 1, 2})),
            (DTW::Template{{2, 6, 11, 16}, {11, 11, 11, 11}, {0, 0, 0, 0}}));
  // Windows of five, three apart: 0 to 4 and 3 to 7.
  EXPECT_EQ(GestureReader::smooth(with({0, 0, 0, 0, 5, -5, 0, 0.5, 9, 9})), (DTW::Template{{11, 2}, {11, 11}, {0, 0}}));
  EXPECT_EQ(GestureReader::smooth(with({})), DTW::Template(3));
}

} // namespace
