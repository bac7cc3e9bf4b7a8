#include "ScaleNode.h"

#include <iterator>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/values/SlotTypes.h>

namespace Example {

using namespace Vantiflux;

const char* const ScaleNode::typeName_ = "Scale";
const char* const ScaleNode::author_ = "You";
const char* const ScaleNode::shortDescription_ = "Multiplies numbers.";
const char* const ScaleNode::longDescription_ = "Multiplies each number that comes in by a factor and passes it on.";

using N = ScaleNode;
Field ScaleNode::fields_[] = {
    fieldRow<N>("Factor", "What to multiply by.", "1", &N::setFactor, &N::getFactor),
};
NodeType ScaleNode::type_(typeName_, &ScaleNode::create, author_, shortDescription_, longDescription_, fields_,
                          std::size(fields_));

Node* ScaleNode::create() {
  return new ScaleNode;
}

ScaleNode::ScaleNode() : in_("What to multiply"), out_("The product") {
  attachSlot("In", in_); // from here on it tells of new data, and of its use
  attachSlot("Out", out_);
  publishSlots();
}

// While the slots still stand: whoever is connected to them must be gone first.
ScaleNode::~ScaleNode() {
  disable();
}

void ScaleNode::newData(BasicInSlot&) {
  const Data<float> data = in_.pop();
  out_.push(Data<float>(data.getValue() * getFactor(), data.getTimeStamp()));
}

} // namespace Example
