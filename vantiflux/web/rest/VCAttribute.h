#pragma once

#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/BasicInSlot.h>
#include <vantiflux/core/BasicOutSlot.h>
#include <vantiflux/core/Field.h>
#include <vantiflux/web/rest/BasicType.h>
#include <vantiflux/web/rest/SlotText.h>
#include <vantiflux/web/rest/VCType.h>

namespace REST {

/// A field, an in-slot or an out-slot of a node as a resource.
class VANTIFLUX_API VCAttribute final : public VCType {
public:
  enum class Kind { Field, InSlot, OutSlot };

  /// Looks among the fields, then the in-slots, then the out-slots for exactly this name. Throws for an unknown one,
  /// and what reading the field throws. Describing an in-slot may take a value out of it (see getBasicType).
  VCAttribute(Vantiflux::Node* node, const std::string& name);

  void toJSON(Reply& reply) override;
  /// Leaves the status as it is.
  void toXML(Reply& reply) override;
  /// The format is "data." and what follows the first point of what the client asked for; nothing after the point
  /// stands for the first format that the attribute is read in. Throws for one that it is not read in.
  void data(Reply& reply, const std::string& format) override;
  /// Of an out-slot, waiting for a delivery under way, in the course of a SlotVisit as well.
  void hold() override;

  void dataToString(Reply& reply);
  void dataToJson(Reply& reply);
  void dataToXML(Reply& reply);
  /// Raw bytes in host order, for "float" and "int"; nothing for any other format.
  void dataToBinary(Reply& reply, const std::string& format);

  /// Puts the value that a text stands for into an in-slot, running the slot's listeners. Does nothing for a field, an
  /// out-slot and a type that has no way in. Throws for a text that is no value of the type, and when the slot is gone.
  ///
  /// The slot is found under the lock of structure, which is left then: the listeners run in the course of a SlotVisit.
  void write(const std::string& text);

  /// The slot at the place of this one, of the same type; null when there is none. Need TreeAccess.
  Vantiflux::BasicInSlot* findInSlot() const;
  Vantiflux::BasicOutSlot* findOutSlot() const;

  Kind getKind() const noexcept { return kind_; }
  const std::string& getName() const noexcept { return name_; }
  const BasicType& getType() const noexcept { return type_; }
  const std::vector<std::string>& getInput() const noexcept { return input_; }
  const std::vector<std::string>& getOutput() const noexcept { return output_; }
  /// The value that the field had.
  const std::string& getFieldValue() const noexcept { return fieldValue_; }

private:
  bool isField(Vantiflux::Node& node);
  bool isInSlot(const Vantiflux::Node& node);
  bool isOutSlot(const Vantiflux::Node& node);
  std::string valueText();
  std::string missing() const;

  const std::string name_;
  Kind kind_ = Kind::Field;
  BasicType type_;
  std::vector<std::string> input_;  ///< the formats in which it can be written
  std::vector<std::string> output_; ///< and read
  std::string fieldValue_;
  const std::type_info* valueType_ = nullptr; ///< of a slot
  std::unique_ptr<HeldValue> held_;           ///< of an out-slot
};

} // namespace REST
