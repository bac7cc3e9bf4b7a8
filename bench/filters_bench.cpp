// What the filters of tracker poses cost. The equaliser stands beside a plain loop over the same points, its start
// beside another library's solver. The road of a pose from the tracker's record through motion filter and threshold
// filter, slots, locks and stamps included, stands beside the same arithmetic on arrays. Ratios come at the end.
#include <array>
#include <cmath>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <Eigen/LU>
#include <benchmark/benchmark.h>

#include "filters_yardstick.h"
#include <vantiflux/core/Namespace.h>
#include <vantiflux/devices/FastrakRecord.h>
#include <vantiflux/filters/EqualizeNode.h>
#include <vantiflux/filters/MotionFilterNode.h>
#include <vantiflux/filters/ThresholdFilterNode.h>
#include <vantiflux/values/Pose.h>
#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;
using yardstick::Matrix;
using yardstick::Points;
using yardstick::Vector;

/// The same in every run.
float noise(float size) {
  static std::mt19937 random;
  return std::uniform_real_distribution<float>(-size, size)(random);
}

/// A hand that moves half of the time and is never quite still.
std::vector<Matrix> poses() {
  std::vector<Matrix> all;
  float along = 0;
  for (int i = 0; i < 4096; ++i) {
    along += i / 40 % 2 == 0 ? 0.002F : 0.0F;
    Rotation r({0.2F, 1, 0.1F}, 0.4F + along + noise(0.005F));
    all.push_back(poseMatrix({{along + noise(0.002F), noise(0.002F), 1 + noise(0.002F)}, r}));
  }
  return all;
}

/// The same as a tracker sends them.
std::vector<std::string> records() {
  std::vector<std::string> all;
  for (const Matrix& pose : poses()) {
    const auto [t, r] = splitPose(pose);
    char line[64];
    std::snprintf(line, sizeof line, "01 %7.2f%7.2f%7.2f%7.4f%7.4f%7.4f%7.4f 0\r", 100 * t.x, 100 * t.y, 100 * t.z, r.w,
                  r.x, r.y, r.z);
    all.emplace_back(line);
  }
  return all;
}

Matrix parsed(const std::string& line) {
  FastrakRecord record;
  FastrakRecord::parse(line, record);
  return poseMatrix({record.position, record.rotation});
}

/// An equaliser with that many points in the volume [-1, 1]^3.
struct Equalizer {
  explicit Equalizer(std::size_t count) {
    std::vector<Vector> reality;
    std::vector<Matrix> ori;
    for (std::size_t i = 0; i < count; ++i) {
      reality.emplace_back(noise(1), noise(1), noise(1));
      measured.emplace_back(reality[i].x + noise(0.02F), reality[i].y + noise(0.02F), reality[i].z + noise(0.02F));
      ori.push_back(poseMatrix({{}, Rotation({1, noise(1), noise(1)}, noise(0.2F))}));
    }
    node.setReferenceData(reality, measured, ori);
  }

  EqualizeNode node;
  std::vector<Vector> measured;
};

void equalizer(benchmark::State& state) {
  Equalizer e(static_cast<std::size_t>(state.range(0)));
  e.node.initCoefficients();
  const std::vector<Matrix> in = poses();
  std::size_t i = 0;
  for (auto _ : state) {
    Matrix m = in[i++ % in.size()];
    e.node.equalize(m);
    benchmark::DoNotOptimize(m);
  }
}

template <void (*equalize)(const Points&, Matrix&)>
void plainLoop(benchmark::State& state) {
  Equalizer e(static_cast<std::size_t>(state.range(0)));
  e.node.initCoefficients();
  Points points;
  points.rSquare = e.node.getRSquare();
  for (int i = 0; i < state.range(0); ++i) {
    points.measurePos.push_back(e.measured[static_cast<std::size_t>(i)]);
    points.coeffPos.push_back(e.node.getCoeffPos(i));
    points.coeffOri.push_back(e.node.getCoeffOri(i));
  }
  const std::vector<Matrix> in = poses();
  std::size_t i = 0;
  for (auto _ : state) {
    Matrix m = in[i++ % in.size()];
    equalize(points, m);
    benchmark::DoNotOptimize(m);
  }
}

void equalizerStart(benchmark::State& state) {
  Equalizer e(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state)
    e.node.initCoefficients();
}

/// The same work with Eigen: matrix, decomposition with partial pivoting, nine right sides.
void eigenStart(benchmark::State& state) {
  const Equalizer e(static_cast<std::size_t>(state.range(0)));
  const Eigen::Index n = state.range(0);
  const Eigen::MatrixXd right = Eigen::MatrixXd::Random(n, 9);
  for (auto _ : state) {
    Eigen::MatrixXd a(n, n);
    for (Eigen::Index column = 0; column < n; ++column)
      for (Eigen::Index row = 0; row < n; ++row) {
        const Vector& p = e.measured[static_cast<std::size_t>(row)];
        const Vector& q = e.measured[static_cast<std::size_t>(column)];
        const float x = p.x - q.x, y = p.y - q.y, z = p.z - q.z;
        a(row, column) = static_cast<double>(std::sqrt(x * x + y * y + z * z + 0.001F));
      }
    const Eigen::MatrixXd solutions = Eigen::PartialPivLU<Eigen::Ref<Eigen::MatrixXd>>(a).solve(right);
    benchmark::DoNotOptimize(solutions.data());
  }
}

