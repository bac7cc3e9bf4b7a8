#include <memory>
#include <utility>
#include <vector>

#include <vantiflux/platform/pelorn/URLImpl.h>
#include <vantiflux/web/Html.h>
#include <vantiflux/web/NamespacePath.h>
#include <vantiflux/web/WebNodeGate.h>

namespace Vantiflux {

int WebNode::createNamespacePage(const Request& request, Reply& reply) {
  const std::string space = parameter(request, "namespace");
  const std::string query = Html::namespaceQuery(space);
  std::string label = "[Root]";
  std::string baseURL;
  {
    const TreeAccess access(*this, TreeAccess::Read);
    const Namespace& target = access.find(space);
    if (!space.empty())
      label = target.getLabel();
    const Pelorn::URL url = target.getBaseURL();
    if (!url.empty())
      baseURL = url.toString();
  }
  std::string& out = reply.body;
  createHeader("Namespace " + label, space, Here, out);
  if (!baseURL.empty())
    out += "    <P>Base URL: " + Html::escape(baseURL) + "</P>\n";
  out += "    <P><UL>\n";
  const auto item = [&](const char* page, const char* name, const char* text) {
    out += std::string("      <LI><A HREF=\"") + page + query + "\">" + name + "</A><BR>\n        " + text + "\n";
  };
  item("/SubNamespaces.html", "Subnamespaces",
       "Click here to add namespaces to or remove namespaces from this namespace");
  item("/Nodes.html", "Nodes", "Click here to add nodes to or remove nodes from this namespace");
  item("/Routes.html", "Routes", "Click here to add routes to or remove routes from this namespace");
  item("/ExternalRoutes.html", "External routes",
       "Click here to add external routes to or remove external routes from this namespace");
  item("/OutSlots.html", "OutSlots", "Click here to see the outslots that are part of this namespace");
  item("/InSlots.html", "InSlots", "Click here to see the inslots that are part of this namespace");
  item("/Save", "Save", "Click here to save the contents of this namespace to a file");
  item("/Load", "Load", "Click here to load the contents of this namespace from a file");
  out += "    </UL></P>\n  </BODY>\n</HTML>\n";
  return sendPage(reply);
}

int WebNode::createSubNamespacesPage(const Request& request, Reply& reply) {
  const std::string space = parameter(request, "namespace");
  std::string& out = reply.body;
  createHeader("Subnamespaces", space, Below, out);
  out += "    <P>\n    The current namespace contains the following subnamespaces:\n    </P>\n    <P>\n"
         "      <TABLE CELLSPACING=1 CELLPADDING=3 BORDER=0>\n"
         "      <TR><TH>Nr</TH><TH>Name</TH><TH>&nbsp;</TH></TR>\n";
  {
    const TreeAccess access(*this, TreeAccess::Read);
    std::size_t number = 0;
    for (const Namespace* const child : access.find(space).getNamespaces()) {
      const std::string& label = child->getLabel();
      ++number;
      out += std::string("      <TR CLASS=") + Html::rowClass(number) + "><TD ALIGN=RIGHT>" + std::to_string(number) +
             "</TD><TD>" +
             Html::link("/Namespace.html", Html::query({{"namespace", NamespacePath::join(space, label)}}), label) +
             "</TD><TD>" +
             Html::link("RemoveNamespace.html", Html::query({{"namespace", space}, {"label", label}}), "remove") +
             "</TD></TR>\n";
    }
    if (number == 0)
      out += "      <TR CLASS=odd><TD COLSPAN=3>No namespaces defined.</TD></TR>\n";
  }
  out +=
      "      </TABLE>\n    </P>\n    <P>\n    Click on the name of a subnamespace to make this namespace\n"
      "    the current namespace. Click on remove to remove a subnamespace\n    with all that it contains.\n    </P>\n"
      "    <HR>\n    <H2>Create a new namespace</H2>\n    <FORM ACTION=CreateNamespace.html>\n      <P>\n"
      "      <LABEL FOR=label>Label</LABEL>\n      <INPUT TYPE=text NAME=label ID=label>\n"
      "      A unique name that is used to identify the namespace.\n      </P>\n"
      "      <INPUT TYPE=hidden NAME=namespace VALUE=\"" +
      Html::escape(space) + "\">\n      <INPUT TYPE=submit VALUE=Create>\n    </FORM>\n  </BODY>\n</HTML>\n";
  return sendPage(reply);
}

int WebNode::createCreateNamespacePage(const Request& request, Reply& reply) {
  const std::string label = parameter(request, "label");
  return change("/SubNamespaces.html", parameter(request, "namespace"), "Cannot create namespace: ", reply,
                [&](Namespace& parent) {
                  checkTexts(request);
                  NamespacePath::checkDepthBelow(parent);
                  auto added = std::make_unique<Namespace>();
                  const std::string name = label.empty() ? added->typeName() : label;
                  parent.addNamespace(name, std::move(added));
                });
}

// Also removes nodes: "stop" in the list of nodes means this. What is removed may be this very node.
int WebNode::createRemoveNamespacePage(const Request& request, Reply& reply) {
  const bool isNamespace = request.path == "/RemoveNamespace.html";
  return change(isNamespace ? "/SubNamespaces.html" : "/Nodes.html", parameter(request, "namespace"),
                "Cannot remove namespace: ", reply,
                [label = parameter(request, "label")](Namespace& parent) { parent.removeNamespace(label).reset(); });
}

} // namespace Vantiflux
