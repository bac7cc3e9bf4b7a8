#include <vector>

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

// Names of types are HTML as they are.
template <class Entry>
void addRows(const std::vector<Entry>& slots, const char* none, std::string& out) {
  std::size_t number = 0;
  for (const Entry& entry : slots) {
    const std::string& description = entry.slot->getDescription();
    ++number;
    out += std::string("      <TR CLASS=") + Html::rowClass(number) + "><TD ALIGN=RIGHT>" + std::to_string(number) +
           "</TD><TD>" + escape(entry.label) + "</TD><TD>" + entry.slot->getTypeName() + "</TD><TD>" +
           (description.empty() ? "[NA]" : escape(description)) + "</TD></TR>\n";
  }
  if (slots.empty())
    out += std::string("      <TR CLASS=odd><TD COLSPAN=4>No ") + none + " defined.</TD></TR>\n";
  out += "    </TABLE>\n    </P>\n  </BODY>\n</HTML>\n";
}

} // namespace

int WebNode::createOutSlotPage(const Request& request, Reply& reply) {
  const std::string space = parameter(request, "namespace");
  const std::string filter = request.query.getParam("filter", "*");
  createHeader("OutSlots", space, Below, reply.body);
  reply.body += introduction("OutSlots", space, filter);
  const TreeAccess access(*this, TreeAccess::Read);
  std::vector<LabeledOutSlot> slots;
  access.find(space).getOutSlots(filter, slots);
  addRows(slots, "outslots", reply.body);
  return sendPage(reply);
}

int WebNode::createInSlotPage(const Request& request, Reply& reply) {
  const std::string space = parameter(request, "namespace");
  const std::string filter = request.query.getParam("filter", "*");
  createHeader("InSlots", space, Below, reply.body);
  reply.body += introduction("InSlots", space, filter);
  const TreeAccess access(*this, TreeAccess::Read);
  std::vector<LabeledInSlot> slots;
  access.find(space).getInSlots(filter, slots);
  addRows(slots, "inslots", reply.body);
  return sendPage(reply);
}

} // namespace Vantiflux
