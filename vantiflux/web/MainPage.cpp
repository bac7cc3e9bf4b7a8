#include <vantiflux/platform/tarsil/SysInfo.h>
#include <vantiflux/web/BuildDate.h>
#include <vantiflux/web/Html.h>
#include <vantiflux/web/WebNodeGate.h>

namespace Vantiflux {

int WebNode::createMainPage(const Request&, Reply& reply) {
  const Tarsil::SysInfo& system = Tarsil::SysInfo::the();
  std::string& out = reply.body;
  createHeader("Web Interface", "", Start, out);
  // The first row lacks a slash, which no browser minds.
  out += "    <P><TABLE CELLSPACING=0 CELLPADDING=0 BORDER=0>\n      <TR><TD>User:</TD><TD>" +
         Html::escape(system.getUserName()) + "<TD></TR>\n";
  const auto row = [&out](const char* name, const std::string& value) {
    out += std::string("      <TR><TD>") + name + "</TD><TD>" + Html::escape(value) + "</TD></TR>\n";
  };
  row("Host:", system.getHostName());
  row("System:", system.getSystemName());
  row("Language Binding:", "C++");
  row("Vantiflux Version:&nbsp;", buildDate);
  out += "    </TABLE></P>\n    <P><UL>\n";
  const auto item = [&out](const char* page, const char* name, const char* text) {
    out += std::string("      <LI><A HREF=") + page + '>' + name + "</A><BR>\n        " + text + "\n";
  };
  item("Namespace.html", "Root Namespace", "Click here to get to the root namespace of the data flow graph.");
  item("Codecs.html", "Codecs", "Click here to get the list of currently installed Codecs.");
  if (getLogSize() > 0)
    item("log.html", "Log", "Click here to see the log file of the webserver.");
  out += "    </UL></P>\n  </BODY>\n</HTML>\n";
  return sendPage(reply);
}

} // namespace Vantiflux
