#include "SnapshotCommand.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <utility>
#include <vector>

#include <vantiflux/core/Exception.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/platform/tarsil/Event.h>
#include <vantiflux/values/SlotTypes.h>

#include "PictureFile.h"
#include "SaveFile.h"
#include "StopSignals.h"
#include "TreeFile.h"
#include "Trouble.h"

namespace Host {

namespace {

using namespace Vantiflux;

/// Waits under a label of the tree for an image with pixels, the first one after those that are skipped.
class Catcher : private BasicInSlot::Listener {
public:
  Catcher(const std::string& label, unsigned skipped) : label_(label), skipped_(skipped) {
    slot_.addListener(*this);
    Root::the().addInSlot(label_, &slot_);
  }
  ~Catcher() override {
    Root::the().removeInSlot(label_, &slot_);
    slot_.removeListener(*this);
  }
  Catcher(const Catcher&) = delete;
  Catcher& operator=(const Catcher&) = delete;

  /// Null when none came in time.
  SmartPtr<Image> wait(double seconds) {
    return caught_.wait(static_cast<int>(std::lround(seconds * 1000))) ? image_ : SmartPtr<Image>();
  }

private:
  void newData(BasicInSlot& /*slot*/) override {
    if (slot_.empty() || image_)
      return;
    SmartPtr<Image> image = slot_.pop().getValue();
    if (!image || image->size() == 0)
      return;
    if (skipped_ > 0) {
      --skipped_;
      return;
    }
    image_ = std::move(image);
    caught_.set();
  }

  const std::string label_;
  InSlot<SmartPtr<Image>> slot_{"A snapshot"};
  unsigned skipped_; ///< this and the next are the writer's, until the event is set
  SmartPtr<Image> image_;
  Tarsil::Event caught_;
};

// Whether anything can come at all; empty if nothing is known to be wrong.
std::string mistakeIn(const std::string& label) {
  const Root::ReadLock lock;
  std::vector<LabeledOutSlot> sources;
  Root::the().getRoutedOutSlots(label, sources);
  const auto isImage = [](const LabeledOutSlot& source) { return source.slot->getTypeID() == typeid(SmartPtr<Image>); };
  if (sources.empty() || std::any_of(sources.begin(), sources.end(), isImage))
    return {};
  return "what arrives under \"" + label + "\" is no image, but of type " + sources.front().slot->getTypeName();
}

[[noreturn]] void reportSilence(const SnapshotOptions& options) {
  const Root::ReadLock lock;
  std::vector<LabeledOutSlot> sources;
  Root::the().getRoutedOutSlots(options.label, sources);
  std::ostringstream text;
  text << (sources.empty() ? "nothing" : "no image") << " arrived under \"" << options.label << "\" within "
       << options.seconds << " s";
  for (const std::string& line : troubleIn(Root::the()))
    text << "; " << line;
  throw Exception(text.str());
}

} // namespace

void takeSnapshot(const SnapshotOptions& options) {
  const PictureKind kind = pictureKindOf(options.file);
  const StopSignals signals; // never armed: the first signal ends the process
  const ClearAtEnd clear;
  loadTree(options.tree);
  if (const std::string mistake = mistakeIn(options.label); !mistake.empty())
    throw Exception(mistake);
  Catcher catcher(options.label, options.skipped);
  const SmartPtr<Image> image = catcher.wait(options.seconds);
  if (!image)
    reportSilence(options);
  saveText(options.file, encodePicture(*image, kind));
}

} // namespace Host
