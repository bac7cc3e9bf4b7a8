#include <vector>

#include <vantiflux/core/TreeLock.h>
#include <vantiflux/web/Html.h>
#include <vantiflux/web/WebNodeGate.h>

namespace Vantiflux {

namespace {

using Html::escape;
using LabelList = std::vector<std::string>;

LabelList labelsOf(const Namespace& space, Slot::Direction direction) {
  std::vector<LabeledSlot> slots;
  space.getSlots("*", direction, slots);
  LabelList labels;
  for (const LabeledSlot& slot : slots)
    labels.push_back(slot.label);
  return labels;
}

std::string input(const std::string& name, const char* label, const std::string& preset) {
  return "      <LABEL FOR=" + name + ">" + label + "</LABEL>\n      <INPUT TYPE=text NAME=" + name + " ID=" + name +
         " VALUE=\"" + escape(preset) + "\">\n";
}

std::string endOfForm(const std::string& space) {
  return Html::hiddenNamespace(space) + "      <INPUT TYPE=submit VALUE=Create>\n    </FORM>\n  </BODY>\n</HTML>\n";
}

// A cell that leads to the slots that an end of a route stands for.
std::string slotsCell(const char* page, const std::string& space, const std::string& label) {
  return std::string("<td><a href=\"") + page + "?" + Html::query({{"namespace", space}, {"filter", label}}) + "\">" +
         escape(label) + "</a></td>";
}

} // namespace

// Of all tables this one has its rows in small letters.
int WebNode::createRoutePage(const Request& request, Reply& reply) {
  const std::string space = parameter(request, "namespace");
  std::string& out = reply.body;
  createHeader("Routes", space, Below, out);
  out += "    <P>\n      <TABLE CELLSPACING=1 CELLPADDING=3 BORDER=0>\n"
         "        <tr><th>Nr</th><th>From (OutSlot)</th><th>To (InSlot)</th><th>&nbsp;</th></tr>\n";
  LabelList outSlots, inSlots;
  {
    const TreeAccess access(*this, TreeAccess::Read);
    const Namespace& target = access.find(space);
    std::vector<Route> routes;
    target.getRoutes(routes);
    std::size_t number = 0;
    for (const Route& route : routes) {
      ++number;
      out += std::string("        <tr class=\"") + Html::rowClass(number) + "\"><td align=\"right\">" +
             std::to_string(number) + "</td>" + slotsCell("OutSlots.html", space, route.from) +
             slotsCell("InSlots.html", space, route.to) + "<td><a href=\"RemoveRoute.html?" +
             Html::query({{"namespace", space}, {"from", route.from}, {"to", route.to}}) + "\">remove</a></td></tr>\n";
    }
    if (routes.empty())
      out += "        <tr class=\"odd\"><td colspan=\"4\">No Routes defined.</td></tr>\n";
    outSlots = labelsOf(target, Slot::Out);
    inSlots = labelsOf(target, Slot::In);
  }
  out += "      </TABLE>\n    </P>\n    <HR>\n    <H2>Create new route</H2>\n" + Html::menuScript({"from", "to"}) +
         "    <FORM ACTION=AddRoute.html NAME=form>\n      <P>\n" +
         input("from", "From (OutSlot)", parameter(request, "from")) +
         Html::menu("from", "Select OutSlot...", outSlots) + "      </P>\n      <P>\n" +
         input("to", "To (InSlot)", parameter(request, "to")) + Html::menu("to", "Select InSlot...", inSlots) +
         "      </P>\n" + endOfForm(space);
  return sendPage(reply);
}

int WebNode::createAddRoutePage(const Request& request, Reply& reply) {
  return change("/Routes.html", parameter(request, "namespace"), "Cannot add route: ", reply, [&](Namespace& space) {
    checkTexts(request);
    space.addRoute(parameter(request, "from"), parameter(request, "to"));
  });
}

int WebNode::createRemoveRoutePage(const Request& request, Reply& reply) {
  return change("/Routes.html", parameter(request, "namespace"), "Cannot remove route: ", reply,
                [&](Namespace& space) { space.removeRoute(parameter(request, "from"), parameter(request, "to")); });
}

int WebNode::createExternalRoutePage(const Request& request, Reply& reply) {
  const std::string space = parameter(request, "namespace");
  std::string& out = reply.body;
  createHeader("External Routes", space, Below, out);
  out += "    <P>\n      <TABLE CELLSPACING=1 CELLPADDING=3 BORDER=0>\n"
         "        <TR><TH>Nr</TH><TH>Internal</TH><TH>External</TH><TH>&nbsp;</TH></TR>\n";
  LabelList slots;
  {
    const TreeAccess access(*this, TreeAccess::Read);
    const TreeLock tree; // routes come and go without the root lock
    const Namespace& target = access.find(space);
    std::vector<ExternalRoute*> routes;
    target.getExternalRoutes(routes);
    std::size_t number = 0;
    for (const ExternalRoute* const route : routes) {
      ++number;
      const std::string query =
          Html::query({{"namespace", space}, {"internal", route->getInternal()}, {"external", route->getExternal()}});
      out += std::string("        <TR CLASS=") + Html::rowClass(number) + "><TD ALIGN=RIGHT>" + std::to_string(number) +
             "</TD><TD>" + escape(route->getInternal()) + "</TD><TD>" + escape(route->getExternal()) + "</TD><TD>" +
             Html::link("RemoveExternalRoute.html", query, "remove") + "</TD></TR>\n";
    }
    if (routes.empty())
      out += "        <TR CLASS=odd><TD COLSPAN=4>No Routes defined.</TD></TR>\n";
    slots = labelsOf(target, Slot::In);
    const LabelList more = labelsOf(target, Slot::Out);
    slots.insert(slots.end(), more.begin(), more.end());
  }
  out += "      </TABLE>\n    </P>\n    <HR>\n    <H2>Create new route</H2>\n" + Html::menuScript({"internal"}) +
         "    <FORM ACTION=AddExternalRoute.html NAME=form>\n      <P>\n" +
         input("internal", "Internal", parameter(request, "internal")) +
         Html::menu("internal", "Select Slot...", slots) + "      </P>\n      <P>\n" +
         input("external", "External", parameter(request, "external")) + "      </P>\n" + endOfForm(space);
  return sendPage(reply);
}

int WebNode::createAddExternalRoutePage(const Request& request, Reply& reply) {
  return change("/ExternalRoutes.html", parameter(request, "namespace"), "Cannot add external route: ", reply,
                [&](Namespace& space) {
                  checkTexts(request);
                  space.addExternalRoute(parameter(request, "internal"), parameter(request, "external"));
                });
}

int WebNode::createRemoveExternalRoutePage(const Request& request, Reply& reply) {
  return change("/ExternalRoutes.html", parameter(request, "namespace"), "Cannot remove external route: ", reply,
                [&](Namespace& space) {
                  space.removeExternalRoute(parameter(request, "internal"), parameter(request, "external"));
                });
}

} // namespace Vantiflux
