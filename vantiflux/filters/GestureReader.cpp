#include <vantiflux/filters/GestureReader.h>

#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>
#include <utility>

namespace Vantiflux {

namespace {

constexpr std::size_t window = 5;
constexpr std::size_t advance = 3;
constexpr std::size_t samplesToBegin = 8;
constexpr std::size_t samplesToEnd = 14;

/// The length of a smoothed sample.
double lengthAt(const DTW::Template& series, std::size_t i) {
  return std::sqrt(series[0][i] * series[0][i] + series[1][i] * series[1][i] + series[2][i] * series[2][i]);
}

bool isAtRest(double length) {
  return length >= 10.5 && length <= 11.8;
}

/// What is no number is neither at rest nor moving.
bool isMoving(double length) {
  return length < 10.5 || length > 11.8;
}

/// Puts parts together as a line.
template <class... Parts>
std::string line(const Parts&... parts) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  (text << ... << parts);
  return text.str();
}

} // namespace

GestureReader::GestureReader(const DTW::mydtw& known, std::atomic<std::int32_t>& mode, Events events)
    : known_(known), mode_(mode), events_(std::move(events)) {}

DTW::Template GestureReader::smooth(const DTW::Template& raw) {
  DTW::Template smoothed(3);
  for (std::size_t k = 0; k < 3; ++k) {
    const DTW::Series& series = raw[k];
    if (series.size() < window)
      for (const double value : series)
        smoothed[k].push_back(quantize(value));
    for (std::size_t begin = 0; begin + window <= series.size(); begin += advance) {
      double sum = 0;
      for (std::size_t i = begin; i < begin + window; ++i)
        sum += series[i];
      smoothed[k].push_back(quantize(sum / window));
    }
  }
  return smoothed;
}

void GestureReader::clear() {
  for (DTW::Series& series : raw_)
    series.clear();
}

void GestureReader::press(Button button, bool down) {
  if (recording_ && button == Button::A) {
    recording_ = down;
    if (!down)
      endRecording();
  } else {
    pressed(button) = down;
  }
  heed();
}

/// Takes what is pressed, in the order of the mode, and in that of the next one if it changes.
void GestureReader::heed() {
  for (std::int32_t heeded = -1; !recording_ && mode_ != heeded;) {
    heeded = mode_;
    if (heeded == RecordTemplates)
      heedWhileRecording();
    else
      heedWhileChecking();
  }
}

bool GestureReader::takePress(Button button) {
  return std::exchange(pressed(button), false);
}

void GestureReader::heedWhileRecording() {
  if (takePress(Button::Two)) {
    mode_ = CheckGesture;
    print("changed to Check Gesture Mode");
    changed_ = true;
  } else if (takePress(Button::Home)) {
    print("file_counter reseted");
  }
  if (!takePress(Button::A))
    return;
  recording_ = true;
  if (samples() == maxSamples)
    reportFull();
  takeWaiting();
}

void GestureReader::heedWhileChecking() {
  if (std::exchange(changed_, false))
    clear();
  if (takePress(Button::One)) {
    mode_ = RecordTemplates;
    print("changed to Record Templates Mode");
  }
  if (takePress(Button::B))
    for (std::size_t i = 0; i < known_.thresholds().size(); ++i)
      print(line("treshold[", i, "]: ", known_.thresholds()[i]));
  takeWaiting();
}

void GestureReader::takeWaiting() {
  for (const Vec3<float>& sample : std::exchange(waiting_, {}))
    accelerate(sample);
}

void GestureReader::reportFull() {
  events_.trouble("Of the gesture, no more than " + std::to_string(maxSamples) + " samples are recorded");
}

void GestureReader::endRecording() {
  const DTW::Template smoothed = smooth(raw_);
  for (std::size_t i = 0; i < smoothed[0].size(); ++i)
    print(line(smoothed[0][i], " - ", smoothed[1][i], " - ", smoothed[2][i], " - ", lengthAt(smoothed, i)));
  print("");
}

void GestureReader::accelerate(const Vec3<float>& acceleration) {
  if (!recording_ && mode_ == RecordTemplates) {
    waiting_ = {acceleration};
    return;
  }
  if (samples() == maxSamples) {
    if (recording_)
      return;
    events_.trouble("A gesture of more than " + std::to_string(maxSamples) + " samples was given up");
    clear();
    active_ = false;
  }
  raw_[0].push_back(acceleration.x);
  raw_[1].push_back(acceleration.y);
  raw_[2].push_back(acceleration.z);
  if (recording_ && samples() == maxSamples)
    reportFull();
  if (!recording_)
    check();
}

void GestureReader::check() {
  if (samples() < samplesToBegin)
    return;
  if (!active_ && !begins())
    return;
  if (samples() >= samplesToEnd && ends()) {
    print("gest END");
    recognize(smooth(raw_));
    clear();
    active_ = false;
  }
}

/// Whether enough of the samples move; if not, they are forgotten.
bool GestureReader::begins() {
  const DTW::Template smoothed = smooth(raw_);
  int moving = 0;
  for (std::size_t i = 0; i < smoothed[0].size(); ++i)
    moving += isMoving(lengthAt(smoothed, i)) ? 1 : 0;
  active_ = moving >= 2;
  if (active_)
    print("gest START");
  else
    clear();
  return active_;
}

/// Whether the last two smoothed samples are at rest. Only these are looked at: the windows before them do not change.
bool GestureReader::ends() {
  const std::size_t last = (samples() - window) / advance * advance;
  DTW::Template tail(3);
  for (std::size_t k = 0; k < 3; ++k)
    tail[k].assign(raw_[k].begin() + static_cast<std::ptrdiff_t>(last - advance),
                   raw_[k].begin() + static_cast<std::ptrdiff_t>(last + window));
  const DTW::Template smoothed = smooth(tail);
  return isAtRest(lengthAt(smoothed, 0)) && isAtRest(lengthAt(smoothed, 1));
}

void GestureReader::recognize(const DTW::Template& query) {
  print("gesture rec");
  const DTW::GestureResult result = known_.check_gesture(query, events_.goOn);
  if (events_.goOn && !events_.goOn())
    return;
  events_.recognized(result.gesture, result.distance);
  print(line(DTW::mydtw::gestureName(result.gesture), " - distance: ", result.distance, " - ",
             known_.thresholds()[static_cast<std::size_t>(result.gesture)]));
}

} // namespace Vantiflux
