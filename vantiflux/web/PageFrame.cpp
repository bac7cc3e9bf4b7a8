#include <vantiflux/platform/xmlwrap/XMLText.h>
#include <vantiflux/web/Html.h>
#include <vantiflux/web/NamespacePath.h>
#include <vantiflux/web/WebNodeGate.h>

namespace Vantiflux {

namespace {

using Html::escape;

// Up to what stands in the left cell of the header.
std::string beginFrame(const std::string& title) {
  return "<!DOCTYPE html>\n<HTML>\n  <HEAD>\n    <TITLE>Vantiflux " + escape(title) +
         "</TITLE>\n"
         "    <META HTTP-EQUIV=\"Content-Type\" CONTENT=\"text/html; charset=utf-8\">\n"
         "    <LINK REL=\"stylesheet\" TYPE=\"text/css\" HREF=\"/Style.css\">\n"
         "    <LINK REL=\"ICON\" HREF=\"/favicon.ico\">\n"
         "    <LINK REL=\"SHORTCUT ICON\" HREF=\"/favicon.ico\">\n"
         "  </HEAD>\n"
         "  <BODY>\n"
         "    <TABLE CLASS=\"header\" CELLSPACING=0 CELLPADDING=3 BORDER=0 WIDTH=100%><TR CLASS=\"header\">\n"
         "      <TD CLASS=\"header\"><DIV CLASS=lHeader>";
}

constexpr const char* endOfFrame = "</DIV></TD>\n"
                                   "      <TD CLASS=\"header\"><DIV CLASS=rHeader>Vantiflux</DIV></TD>\n"
                                   "    </TR></TABLE>\n";

} // namespace

void WebNode::createHeader(const std::string& title, const std::string& space, PageType pageType, std::string& out) {
  out += beginFrame(title);
  out += pageType == Start ? "Vantiflux Web Interface"
                           : "<A CLASS=\"header\" HREF=\"/index.html\">Vantiflux Web Interface</A>";
  out += endOfFrame;
  if (pageType != Start)
    createNamespaceBar(space, pageType, out);
  out += "    <H1>" + escape(title) + "</H1>\n";
}

void WebNode::createNamespaceBar(const std::string& space, PageType pageType, std::string& out) {
  out += "    <P><DIV CLASS=\"namespace\">\n    Current namespace: ";
  const TreeAccess access(*this, TreeAccess::Read);
  const NamespacePath path(Root::the(), space);
  if (space.empty())
    out += pageType == Here ? "[Root]" : "[<A HREF = \"/Namespace.html\">Root</A>]";
  else
    out += "[<A HREF=\"/Namespace.html\">Root</A>] ";
  std::size_t start = 0;
  for (const NamespacePath::Step& step : path.steps()) {
    const std::string label = space.substr(start, step.end - start);
    if (step.end == space.size() && pageType == Here)
      out += escape(label);
    else
      out += Html::link("/Namespace.html", Html::query({{"namespace", space.substr(0, step.end)}}), label);
    if (step.end != space.size())
      out += '/';
    start = step.end + 1;
  }
  out += "<BR>\n    Subnamespaces: ";
  const std::vector<Namespace*> children = path.target().getNamespaces();
  if (children.empty())
    out += "[none]";
  const char* separator = "";
  for (const Namespace* const child : children) {
    const std::string childPath = NamespacePath::join(space, child->getLabel());
    out += separator + Html::link("/Namespace.html", Html::query({{"namespace", childPath}}), child->getLabel());
    separator = ", ";
  }
  out += "\n    </DIV></P>\n";
}

void WebNode::beginPlainPage(const std::string& title, std::string& out) {
  out += beginFrame(title) + "Web Interface" + endOfFrame;
}

int WebNode::sendPage(Reply& reply) {
  reply.status = 200;
  reply.headers.setParam("Content-Type", "text/html; charset=utf-8");
  reply.headers.setParam("X-Frame-Options", "DENY"); // what is clicked is what is seen
  return 1;
}

int WebNode::createErrorPage(const std::string& prefix, const std::string& text, Reply& reply) {
  reply.body.clear();
  beginPlainPage("Error", reply.body);
  reply.body += "    <H1>Error</H1>\n    <P>\n    " + prefix + escape(text) + "\n    </P>\n  </BODY>\n</HTML>\n";
  return sendPage(reply);
}

int WebNode::redirect(const std::string& path, const std::string& space, Reply& reply) {
  reply.status = 303;
  reply.headers.setParam("Location", path + Html::namespaceQuery(space));
  return 1;
}

void WebNode::checkTexts(const Request& request) {
  for (const auto& [key, value] : request.query)
    if (!XMLWrap::isXMLText(value))
      throw Exception("\"" + key + "\" has characters that no file can hold");
}

int WebNode::change(const std::string& path, const std::string& space, const char* failure, Reply& reply,
                    const std::function<void(Namespace&)>& operation) {
  std::string what;
  try {
    {
      const TreeAccess access(*this, TreeAccess::Write);
      operation(access.find(space));
    }
    return redirect(path, space, reply);
  } catch (const Exception& e) {
    what = e.what();
  }
  return createErrorPage(failure, what, reply);
}

} // namespace Vantiflux
