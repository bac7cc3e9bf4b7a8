#include <vantiflux/web/rest/VCElement.h>

#include <cstdint>
#include <stdexcept>

#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/web/rest/BasicType.h>

namespace REST {

using namespace Vantiflux;

VCElement::VCElement(Node* node) : VCType(node), id_(node->getLabel()), type_(node->typeName()) {
  gatherAttributes(node, attributes_);
  gatherRelations(node, relations_);
}

// The relations are this fixed text, whatever routes the node has.
void VCElement::toXML(Reply& reply) {
  reply.status = 200;
  reply.headers.setParam("Content-Type", "text/xml; charset=utf-8");
  reply.body += "<Element id=\"" + id_ + "\" type=\"" + type_ +
                "\" length=\"1\" cardinality=\"single\">\n"
                "  <Attributes>\n"
                "    " +
                commaSeparate(attributes_) +
                "\n"
                "  </Attributes>\n"
                "  <Relations>\"Routes\"</Relations>\n"
                "  <Input></Input>\n"
                "  <Output></Output>\n"
                "</Element>\n";
}

void VCElement::toJSON(Reply& reply) {
  reply.status = 200;
  reply.headers.setParam("Content-Type", "text/json; charset=utf-8");
  reply.body += "{\n"
                "  \"id\": \"" +
                id_ +
                "\",\n"
                "  \"type\": \"" +
                type_ +
                "\",\n"
                "  \"length\": 1,\n"
                "  \"cardinality\": \"single\",\n"
                "  \"attributes\": [\n"
                "    " +
                commaSeparate(attributes_) +
                "\n"
                "  ],\n"
                "  \"relations\": [ \"routes\" ],\n"
                "  \"input\": [ ],\n"
                "  \"output\": [ ]\n"
                "}\n";
}

void VCElement::data(Reply&, const std::string& format) {
  throw std::runtime_error("Conversion format " + format + " not supported");
}

void gatherAttributes(Node* node, std::vector<std::string>& attributes) {
  if (const NodeType* const type = node->type())
    for (std::uint32_t i = 0; i < type->getNumFields(); ++i)
      attributes.push_back(type->getFields()[i].getName());
  std::vector<LabeledInSlot> inSlots;
  node->getInSlots("*", inSlots);
  for (const LabeledInSlot& entry : inSlots)
    if (getBasicType<BasicInSlot, InSlot>(entry.slot).name != "invalid")
      attributes.push_back(entry.label);
  std::vector<LabeledOutSlot> outSlots;
  node->getOutSlots("*", outSlots);
  for (const LabeledOutSlot& entry : outSlots)
    if (getBasicType<BasicOutSlot, OutSlot>(entry.slot).name != "invalid")
      attributes.push_back(entry.label);
}

void gatherRelations(Node* node, std::vector<std::string>& relations) {
  std::vector<Namespace::Route> routes;
  node->getRoutes(routes);
  for (const Namespace::Route& route : routes) {
    relations.push_back(route.from);
    relations.push_back(route.to);
  }
}

} // namespace REST
