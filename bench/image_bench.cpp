// What images cost at 1920x1080 on one thread: every conversion step, flip and split, beside memcpy of the bytes that
// it writes and, where there is one, the nearest routine of libyuv. All three run in turns, and the best time of each
// counts, so that what else the machine does disturbs the ratios little. A ratio below 1 is better than the yardstick.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <libyuv.h>

#include <vantiflux/values/Image.h>
#include <vantiflux/values/image/ChannelSplit.h>
#include <vantiflux/values/image/Flip.h>

namespace {

using Vantiflux::Image;

constexpr int width = 1920;
constexpr int height = 1080;
constexpr std::size_t frame = std::size_t{width} * height;

using Bytes = std::vector<unsigned char>;

/// A routine of libyuv, from a frame of bytes to another one.
using Yardstick = std::function<void(const unsigned char*, unsigned char*)>;
using Work = std::function<void(const Image&, std::array<Image, 4>&)>;

struct Contestant {
  std::function<void()> run;
  double best = 1e9; // seconds

  void time() {
    for (int i = 0; i < 4; ++i) { // the first of them finds a cold cache
      const auto begin = std::chrono::steady_clock::now();
      run();
      best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    }
  }
};

void contest(benchmark::State& state, Image::Format format, std::size_t written, const Work& work,
             const Yardstick& yardstick) {
  Image source;
  source.setParameters(width, height, format);
  for (std::size_t i = 0; i < source.size(); ++i)
    source.data()[i] = static_cast<unsigned char>(i * 2654435761U >> 13);
  std::array<Image, 4> results;
  Bytes from(std::max(written, source.size()), 1);
  Bytes to(4 * frame, 1);

  Contestant ours{[&] { work(source, results); }};
  Contestant copy{[&] {
    std::memcpy(to.data(), from.data(), written);
    benchmark::ClobberMemory();
  }};
  Contestant theirs{[&] { yardstick(source.data(), to.data()); }};
  for (auto _ : state) {
    ours.time();
    copy.time();
    if (yardstick)
      theirs.time();
    state.SetIterationTime(ours.best);
  }
  state.counters["ms"] = ours.best * 1e3;
  state.counters["GB/s"] = static_cast<double>(written) / ours.best / 1e9;
  state.counters["memcpy_GB/s"] = static_cast<double>(written) / copy.best / 1e9;
  state.counters["to_memcpy"] = ours.best / copy.best;
  if (yardstick)
    state.counters["to_libyuv"] = ours.best / theirs.best;
}

void add(const std::string& name, Image::Format format, std::size_t bytesPerPixel, const Work& work,
         const Yardstick& yardstick) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    contest(state, format, bytesPerPixel * frame, work, yardstick);
  })->UseManualTime();
}

void addConversion(Image::Format from, Image::Format to, const Yardstick& yardstick = nullptr) {
  const Work work = [to](const Image& in, std::array<Image, 4>& out) { in.convertFormat(to, out[0]); };
  add(std::string(Image::format2String(from)) + "_to_" + Image::format2String(to), from, to == Image::Y800 ? 1 : 3,
      work, yardstick);
}

void addFlip(Image::Format format, std::size_t bytes, bool horizontal, bool vertical, const Yardstick& yardstick) {
  const Work work = [=](const Image& in, std::array<Image, 4>& out) {
    Vantiflux::flip(in, out[0], horizontal, vertical);
  };
  const std::string axes = std::string(horizontal ? "h" : "") + (vertical ? "v" : "");
  add("flip_" + axes + "_" + Image::format2String(format), format, bytes, work, yardstick);
}

void addSplit(Image::Format format, const Yardstick& yardstick = nullptr) {
  const Work work = [](const Image& in, std::array<Image, 4>& out) {
    Vantiflux::splitChannels(in, {out[0], out[1], out[2], out[3]});
  };
  add(std::string("split_") + Image::format2String(format), format, 4, work, yardstick);
}

/// A routine from one packed image to another.
using PackedRoutine = int (*)(const uint8_t*, int, uint8_t*, int, int, int);
Yardstick packed(PackedRoutine routine, int bytesIn, int bytesOut, int lines = height) {
  return [=](const unsigned char* in, unsigned char* out) {
    routine(in, bytesIn * width, out, bytesOut * width, width, lines);
  };
}

