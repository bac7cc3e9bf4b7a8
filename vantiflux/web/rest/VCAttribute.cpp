#include <vantiflux/web/rest/VCAttribute.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

#include <vantiflux/core/SlotVisit.h>
#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/web/rest/SlotMutexes.h>
#include <vantiflux/web/rest/TreeAccess.h>
#include <vantiflux/web/rest/URLPath.h>

namespace REST {

using namespace Vantiflux;

namespace {

template <class Entry>
auto slotOf(const std::vector<Entry>& entries, const std::string& label) {
  const auto found = std::find_if(entries.begin(), entries.end(), [&](const Entry& e) { return e.label == label; });
  return found == entries.end() ? nullptr : found->slot;
}

// The first entry is found by hash; it is the right one unless it is spelt in another case.
BasicInSlot* inSlotOf(const Node& node, const std::string& label) {
  const LabeledInSlot* const first = node.findInSlot(label, nullptr);
  if (first == nullptr || first->label == label)
    return first == nullptr ? nullptr : first->slot;
  std::vector<LabeledInSlot> entries;
  node.getInSlots("*", entries);
  return slotOf(entries, label);
}

BasicOutSlot* outSlotOf(const Node& node, const std::string& label) {
  const LabeledOutSlot* const first = node.findOutSlot(label, nullptr);
  if (first == nullptr || first->label == label)
    return first == nullptr ? nullptr : first->slot;
  std::vector<LabeledOutSlot> entries;
  node.getOutSlots("*", entries);
  return slotOf(entries, label);
}

/// The slot that is found under the lock of structure, if any, and a visit there, with which that lock is left.
template <class FindNode, class FindSlot>
auto visit(const FindNode& findNode, const FindSlot& findSlot) {
  const TreeAccess access;
  auto* const slot = findSlot();
  return std::pair(slot, slot == nullptr ? nullptr : std::make_unique<SlotVisit>(*findNode(), *slot));
}

/// One writer after the other: a listener takes the value that he is told of, and would wait for ever for one that
/// another writer's has taken the place of. Waited for as a delivery does: where a listener takes the slot away, those
/// who wait for their turn come to it first, and he waits for them, rather than that the slot goes under their hands.
class Turn {
public:
  explicit Turn(Slot& slot) : lock_(slot.*SlotMutexes::listeners, Tarsil::Mutex::Wait::Delivery) {}

private:
  const Tarsil::MutexLock lock_;
};

std::vector<std::string> formatsOf(const BasicType& type) {
  std::vector<std::string> formats{type.name};
  formats.insert(formats.end(), type.formats.begin(), type.formats.end());
  return formats;
}

const char* cardinalityOf(const BasicType& type) {
  return type.cardinality == BasicType::Single ? "single" : "multi";
}

} // namespace

VCAttribute::VCAttribute(Node* node, const std::string& name) : VCType(node), name_(name) {
  if (!isField(*node) && !isInSlot(*node) && !isOutSlot(*node))
    throw std::runtime_error(missing());
}

std::string VCAttribute::missing() const {
  return "Attribute '" + name_ + "' does not exist";
}

bool VCAttribute::isField(Node& node) {
  const NodeType* const nodeType = node.type();
  if (nodeType == nullptr)
    return false;
  const Field* const begin = nodeType->getFields();
  const Field* const end = begin + nodeType->getNumFields();
  if (std::none_of(begin, end, [this](const Field& field) { return field.getName() == name_; }))
    return false;
  kind_ = Kind::Field;
  fieldValue_ = node.getFieldValue(name_);
  input_ = output_ = {"string"};
  type_ = {"string", 1, BasicType::Single, {}};
  return true;
}

bool VCAttribute::isInSlot(const Node& node) {
  BasicInSlot* const slot = inSlotOf(node, name_);
  if (slot == nullptr)
    return false;
  kind_ = Kind::InSlot;
  valueType_ = &slot->getTypeID();
  type_ = getBasicType<BasicInSlot, InSlot>(slot);
  input_ = formatsOf(type_);
  return true;
}

bool VCAttribute::isOutSlot(const Node& node) {
  BasicOutSlot* const slot = outSlotOf(node, name_);
  if (slot == nullptr)
    return false;
  kind_ = Kind::OutSlot;
  valueType_ = &slot->getTypeID();
  type_ = getBasicType<BasicOutSlot, OutSlot>(slot);
  output_ = formatsOf(type_);
  return true;
}

BasicInSlot* VCAttribute::findInSlot() const {
  const Node* const node = kind_ == Kind::InSlot ? findNode() : nullptr;
  BasicInSlot* const slot = node == nullptr ? nullptr : inSlotOf(*node, name_);
  return slot != nullptr && *valueType_ == slot->getTypeID() ? slot : nullptr;
}

BasicOutSlot* VCAttribute::findOutSlot() const {
  const Node* const node = kind_ == Kind::OutSlot ? findNode() : nullptr;
  BasicOutSlot* const slot = node == nullptr ? nullptr : outSlotOf(*node, name_);
  return slot != nullptr && *valueType_ == slot->getTypeID() ? slot : nullptr;
}

void VCAttribute::toXML(Reply& reply) {
  reply.headers.setParam("Content-Type", "text/xml; charset=utf-8");
  reply.body += "<Attribute name=\"" + name_ + "\" type=\"" + type_.name + "\" length=\"" +
                std::to_string(type_.length) + "\" cardinality=\"" + cardinalityOf(type_) +
                "\">"
                "  <Input>\n"
                "    " +
                commaSeparate(input_) +
                "\n"
                "  </Input>\n"
                "  <Output>\n"
                "    " +
                commaSeparate(output_) +
                "\n"
                "  </Output>\n"
                "</Attribute>";
}

void VCAttribute::toJSON(Reply& reply) {
  reply.status = 200;
  reply.headers.setParam("Content-Type", "text/json; charset=utf-8");
  reply.body += "{\n"
                "  \"name\": \"" +
                name_ +
                "\",\n"
                "  \"type\": \"" +
                type_.name +
                "\",\n"
                "  \"length\": " +
                std::to_string(type_.length) +
                ",\n"
                "  \"cardinality\": \"" +
                cardinalityOf(type_) +
                "\",\n"
                "  \"input\": [ " +
                commaSeparate(input_) +
                " ],\n"
                "  \"output\": [ " +
                commaSeparate(output_) +
                " ]\n"
                "}\n";
}

void VCAttribute::hold() {
  if (kind_ != Kind::OutSlot || held_ != nullptr)
    return;
  const auto [slot, staying] = visit([this] { return findNode(); }, [this] { return findOutSlot(); });
  if (slot == nullptr)
    throw std::runtime_error(missing());
  held_ = REST::hold<BasicOutSlot, OutSlot>(slot);
}

// "jpg" is no case of its own: it is the name of a type, and names of types stand for bytes, of which an image has
// none.
void VCAttribute::data(Reply& reply, const std::string& format) {
  std::string base;
  std::string wanted;
  mimetype(format, base, wanted);
  if (wanted.empty() && !output_.empty())
    wanted = output_.front();
  if (std::find(output_.begin(), output_.end(), wanted) == output_.end())
    throw std::runtime_error("Conversion format " + wanted + " not supported");
  reply.status = 200;
  if (wanted == "data.jpeg" || wanted == "data.jpg") {
    reply.headers.setParam("Content-Type", "image/jpeg");
    reply.headers.setParam("Content-Encoding", "base64");
    dataToString(reply);
  } else if (wanted == "string") {
    reply.headers.setParam("Content-Type", "text/plain");
    dataToString(reply);
  } else if (wanted == "xml") {
    dataToXML(reply);
  } else if (wanted == "json") {
    dataToJson(reply);
  } else {
    reply.headers.setParam("Content-Type", "application/x-" + wanted);
    dataToBinary(reply, wanted);
  }
}

std::string VCAttribute::valueText() {
  if (kind_ == Kind::Field)
    return fieldValue_;
  hold();
  return held_ == nullptr ? std::string() : held_->text();
}

void VCAttribute::dataToString(Reply& reply) {
  if (reply.body.empty())
    reply.body = valueText();
  else
    reply.body += valueText();
}

void VCAttribute::dataToXML(Reply& reply) {
  reply.headers.setParam("Content-Type", "text/xml; charset=utf-8");
  reply.body += "<Value>" + valueText() + "</Value>\n";
}

void VCAttribute::dataToJson(Reply& reply) {
  reply.headers.setParam("Content-Type", "text/json; charset=utf-8");
  reply.body += "{\n  \"value\" : [ \"" + valueText() + "\"]\n}\n";
}

void VCAttribute::dataToBinary(Reply& reply, const std::string& format) {
  hold();
  if (held_ == nullptr)
    return;
  if (format == "float")
    reply.body += held_->floats();
  else if (format == "int")
    reply.body += held_->ints();
}

void VCAttribute::write(const std::string& text) {
  if (kind_ != Kind::InSlot)
    return;
  const std::unique_ptr<SentValue> value = parse(*valueType_, text);
  if (value == nullptr)
    return;
  const auto [slot, staying] = visit([this] { return findNode(); }, [this] { return findInSlot(); });
  if (slot == nullptr)
    throw std::runtime_error(missing());
  const Turn turn(*slot);
  value->push(*slot);
}

} // namespace REST
