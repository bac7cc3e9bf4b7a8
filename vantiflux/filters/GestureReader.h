#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/filters/DTW.h>
#include <vantiflux/values/Vec3.h>

namespace Vantiflux {

/// Makes gestures of what a hand-held controller reports, sample by sample. In the mode for recording it prints what
/// was measured while a button was held; in the mode for checking it finds where gestures begin and end, and which they
/// are. What it measures while recording stays, to be printed with the next gesture too, until checking begins.
///
/// A button that a mode does not know is kept in mind while it is held: the mode that knows it takes it as pressed.
///
/// A gesture is smoothed: means of five samples, three samples apart, as levels (see `quantize`). A controller at rest
/// measures one unit of acceleration, a vector of length 11; it moves when the length lies outside 10.5 to 11.8.
///
/// *Threads.* One, but for the mode, which may be set by others.
class VANTIFLUX_API GestureReader {
public:
  enum Mode : std::int32_t { RecordTemplates = 0, CheckGesture = 1 };
  enum class Button { A, B, One, Two, Home };

  /// A gesture of more samples is given up.
  static constexpr std::size_t maxSamples = 6000;

  struct Events {
    std::function<void(const std::string& line)> print;
    std::function<void(std::int32_t gesture, double distance)> recognized;
    std::function<void(const std::string& line)> trouble;
    DTW::mydtw::GoOn goOn; ///< for what takes long
  };

  GestureReader(const DTW::mydtw& known, std::atomic<std::int32_t>& mode, Events events);

  void press(Button button, bool down);
  void accelerate(const Vec3<float>& acceleration);

  /// The series of a gesture, smoothed; of fewer than five samples, each by itself.
  static DTW::Template smooth(const DTW::Template& raw);

private:
  void heed();
  void heedWhileRecording();
  void heedWhileChecking();
  bool takePress(Button button);
  bool& pressed(Button button) { return pressed_[static_cast<std::size_t>(button)]; }
  void takeWaiting();
  void endRecording();
  void reportFull();
  void check();
  bool begins();
  bool ends();
  void recognize(const DTW::Template& query);
  void clear();
  void print(const std::string& line) const { events_.print(line); }
  std::size_t samples() const { return raw_[0].size(); }

  const DTW::mydtw& known_;
  std::atomic<std::int32_t>& mode_;
  Events events_;
  std::array<bool, 5> pressed_{};    ///< held, and not yet taken by a mode that knows it
  bool changed_ = false;             ///< checking is to begin afresh
  bool recording_ = false;           ///< the button for it is held
  bool active_ = false;              ///< a gesture has begun
  std::vector<Vec3<float>> waiting_; ///< the latest sample that nothing was done with, or none
  DTW::Template raw_ = DTW::Template(3);
};

} // namespace Vantiflux