void addColorConversions() {
  addConversion(Image::BGR232, Image::RGB24);
  addConversion(Image::BGR555, Image::RGB24, packed(libyuv::ARGB1555ToARGB, 2, 4));
  addConversion(Image::BGR565, Image::RGB24, packed(libyuv::RGB565ToARGB, 2, 4));
  addConversion(Image::BGR24, Image::RGB24, packed(libyuv::RAWToRGB24, 3, 3));
  addConversion(Image::BGR32, Image::RGB24, packed(libyuv::ARGBToRAW, 4, 3));
  addConversion(Image::RGB24, Image::Y800, packed(libyuv::RAWToJ400, 3, 1));
  addConversion(Image::BGR24, Image::Y800, packed(libyuv::RGB24ToJ400, 3, 1));
  addConversion(Image::Y444, Image::Y800);
  addConversion(Image::I420, Image::Y800, [](const unsigned char* in, unsigned char* out) {
    libyuv::CopyPlane(in, width, out, width, width, height);
  });
  addConversion(Image::Y422, Image::Y800, packed(libyuv::YUY2ToY, 2, 1));
  addConversion(Image::Y411, Image::Y800);
}

void addYuvConversions() {
  for (const Image::Format format : {Image::IYU2, Image::I420, Image::YVU9, Image::Y800, Image::Y1600, Image::Y422,
                                     Image::Y411, Image::Y41P, Image::YV12, Image::YUY2})
    addConversion(format, Image::Y444);

  const Yardstick planar = [](const unsigned char* in, unsigned char* out) {
    libyuv::I420ToRAW(in, width, in + frame, width / 2, in + frame + frame / 4, width / 2, out, 3 * width, width,
                      height);
  };
  addConversion(Image::Y444, Image::RGB24, [](const unsigned char* in, unsigned char* out) {
    libyuv::I444ToRGB24(in, width, in + frame, width, in + 2 * frame, width, out, 3 * width, width, height);
  });
  addConversion(Image::IYU2, Image::RGB24);
  addConversion(Image::I420, Image::RGB24, planar);
  addConversion(Image::YVU9, Image::RGB24);
  addConversion(Image::Y800, Image::RGB24, packed(libyuv::J400ToARGB, 1, 4));
  addConversion(Image::Y1600, Image::RGB24);
  addConversion(Image::Y422, Image::RGB24, packed(libyuv::UYVYToARGB, 2, 4));
  addConversion(Image::Y411, Image::RGB24);
  addConversion(Image::Y41P, Image::RGB24);
  addConversion(Image::YV12, Image::RGB24, planar);
  addConversion(Image::YUY2, Image::RGB24, packed(libyuv::YUY2ToARGB, 2, 4));
}

void addFlipsAndSplits() {
  // A negative height turns the lines round.
  addFlip(Image::RGB24, 3, true, false, [](const unsigned char* in, unsigned char* out) {
    libyuv::CopyPlane(in, 3 * width, out, 3 * width, 3 * width, -height);
  });
  addFlip(Image::BGR565, 2, false, true, nullptr);
  addFlip(Image::RGB24, 3, false, true, packed(libyuv::RGB24Mirror, 3, 3));
  addFlip(Image::RGB32, 4, false, true, packed(libyuv::ARGBMirror, 4, 4));
  addFlip(Image::BGR565, 2, true, true, nullptr);
  addFlip(Image::RGB24, 3, true, true, packed(libyuv::RGB24Mirror, 3, 3, -height));
  addFlip(Image::RGB32, 4, true, true, packed(libyuv::ARGBMirror, 4, 4, -height));

  addSplit(Image::BGR555);
  addSplit(Image::BGR565);
  const Yardstick three = [](const unsigned char* in, unsigned char* out) {
    libyuv::SplitRGBPlane(in, 3 * width, out, width, out + frame, width, out + 2 * frame, width, width, height);
    libyuv::SetPlane(out + 3 * frame, width, width, height, 255);
  };
  addSplit(Image::BGR24, three);
  addSplit(Image::RGB24, three);
  const Yardstick four = [](const unsigned char* in, unsigned char* out) {
    libyuv::SplitARGBPlane(in, 4 * width, out, width, out + frame, width, out + 2 * frame, width, out + 3 * frame,
                           width, width, height);
  };
  addSplit(Image::BGR32, four);
  addSplit(Image::RGB32, four);
  addSplit(Image::YUY2);
}

} // namespace

int main(int argc, char** argv) {
  addColorConversions();
  addYuvConversions();
  addFlipsAndSplits();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv))
    return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
