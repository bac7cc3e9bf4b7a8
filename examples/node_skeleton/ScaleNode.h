#pragma once

#include <string>

#include <vantiflux/core/Field.h>
#include <vantiflux/core/InSlot.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeType.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/values/TypeName.h>

namespace Example {

/// Multiplies what it gets. Copy this pair of files to begin a filter of your own.
///
/// | Slot  | Direction | Type    |                          |
/// |-------|-----------|---------|--------------------------|
/// | "In"  | in        | `float` | what to multiply         |
/// | "Out" | out       | `float` | the product, stamped as the value that came in |
///
/// | Field    | Default |                  |
/// |----------|---------|------------------|
/// | "Factor" | 1       | what to multiply by; may be set while values flow |
///
/// *Threads.* No thread of its own: it works in the writer's.
class ScaleNode : public Vantiflux::Node {
public:
  ScaleNode();
  ~ScaleNode() override;

  const Vantiflux::NodeType* type() const override { return &type_; }
  void newData(Vantiflux::BasicInSlot& slot) override;

  void setFactor(float factor) { factor_.set(factor); }
  float getFactor() const { return factor_.get(); }

  static Vantiflux::Node* create();

private:
  Vantiflux::InSlot<float> in_;
  Vantiflux::OutSlot<float> out_;
  Vantiflux::Setting<float> factor_{1.0F};

  static const char* const typeName_;
  static const char* const author_;
  static const char* const shortDescription_;
  static const char* const longDescription_;
  static Vantiflux::Field fields_[];
  static Vantiflux::NodeType type_;
};

} // namespace Example
