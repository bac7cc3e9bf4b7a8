#include <vector>

#include <vantiflux/core/TreeLock.h>
#include <vantiflux/web/Html.h>
#include <vantiflux/web/WebNodeGate.h>

namespace Vantiflux {

namespace {

using Html::escape;

// What stands between the header and the table.
std::string introduction(const std::string& title, const std::string& space, const std::string& filter) {
  std::string out = "    <p>The following table shows all " + title + " currently defined in this Namespace";
  if (filter == "*")
    out += ".</p>\n";
  else
    out += " that match the filter \"" + escape(filter) + "\".</p>\n    <p><a href=\"" + title + ".html" +
           Html::namespaceQuery(space) + "\">Show all " + title + ".</a></p>\n";
  return out + "    <P>\n    <TABLE CELLSPACING=1 CELLPADDING=3 BORDER=0>\n"
               "      <TR><TH>Nr</TH><TH>Label</TH><TH>Type</TH><TH>Description</TH></TR>\n";
}

} // namespace

// Names of types are HTML as they are.
int WebNode::createSlotPage(Slot::Direction direction, const Request& request, Reply& reply) {
  const std::string title = direction == Slot::Out ? "OutSlots" : "InSlots";
  const std::string space = parameter(request, "namespace");
  const std::string filter = request.query.getParam("filter", "*");
  std::string& out = reply.body;
  createHeader(title, space, Below, out);
  out += introduction(title, space, filter);
  {
    const TreeAccess access(*this, TreeAccess::Read);
    const TreeLock tree; // slots come and go without the root lock
    std::vector<LabeledSlot> slots;
    access.find(space).getSlots(filter, direction, slots);
    std::size_t number = 0;
    for (const LabeledSlot& entry : slots) {
      const std::string& description = entry.slot->getDescription();
      ++number;
      out += std::string("      <TR CLASS=") + Html::rowClass(number) + "><TD ALIGN=RIGHT>" + std::to_string(number) +
             "</TD><TD>" + escape(entry.label) + "</TD><TD>" + entry.slot->getTypeName() + "</TD><TD>" +
             (description.empty() ? "[NA]" : escape(description)) + "</TD></TR>\n";
    }
    if (slots.empty())
      out += std::string("      <TR CLASS=odd><TD COLSPAN=4>No ") + (direction == Slot::Out ? "outslots" : "inslots") +
             " defined.</TD></TR>\n";
  }
  out += "    </TABLE>\n    </P>\n  </BODY>\n</HTML>\n";
  return sendPage(reply);
}

int WebNode::createOutSlotPage(const Request& request, Reply& reply) {
  return createSlotPage(Slot::Out, request, reply);
}

int WebNode::createInSlotPage(const Request& request, Reply& reply) {
  return createSlotPage(Slot::In, request, reply);
}

} // namespace Vantiflux
