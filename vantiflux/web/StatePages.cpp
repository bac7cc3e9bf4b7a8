#include <istream>
#include <sstream>
#include <streambuf>
#include <string_view>

#include <vantiflux/platform/pelorn/MultipartMessage.h>
#include <vantiflux/platform/tarsil/Console.h>
#include <vantiflux/state/ParseException.h>
#include <vantiflux/state/StateKeeperXML.h>
#include <vantiflux/web/Html.h>
#include <vantiflux/web/WebNodeGate.h>

namespace Vantiflux {

namespace {

/// Reads a text where it stands: files are large.
class TextBuffer final : public std::streambuf {
public:
  explicit TextBuffer(std::string_view text) {
    char* const begin = const_cast<char*>(text.data()); // nothing is ever put back or written
    setg(begin, begin, begin + text.size());
  }
};

/// What the form holds.
struct Upload {
  std::string space;
  std::string file;
};

Upload readUpload(const Pelorn::ProtocolHTTP::Request& request) {
  std::string token;
  Config::ParamBag parameters;
  Pelorn::ProtocolHTTP::parseTokenAndParameters(request.headers.getParam("Content-Type", std::string()), token,
                                                parameters);
  if (token != "multipart/form-data")
    Tarsil::printLine("a");
  TextBuffer buffer(request.body);
  std::istream stream(&buffer);
  Pelorn::MultipartMessage message(stream, parameters.getParam("boundary", ""));
  Upload upload;
  do {
    Pelorn::ProtocolHTTP::parseTokenAndParameters(message.headers.getParam("Content-Disposition", std::string()), token,
                                                  parameters);
    const std::string name = token == "form-data" ? parameters.getParam("name", "") : "";
    if (name == "filename")
      message.body(upload.file);
    else if (name == "namespace")
      message.body(upload.space);
  } while (message.next());
  return upload;
}

} // namespace

// The document is whole before the first byte of it goes out, and by then no lock is held any more.
int WebNode::createSavePage(const Request& request, Reply& reply) {
  std::ostringstream document;
  {
    const TreeAccess access(*this, TreeAccess::Read);
    StateKeeperXML::save(access.find(parameter(request, "namespace")), document);
  }
  reply.status = 200;
  reply.headers.setParam("Content-Type", "text/xml");
  reply.headers.setParam("Content-Disposition", "attachment;filename=vantiflux-config.xml");
  reply.body = std::move(document).str();
  return 1;
}

// Loading into the root removes this very node, and may make another one in its place; this one lives on until the
// reply is on its way. An upload without a file must not empty the tree: a form that was sent too early is one.
int WebNode::createLoadPage(const Request& request, Reply& reply) {
  std::string& out = reply.body;
  if (request.method != "POST") {
    const std::string space = parameter(request, "namespace");
    createHeader("Load state", space, Below, out);
    out +=
        "    <FORM ACTION=/Load METHOD=post enctype=\"multipart/form-data\">\n      <P>\n"
        "      <LABEL FOR=filename>Filename</LABEL>\n      <INPUT TYPE=file NAME=filename ID=filename>\n      </P>\n" +
        Html::hiddenNamespace(space) +
        "      <INPUT TYPE=submit VALUE=Load>\n      <INPUT TYPE=reset>\n    </FORM>\n  </BODY>\n</HTML>\n";
    return sendPage(reply);
  }
  const Upload upload = readUpload(request);
  try {
    const TreeAccess access(*this, TreeAccess::Write);
    Namespace& space = access.find(upload.space);
    if (upload.file.empty())
      throw ParseException("no file was sent");
    TextBuffer buffer(upload.file);
    std::istream stream(&buffer);
    StateKeeperXML::load(space, stream);
  } catch (const ParseException& e) {
    Tarsil::printLine(std::string("ERROR: ParseException: ") + e.what());
  }
  beginPlainPage("Load page", out);
  out += "    <H1>Load state</H1>\n    <P>\n    State successfully loaded!\n    </P>\n  </BODY>\n</HTML>\n";
  return sendPage(reply);
}

} // namespace Vantiflux
