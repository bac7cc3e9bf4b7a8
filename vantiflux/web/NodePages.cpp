#include <vector>

#include <vantiflux/core/InvalidNamespaceException.h>
#include <vantiflux/web/Html.h>
#include <vantiflux/web/NamespacePath.h>
#include <vantiflux/web/WebNodeGate.h>

namespace Vantiflux {

namespace {

using Html::escape;

const char* stateText(Node::State state) {
  switch (state) {
  case Node::Running:
    return "<span class=noderunning>Running</span>";
  case Node::Sleeping:
    return "<span class=nodesleeping>Sleeping</span>";
  case Node::Error:
    return "<span class=nodeerror>Error</span>";
  case Node::Disabled:
    return "Disabled";
  }
  return "[NA]";
}

void addFields(const Node& node, const NodeType* type, std::string& out) {
  out += "\n    <h2>Fields</h2>\n";
  const std::uint32_t count = type == nullptr ? 0 : type->getNumFields();
  for (std::uint32_t i = 0; i < count; ++i) {
    const Field& field = type->getFields()[i];
    out += "    <p>\n    " + escape(field.getName()) + ": " + escape(field.getAccessor().get(node)) + "<br>\n    " +
           escape(field.getDescription()) + "\n    </p>\n";
  }
  if (count == 0)
    out += "    Node does not have any fields.<p>\n";
}

void addRow(std::size_t number, const std::string& space, const Node& node, std::string& out) {
  const std::string& label = node.getLabel();
  const NodeType* const type = node.type();
  const std::string info = node.getShortInfo();
  out += std::string("      <TR CLASS=") + Html::rowClass(number) + "><TD ALIGN=RIGHT>" + std::to_string(number) +
         "</TD><TD>" + Html::link("Nodes.html", Html::query({{"node", NamespacePath::join(space, label)}}), label) +
         "</TD><TD>" + (type == nullptr ? "NA" : escape(type->getName())) + "</TD><TD>" + stateText(node.getState()) +
         "</TD><TD>" + (info.empty() ? "&nbsp;" : escape(info)) + "</TD><TD>" +
         Html::link("RemoveNode.html", Html::query({{"namespace", space}, {"label", label}}), "stop") + "</TD></TR>\n";
}

} // namespace

int WebNode::createNodePage(const Request& request, Reply& reply) {
  const std::string node = parameter(request, "node");
  if (!node.empty())
    return createNodeDetails(node, reply);
  const std::string space = parameter(request, "namespace");
  std::string& out = reply.body;
  createHeader("Nodes", space, Below, out);
  out += "    <P>\n    <TABLE CELLSPACING=1 CELLPADDING=3 BORDER=0>\n      <TR><TH>Nr</TH><TH>Name</TH><TH>Type</TH>"
         "<TH>State</TH><TH>Info</TH><TH>&nbsp;</TH></TR>\n";
  std::vector<std::string> typeNames;
  {
    const TreeAccess access(*this, TreeAccess::Read);
    std::size_t number = 0;
    for (const Namespace* const child : access.find(space).getNamespaces())
      if (const auto* const listed = dynamic_cast<const Node*>(child))
        addRow(++number, space, *listed, out);
    if (number == 0)
      out += "      <TR CLASS=odd><TD COLSPAN=6>No nodes defined.</TD></TR>\n";
    std::vector<NodeType*> types;
    NodeType::getTypes(types);
    for (const NodeType* const type : types)
      typeNames.push_back(type->getName());
  }
  out +=
      "    </TABLE>\n    </P>\n    <HR>\n    <H2>Create new node</H2>\n" + Html::menuScript({"name"}) +
      "    <FORM ACTION=/NodeTypes.html NAME=form>\n      <P>\n      Enter the type of Node you wish to create below,\n"
      "      or <A HREF=\"/NodeTypes.html" +
      Html::namespaceQuery(space) +
      "\">click here to\n      get a more detailed list of available Node types</A>\n      </P>\n      <P>\n"
      "      <LABEL FOR=name>Type</LABEL>\n      <INPUT TYPE=text NAME=name ID=name>\n" +
      Html::menu("name", "Select type...", typeNames) + "      </P>\n" + Html::hiddenNamespace(space) +
      "      <INPUT TYPE=submit VALUE=Create>\n    </FORM>\n  </BODY>\n</HTML>\n";
  return sendPage(reply);
}

int WebNode::createNodeDetails(const std::string& path, Reply& reply) {
  std::string& out = reply.body;
  createHeader("Node " + path, path, Below, out);
  {
    const TreeAccess access(*this, TreeAccess::Read);
    const auto* const node = dynamic_cast<const Node*>(&access.find(path));
    if (node == nullptr)
      throw InvalidNamespaceException("\"" + path + "\" is not a node");
    const std::string info = node->getShortInfo();
    out += std::string("    <p>\n    Status: ") + stateText(node->getState()) +
           (info.empty() ? std::string() : " - " + escape(info));
    const NodeType* const type = node->type();
    out += "\n    <h2>Type Information</h2>\n    Type: " + (type == nullptr ? "NA" : escape(type->getName())) +
           "<br>\n    Author: " + (type == nullptr ? std::string() : escape(type->getAuthor())) + "<br>\n    " +
           (type == nullptr ? std::string() : Html::descriptionOf(*type));
    addFields(*node, type, out);
    const std::string details = node->getDetailedInfo(); // HTML, by the node's own making
    out += "    <h2>Detailed Information</h2>\n" +
           (details.empty() ? "    No detailed information available.<p>\n" : details);
    out += "    <h2>Log</h2>\n";
    std::vector<std::string> log;
    node->getLog(log);
    for (const std::string& line : log)
      out += "    " + escape(line) + "<br>\n";
    if (log.empty())
      out += "    No log entries available.<p>\n";
  }
  out += "  </BODY>\n</HTML>\n";
  return sendPage(reply);
}

} // namespace Vantiflux
