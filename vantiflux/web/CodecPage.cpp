#include <vector>

#include <vantiflux/values/BasicCodec.h>
#include <vantiflux/web/Html.h>
#include <vantiflux/web/WebNodeGate.h>

namespace Vantiflux {

// The registry has a lock of its own. Type names are HTML as they are.
int WebNode::createCodecPage(const Request&, Reply& reply) {
  std::string& out = reply.body;
  beginPlainPage("Codecs", out);
  out += "    <H1>Codecs</H1>\n    <P>\n    <TABLE CELLSPACING=1 CELLPADDING=3 BORDER=0>\n"
         "      <TR><TH>Nr</TH><TH>Label</TH><TH>Type</TH><TH>Author</TH></TR>\n";
  std::vector<BasicCodec*> codecs;
  BasicCodec::getCodecs(codecs);
  std::size_t number = 0;
  for (const BasicCodec* const codec : codecs) {
    ++number;
    out += std::string("      <TR CLASS=") + Html::rowClass(number) + "><TD ALIGN=RIGHT>" + std::to_string(number) +
           "</TD><TD>" + Html::escape(codec->getName()) + "</TD><TD>" + codec->getTypeName() + "</TD><TD>" +
           Html::escape(codec->getAuthor()) + "</TD></TR>\n";
  }
  out += "    </TABLE>\n    </P>\n  </BODY>\n</HTML>\n";
  return sendPage(reply);
}

} // namespace Vantiflux
