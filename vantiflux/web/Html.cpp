#include <vantiflux/web/Html.h>

#include <cctype>

#include <vantiflux/core/NodeType.h>
#include <vantiflux/platform/config/ParamBag.h>
#include <vantiflux/platform/pelorn/ProtocolHTTP.h>

namespace Vantiflux::Html {

namespace {

// A browser gives an option's text without blanks at its ends, and with one in place of several.
bool isTextKept(const std::string& text) {
  bool wasBlank = true;
  for (const char c : text) {
    const bool isBlank = std::isspace(static_cast<unsigned char>(c)) != 0;
    if (isBlank && (wasBlank || c != ' '))
      return false;
    wasBlank = isBlank;
  }
  return !wasBlank || text.empty();
}

} // namespace

std::string query(std::initializer_list<std::pair<const char*, std::string>> pairs) {
  Config::ParamBag params;
  for (const auto& [name, value] : pairs)
    if (!value.empty() || std::string_view(name) != "namespace")
      params.setParam(name, value);
  return Pelorn::ProtocolHTTP::createQuery(params);
}

std::string namespaceQuery(const std::string& space) {
  return space.empty() ? std::string() : '?' + query({{"namespace", space}});
}

std::string link(const char* path, const std::string& query, std::string_view text) {
  return std::string("<A HREF=\"") + path + '?' + query + "\">" + escape(text) + "</A>";
}

std::string descriptionOf(const NodeType& type) {
  std::string text = escape(type.getShortDescription());
  if (!type.getLongDescription().empty() && type.getLongDescription() != type.getShortDescription())
    text += "<br>\n    " + escape(type.getLongDescription());
  return text;
}

std::string hiddenNamespace(const std::string& space) {
  return space.empty() ? std::string() : "      <INPUT TYPE=hidden NAME=namespace VALUE=\"" + escape(space) + "\">\n";
}

std::string menuScript(std::initializer_list<const char*> names) {
  std::string script = "    <SCRIPT TYPE=\"text/javascript\">\n";
  for (const std::string name : names) {
    const std::string menu = name + "Menu";
    const std::string option = menu + ".options[" + menu + ".selectedIndex]";
    script += "      function " + menu + "_changed() {\n        var " + name + " = document.getElementById(\"" + name +
              "\");\n        var " + menu + " = document.getElementById(\"" + menu + "\");\n        if (" + menu +
              ".selectedIndex > 1)\n          " + name + ".value = " + option + ".hasAttribute(\"value\") ? " + option +
              ".value : " + option + ".text;\n        " + menu + ".selectedIndex = 0;\n      }\n";
  }
  return script + "    </SCRIPT>\n";
}

std::string menu(const std::string& name, const char* prompt, const std::vector<std::string>& options) {
  std::string result = "      <SELECT ID=" + name + "Menu Onchange=\"" + name + "Menu_changed()\">\n        <OPTION>" +
                       prompt + "</OPTION>\n        <OPTION>-----------------------------</OPTION>\n";
  for (const std::string& option : options) {
    const std::string text = escape(option);
    result +=
        (isTextKept(option) ? "        <OPTION>" : "        <OPTION VALUE=\"" + text + "\">") + text + "</OPTION>\n";
  }
  return result + "      </SELECT>\n";
}

} // namespace Vantiflux::Html