/// A tracker's records, both filters and a reader, joined by routes.
void posePath(benchmark::State& state) {
  Namespace top;
  top.enable();
  top.addNamespace("Motion", std::make_unique<MotionFilterNode>());
  top.addNamespace("Threshold", std::make_unique<ThresholdFilterNode>());
  OutSlot<Matrix> source;
  InSlot<Matrix> reader;
  top.addOutSlot("Source", &source);
  top.addInSlot("Reader", &reader);
  top.addRoute("Source", "Motion/In 0");
  top.addRoute("Motion/Out 0", "Threshold/In 0");
  top.addRoute("Threshold/Out 0", "Reader");
  const std::vector<std::string> in = records();
  std::size_t i = 0;
  for (auto _ : state) {
    source.push(parsed(in[i++ % in.size()]));
    const Data<Matrix> out = reader.pop();
    benchmark::DoNotOptimize(&out);
  }
  state.SetItemsProcessed(state.iterations());
  top.removeOutSlot("Source", &source);
  top.removeInSlot("Reader", &reader);
}

/// The filters of one stream without a system around them, on arrays.
class BareFilters {
public:
  Matrix operator()(const Matrix& in) {
    Vector t;
    Rotation r;
    in.getTransform(t.x, t.y, t.z, r.x, r.y, r.z, r.w);
    Filter::Point p{t.x, t.y, t.z, 0};
    positions_.filter(4, p);
    Filter::Point q{r.x, r.y, r.z, r.w};
    orientations_.filter(4, q);
    const float length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    Matrix m = poseMatrix({{p[0], p[1], p[2]}, {q[0] / length, q[1] / length, q[2] / length, q[3] / length}});

    m.getTransform(t.x, t.y, t.z, r.x, r.y, r.z, r.w);
    const bool positionHeld = ThresholdFilterNode::getDistanceSq(t, lastPosition_) < 0.007F * 0.007F;
    const bool rotationHeld = ThresholdFilterNode::getDistanceSq(r, lastRotation_) < 0.0022F * 0.0022F;
    (positionHeld ? t : lastPosition_) = positionHeld ? lastPosition_ : t;
    (rotationHeld ? r : lastRotation_) = rotationHeld ? lastRotation_ : r;
    return positionHeld || rotationHeld ? poseMatrix({t, r}) : m;
  }

private:
  struct Filter : MotionFilterNode::Filter {
    using MotionFilterNode::Filter::Filter;
    using Point = MotionFilterNode::Point;
  };

  Filter positions_{33};
  Filter orientations_{33};
  Vector lastPosition_;
  Rotation lastRotation_{0, 0, 0, 1};
};

void bareArithmetic(benchmark::State& state) {
  BareFilters filters;
  const std::vector<std::string> in = records();
  std::size_t i = 0;
  for (auto _ : state) {
    const Matrix out = filters(parsed(in[i++ % in.size()]));
    benchmark::DoNotOptimize(&out);
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(equalizer)->Arg(216)->Arg(1000);
BENCHMARK(plainLoop<yardstick::exact::equalize>)->Name("plainLoop")->Arg(216)->Arg(1000);
BENCHMARK(plainLoop<yardstick::fast::equalize>)->Name("plainLoopOtherResults")->Arg(216)->Arg(1000);
BENCHMARK(equalizerStart)->Arg(216)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(eigenStart)->Arg(216)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(posePath);
BENCHMARK(bareArithmetic);

/// Compares what ran, by the fastest of the repetitions.
class Ratios : public benchmark::ConsoleReporter {
public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration)
        continue;
      const double time = run.cpu_accumulated_time / static_cast<double>(run.iterations);
      const auto [known, isNew] = times_.try_emplace(run.run_name.function_name + "/" + run.run_name.args, time);
      if (!isNew)
        known->second = std::min(known->second, time);
    }
  }

  void Finalize() override {
    std::printf("\n");
    for (const std::string size : {"216", "1000"}) {
      compare("equaliser, " + size + " points: of a plain loop", "equalizer/" + size, "plainLoop/" + size);
      compare("  of one that may round otherwise", "equalizer/" + size, "plainLoopOtherResults/" + size);
      compare("  its start: of Eigen's partial-pivoting LU", "equalizerStart/" + size, "eigenStart/" + size);
    }
    if (const double path = times_["posePath/"], bare = times_["bareArithmetic/"]; path != 0 && bare != 0)
      std::printf("%-50s %6.2f  (below 0.5 is good), %.0f poses/s\n", "pose path: share of slots, locks and stamps",
                  1 - bare / path, 1 / path);
  }

private:
  void compare(const std::string& what, const std::string& name, const std::string& yardstick) {
    const double time = times_[name], other = times_[yardstick];
    if (time != 0 && other != 0)
      std::printf("%-50s %6.2f\n", what.c_str(), time / other);
  }

  std::map<std::string, double> times_;
};

} // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv))
    return 1;
  Ratios reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
