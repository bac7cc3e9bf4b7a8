#include <memory>
#include <utility>
#include <vector>

#include <vantiflux/web/Html.h>
#include <vantiflux/web/NamespacePath.h>
#include <vantiflux/web/WebNodeGate.h>

namespace Vantiflux {

using Html::escape;

int WebNode::createNodeTypePage(const Request& request, Reply& reply) {
  const std::string space = parameter(request, "namespace");
  const std::string name = parameter(request, "name");
  if (!name.empty())
    return createNodeTypeForm(name, space, reply);
  std::string& out = reply.body;
  createHeader("Node Types", space, Below, out);
  out += "    <P>\n    <TABLE CELLSPACING=1 CELLPADDING=3 BORDER=0>\n"
         "      <TR><TH>Nr</TH><TH>Name</TH><TH>Description</TH></TR>\n";
  {
    const TreeAccess access(*this, TreeAccess::Read);
    std::vector<NodeType*> types;
    NodeType::getTypes(types);
    std::size_t number = 0;
    for (const NodeType* const type : types) {
      ++number;
      // No quotation marks are needed around what a query is made of.
      out += std::string("      <TR CLASS=") + Html::rowClass(number) + "><TD ALIGN=RIGHT>" + std::to_string(number) +
             "</TD><TD><A HREF=/NodeTypes.html?" + Html::query({{"name", type->getName()}, {"namespace", space}}) +
             ">" + escape(type->getName()) + "</A></TD><TD>" + escape(type->getShortDescription()) + "</TD></TR>\n";
    }
  }
  out += "    </TABLE>\n    </P>\n  </BODY>\n</HTML>\n";
  return sendPage(reply);
}

// What makes a node takes its keys from here. The first two inputs have a type that no browser knows, so they are shown
// as texts: one sees what will be made, and where.
int WebNode::createNodeTypeForm(const std::string& name, const std::string& space, Reply& reply) {
  std::string& out = reply.body;
  const NodeType* type = nullptr;
  {
    const TreeAccess access(*this, TreeAccess::Write); // a plug-in may be loaded
    type = NodeType::findType(name);
  }
  if (type == nullptr)
    return createErrorPage("Unknown node type: ", name, reply);
  createHeader("Node Type " + type->getName(), space, Below, out);
  out += "    <DL>\n      <DT>Description</DT><DD>" + Html::descriptionOf(*type) + "</DD>\n      <DT>Author</DT><DD>" +
         escape(type->getAuthor()) +
         "</DD>\n    </DL>\n    <HR>\n    <H2>Create new node</H2>\n    <FORM ACTION=/CreateNode.html METHOD=get>\n"
         "      <INPUT TYPE=VantifluxDEN NAME=_type VALUE=\"" +
         escape(type->getName()) + "\">\n";
  if (!space.empty())
    out += "      <INPUT TYPE=VantifluxDEN NAME=_namespace VALUE=\"" + escape(space) + "\">\n";
  out += "      <P>\n      <LABEL FOR=_name>Name</LABEL>\n      <INPUT TYPE=text NAME=_name ID=_name>\n"
         "      A unique name that is used to identify the node.\n      </P>\n";
  for (std::uint32_t i = 0; i < type->getNumFields(); ++i) {
    const Field& field = type->getFields()[i];
    const std::string id = "p" + std::to_string(i);
    const std::string fieldName = escape(field.getName());
    out += "      <P>\n      <LABEL FOR=" + id + ">" + fieldName + "</LABEL>\n      <INPUT TYPE=text NAME=\"" +
           fieldName + "\" ID=" + id + " VALUE=\"" + escape(field.getDefaultValue()) + "\">\n      " +
           escape(field.getDescription()) + "\n      </P>\n";
  }
  out += "      <INPUT TYPE=submit VALUE=Start>\n      <INPUT TYPE=reset>\n    </FORM>\n  </BODY>\n</HTML>\n";
  return sendPage(reply);
}

// The keys of the page itself begin with a "_", so that they are not in the way of fields.
int WebNode::createCreateNodePage(const Request& request, Reply& reply) {
  return change("/Nodes.html", parameter(request, "_namespace"), "Cannot create namespace: ", reply,
                [&](Namespace& parent) {
                  checkTexts(request);
                  NamespacePath::checkDepthBelow(parent);
                  std::unique_ptr<Node> node = NodeType::newInstance(parameter(request, "_type"));
                  for (const auto& [key, value] : request.query)
                    if (key != "_type" && key != "_name" && key != "_namespace" && !value.empty())
                      node->setFieldValue(key, value);
                  const std::string asked = parameter(request, "_name");
                  const std::string name = asked.empty() ? node->typeName() : asked;
                  parent.addNamespace(name, std::move(node));
                });
}

} // namespace Vantiflux
