#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/InSlot.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/core/ThreadedNode.h>
#include <vantiflux/filters/GestureReader.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

/// Recognizes gestures of a hand-held controller by its acceleration and its buttons.
///
/// | Slot       | Direction | Type          |                                                                      |
/// |------------|-----------|---------------|----------------------------------------------------------------------|
/// | "test"     | out       | `bool`        | never written                                                        |
/// | "distance" | out       | `float`       | how far the gesture is from the template that is most alike          |
/// | "gesture"  | out       | `float`       | the number of its class, 0 for none (see DTW::mydtw)                  |
/// | "butA"     | in        | `bool`        | when recording: held during a gesture, whose template is then printed |
/// | "butB"     | in        | `bool`        | when checking: prints the thresholds                                 |
/// | "butOne"   | in        | `bool`        | when checking: back to recording                                     |
/// | "butTwo"   | in        | `bool`        | when recording: on to checking                                       |
/// | "butHome"  | in        | `bool`        | when recording: prints a line                                        |
/// | "acc"      | in        | `Vec3<float>` | in units of the acceleration of the earth                            |
///
/// The slots are there while the node is enabled. It records at first.
///
/// Fields: "TemplateFolder", which counts from the next start on: the folder of the templates, looked for as
/// DTW::mydtw::findFolder says; docs/gestures.md tells how templates are made. "randMax" has no effect.
///
/// What it finds is printed on the standard output.
///
/// *Threads.* The writers of the in-slots leave what they write in a queue, in order. The worker takes it from there,
/// every 10 ms; a stop ends what it does at once.
///
/// *Failure.* There is none: without templates every gesture is unknown, and infinitely far. The log tells what of the
/// templates was not found, and what came faster than it could be taken.
class VANTIFLUX_API DTWNode : public ThreadedNode, public NodeDescription<DTWNode> {
public:
  DTWNode();
  ~DTWNode() override;

  const NodeType* type() const override;
  void newData(BasicInSlot& slot) override;

  void setRandMax(float value) { randMax_.set(value); }
  float getRandMax() const { return randMax_.get(); }
  void setTemplateFolder(const std::string& folder) { templateFolder_.set(folder); }
  std::string getTemplateFolder() const { return templateFolder_.get(); }

protected:
  void initialize() override;
  void shutdown() override;
  int thread() override;
  /// The body of the worker.
  void processData();

private:
  using Button = GestureReader::Button;
  static constexpr std::size_t maxQueued = 100000;

  /// What was written to an in-slot.
  struct Event {
    InSlot<bool>* button; ///< null: an acceleration
    bool down;
    Vec3<float> acceleration;
  };
  struct ButtonSlot {
    const char* label;
    Button button;
    InSlot<bool> slot;
  };

  void handle(GestureReader& reader, const Event& event);
  void logTemplates(const DTW::mydtw& known);

  Setting<float> randMax_{10};
  Setting<std::string> templateFolder_{"gestures"};
  std::atomic<std::int32_t> mode_{GestureReader::RecordTemplates}; ///< set by `initialize` and by the worker

  OutSlot<bool> test_{"test"};
  OutSlot<float> distance_{"distance of gesture"};
  OutSlot<float> gesture_{"Recognized gesture"};
  std::array<ButtonSlot, 5> buttons_{{{"butA", Button::A, InSlot<bool>("Button A data")},
                                      {"butB", Button::B, InSlot<bool>("Button B data")},
                                      {"butOne", Button::One, InSlot<bool>("Button One data")},
                                      {"butTwo", Button::Two, InSlot<bool>("Button Two data")},
                                      {"butHome", Button::Home, InSlot<bool>("Button Home data")}}};
  InSlot<Vec3<float>> acc_{"Acceleration data"};
  unsigned publication_ = 0; ///< changes when the slots are withdrawn; guarded by the lock of structure

  std::mutex queueLock_; ///< guards the queue; under it slots are read
  std::vector<Event> queue_;
  bool overflowed_ = false;
};

} // namespace Vantiflux
