// What an operator sees and does, and what the node is to survive.
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <platform/support.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/platform/pelorn/HTTPText.h>
#include <vantiflux/state/StateKeeperXMLHandler.h>
#include <vantiflux/values/SlotTypes.h>
#include <web/WebSupport.h>

namespace {

using namespace Vantiflux;
using Pelorn::HTTPText::escape;
using test::Answer;
using test::nasty;
using test::Site;
using Query = std::vector<std::pair<std::string, std::string>>;

std::string encoded(const std::string& text) {
  return Pelorn::HTTPText::encode(text);
}

/// What the links of a page lead to, with the texts of HTML undone. Forms count as links too.
std::set<std::string> linksOf(const std::string& page) {
  std::set<std::string> links;
  for (const std::string mark : {"HREF=", "HREF = ", "href=", "ACTION="})
    for (std::size_t at = 0; (at = page.find(mark, at)) != std::string::npos;) {
      at += mark.size();
      const bool isQuoted = page[at] == '"';
      at += isQuoted ? 1 : 0;
      std::string link = page.substr(at, page.find_first_of(isQuoted ? "\"" : " >", at) - at);
      links.insert(link.starts_with("/") ? link : "/" + link);
    }
  return links;
}

bool changes(const std::string& link) {
  for (const char* const word : {"/Create", "/Remove", "/Add"})
    if (link.starts_with(word))
      return true;
  return false;
}

/// Follows every link that changes nothing, from the main page on.
std::set<std::string> crawl(const Site& site) {
  std::set<std::string> seen{"/"}, open{"/"};
  while (!open.empty()) {
    const std::string link = open.extract(open.begin()).value();
    const Answer answer = site.get(link);
    EXPECT_TRUE(answer.status == 200 || (link == "/" && answer.status == 302)) << link << ": " << answer.status;
    EXPECT_FALSE(answer.has("<b>") || answer.has("&amp;amp;lt;")) << link;
    for (const std::string& next : linksOf(answer.body))
      if (!changes(next) && seen.insert(next).second)
        open.insert(next);
  }
  return seen;
}

TEST(WebNode, HasTheFrameAndTheFilesOfEveryPage) {
  const Site site;
  EXPECT_EQ(site.get("/").header("Location"), "/index.html");
  const Answer main = site.get("/index.html");
  EXPECT_EQ(main.header("Content-Type"), "text/html; charset=utf-8");
  for (const char* const text :
       {"<!DOCTYPE html>\n<HTML>\n  <HEAD>\n    <TITLE>Vantiflux Web Interface</TITLE>",
        "<DIV CLASS=lHeader>Vantiflux Web Interface</DIV>", "<DIV CLASS=rHeader>Vantiflux</DIV>", "<TD>User:</TD>",
        "<TD></TR>", "<TD>Language Binding:</TD><TD>C++</TD>", "Vantiflux Version:&nbsp;", "<A HREF=Namespace.html>",
        "<A HREF=Codecs.html>", "    </UL></P>\n  </BODY>\n</HTML>\n"})
    EXPECT_TRUE(main.has(text)) << text;
  EXPECT_FALSE(main.has("log.html") || main.has("Current namespace"));
  site.node().setLogSize(5);
  EXPECT_TRUE(site.get("/index.html").has("<A HREF=log.html>"));
  const Answer style = site.get("/Style.css");
  EXPECT_EQ(style.header("Content-Type"), "text/css");
  EXPECT_EQ(style.body.size(), 840U);
  EXPECT_TRUE(style.has("tr.odd { background-color: PapayaWhip }\n"));
  const Answer icon = site.get("/favicon.ico");
  EXPECT_EQ(icon.header("Content-Type"), "image/x-icon");
  EXPECT_EQ(icon.body.size(), 1406U);
  EXPECT_EQ(icon.body.substr(0, 4), std::string("\0\0\1\0", 4));
  EXPECT_TRUE(site.get("/log.html").has("/favicon.ico 200"));
  EXPECT_EQ(site.get("/Vantiflux/element/Web.json").status, 200);
  EXPECT_TRUE(site.get("/log.html").has("127.0.0.1 GET /Vantiflux/element/Web.json 200\n"));
  const Answer codecs = site.get("/Codecs.html");
  EXPECT_TRUE(codecs.has("<TD>SFImage</TD><TD>Vantiflux::SmartPtr&lt;Vantiflux::Image&gt;</TD>"));
  EXPECT_FALSE(codecs.has("Current namespace"));
}

TEST(WebNode, LetsNoTreeGrowDeeperThanAFile) {
  const Site site;
  Namespace* deepest = &Root::the();
  std::string path;
  {
    const Root::WriteLock lock;
    for (std::size_t i = 1; i < StateKeeperXMLHandler::maxDepth; ++i) {
      deepest->addNamespace("a", std::make_unique<Namespace>());
      deepest = deepest->getNamespace("a");
      path += path.empty() ? "a" : "/a";
    }
  }
  EXPECT_EQ(site.get("/CreateNamespace.html", {{"namespace", path}, {"label", "a"}}).status, 303);
  for (const Answer& answer : {site.get("/CreateNamespace.html", {{"namespace", path + "/a"}, {"label", "b"}}),
                               site.get("/CreateNode.html", {{"_namespace", path + "/a"}, {"_type", "Clock"}})}) {
    EXPECT_EQ(answer.status, 200);
    EXPECT_TRUE(answer.has("Cannot create namespace: Namespaces are nested more than 900 deep"));
  }
  EXPECT_EQ(site.get("/Save").status, 200);
  EXPECT_EQ(test::get(site.port(), "/NodeTypes.html?name=Clock", "Sec-Fetch-Site: cross-site\r\n").status, 403)
      << "a plug-in may be loaded";
}

TEST(WebNode, LetsAnOperatorBuildATree) {
  const Site site;
  const auto change = [&](const std::string& page, const Query& query, const std::string& target) {
    const Answer answer = site.get(page, query);
    EXPECT_EQ(answer.status, 303) << page << answer.body;
    EXPECT_EQ(answer.header("Location"), target);
  };
  const std::string in = "?namespace=" + encoded(nasty);
  EXPECT_TRUE(site.get("/Nodes.html").has("stop</A>"));
  change("/CreateNamespace.html", {{"label", nasty}}, "/SubNamespaces.html");
  change("/CreateNamespace.html", {{"namespace", nasty}}, "/SubNamespaces.html" + in);
  change("/RemoveNamespace.html", {{"namespace", nasty}, {"label", "Namespace"}}, "/SubNamespaces.html" + in);
  EXPECT_TRUE(site.get("/Nodes.html", {{"namespace", nasty}}).has("COLSPAN=6>No nodes defined.</TD></TR>\n"));
  const Answer form = site.get("/NodeTypes.html", {{"name", "motionfilter"}, {"namespace", nasty}});
  EXPECT_TRUE(form.has("<INPUT TYPE=VantifluxDEN NAME=_type VALUE=\"MotionFilter\">"));
  EXPECT_TRUE(form.has("NAME=_namespace VALUE=\"" + escape(nasty) + "\">"));
  EXPECT_TRUE(form.has("      <P>\n      <LABEL FOR=p0>"));
  change("/CreateNode.html",
         {{"_type", "UDP"},
          {"_name", nasty},
          {"_namespace", nasty},
          {"LocalAddress", "127.0.0.1"},
          {"InitString", "<i>"},
          {"DeinitString", ""}},
         "/Nodes.html" + in);
  change("/CreateNode.html", {{"_type", "Clock"}, {"_namespace", nasty}, {"_name", ""}}, "/Nodes.html" + in);
  EXPECT_TRUE(site.get("/Nodes.html", {{"namespace", nasty}}).has(">Clock</A></TD><TD>Clock</TD><TD>"));
  const Answer details = site.get("/Nodes.html", {{"node", nasty + "/" + nasty}});
  EXPECT_TRUE(details.has("InitString: &lt;i&gt;<br>\n")) << details.body;
  EXPECT_TRUE(details.has("<H1>Node " + escape(nasty + "/" + nasty) + "</H1>"));
  change("/AddRoute.html", {{"namespace", nasty}, {"from", "Clock/Time"}, {"to", nasty}}, "/Routes.html" + in);
  change("/AddExternalRoute.html", {{"namespace", nasty}, {"internal", nasty}, {"external", "{SlotLabel}"}},
         "/ExternalRoutes.html" + in);
  const Answer routes = site.get("/Routes.html", {{"namespace", nasty}, {"from", "\"preset\""}});
  EXPECT_TRUE(routes.has("        <tr class=\"odd\"><td align=\"right\">1</td><td><a href=\"OutSlots.html" + in +
                         "&filter=Clock%2FTime\">Clock/Time</a></td>"));
  EXPECT_TRUE(routes.has("NAME=from ID=from VALUE=\"&quot;preset&quot;\">"));
  EXPECT_TRUE(routes.has("<OPTION>Clock/Time</OPTION>"));
  EXPECT_TRUE(routes.has("<OPTION VALUE=\"" + escape(nasty + "/Data in") + "\">")) << "two blanks would get lost";
  EXPECT_TRUE(site.get("/ExternalRoutes.html", {{"namespace", nasty}}).has("<TD>" + escape(nasty) + "</TD>"));
  const Answer slots = site.get("/OutSlots.html", {{"namespace", nasty}, {"filter", "*time"}});
  EXPECT_TRUE(slots.has(" that match the filter \"*time\".</p>\n    <p><a href=\"OutSlots.html" + in +
                        "\">Show all OutSlots.</a></p>\n"));
  EXPECT_TRUE(slots.has("<TD>Clock/Time</TD><TD>Vantiflux::Time</TD><TD>Current system time"));
  EXPECT_TRUE(site.get("/InSlots.html", {{"namespace", nasty}, {"filter", "<x>"}}).has("filter \"&lt;x&gt;\""));
  EXPECT_TRUE(site.get("/InSlots.html", {{"filter", "none"}}).has("COLSPAN=4>No inslots defined.</TD></TR>\n"));
  const std::set<std::string> seen = crawl(site);
  EXPECT_TRUE(seen.contains("/Namespace.html?namespace=" + encoded(nasty + "/" + nasty)));
  EXPECT_GT(seen.size(), 60U);
  change("/RemoveRoute.html", {{"namespace", nasty}, {"from", "clock/time"}, {"to", nasty}}, "/Routes.html" + in);
  EXPECT_TRUE(site.get("/Routes.html", {{"namespace", nasty}})
                  .has("        <tr class=\"odd\"><td colspan=\"4\">No Routes defined.</td></tr>\n"));
  change("/RemoveExternalRoute.html", {{"namespace", nasty}, {"internal", nasty}, {"external", "{SlotLabel}"}},
         "/ExternalRoutes.html" + in);
  change("/RemoveNode.html", {{"namespace", nasty}, {"label", nasty}}, "/Nodes.html" + in);
  EXPECT_FALSE(site.get("/Nodes.html", {{"namespace", nasty}}).has("UDP</TD>"));
}

TEST(WebNode, SaysWhatIsWrong) {
  const Site site;
  const auto error = [&](const std::string& page, const Query& query, const std::string& text) {
    const Answer answer = site.get(page, query);
    EXPECT_EQ(answer.status, 200) << page;
    EXPECT_TRUE(answer.has("<H1>Error</H1>\n    <P>\n    " + text)) << answer.body;
  };
  error("/CreateNamespace.html", {{"namespace", "<x>"}}, "Cannot create namespace: Namespace &quot;&quot; does not");
  error("/CreateNode.html", {{"_type", "<x>"}}, "Cannot create namespace: Unknown Node type &quot;&lt;x&gt;&quot;");
  error("/CreateNode.html", {{"_type", "Web"}, {"Port", "70000"}}, "Cannot create namespace: ");
  for (const char* const unsaved : {"\x01", "\xff"}) {
    error("/CreateNamespace.html", {{"label", unsaved}}, "Cannot create namespace: &quot;label&quot; has characters");
    error("/CreateNode.html", {{"_type", "Clock"}, {"_name", unsaved}}, "Cannot create namespace: ");
    error("/CreateNode.html", {{"_type", "UDP"}, {"InitString", unsaved}}, "Cannot create namespace: ");
    error("/AddRoute.html", {{"from", "x"}, {"to", unsaved}}, "Cannot add route: ");
    error("/AddExternalRoute.html", {{"internal", unsaved}, {"external", "x"}}, "Cannot add external route: ");
  }
  EXPECT_EQ(site.get("/Save").status, 200);
  error("/RemoveNamespace.html", {{"label", "x"}}, "Cannot remove namespace: ");
  error("/AddRoute.html", {{"namespace", "x"}}, "Cannot add route: ");
  error("/RemoveRoute.html", {{"namespace", "x"}}, "Cannot remove route: ");
  error("/AddExternalRoute.html", {{"namespace", "x"}}, "Cannot add external route: ");
  error("/RemoveExternalRoute.html", {{"namespace", "x"}}, "Cannot remove external route: ");
  error("/NodeTypes.html", {{"name", "<x>"}}, "Unknown node type: &lt;x&gt;");
  for (const char* const page :
       {"/Namespace.html", "/SubNamespaces.html", "/Nodes.html", "/NodeTypes.html", "/Routes.html",
        "/ExternalRoutes.html", "/OutSlots.html", "/InSlots.html", "/Save", "/Load"})
    EXPECT_EQ(site.get(page, {{"namespace", "x"}}).status, 500) << page;
  {
    const Root::WriteLock lock;
    Root::the().addNamespace("plain", std::make_unique<Namespace>());
  }
  EXPECT_EQ(site.get("/Nodes.html", {{"node", "plain"}}).status, 500);
  const Root::ReadLock lock;
  EXPECT_EQ(Root::the().getNamespaces().size(), 2U) << "nothing was made";
}

TEST(WebNode, FindsNamespacesWhoseLabelsHoldSlashes) {
  const Site site;
  {
    const Root::WriteLock lock;
    Root& root = Root::the();
    for (const char* const label : {"a", "a/b", "a/b/c"})
      root.addNamespace(label, std::make_unique<Namespace>());
    root.getNamespace("a/b")->addNamespace("d/e", std::make_unique<Namespace>());
    root.getNamespace("a")->addNamespace("b", std::make_unique<Namespace>());
  }
  const std::string bar = site.get("/Nodes.html", {{"namespace", "A/B/d/E"}}).body;
  EXPECT_NE(bar.find("Root</A>] <A HREF=\"/Namespace.html?namespace=A%2FB\">A/B</A>/"
                     "<A HREF=\"/Namespace.html?namespace=A%2FB%2Fd%2FE\">d/E</A><BR>"),
            std::string::npos);
  EXPECT_TRUE(site.get("/Namespace.html", {{"namespace", "a/b"}}).has("<H1>Namespace b</H1>")) << "the shorter first";
  EXPECT_TRUE(site.get("/Namespace.html", {{"namespace", "a/b/c"}}).has("<H1>Namespace a/b/c</H1>"));
  EXPECT_EQ(site.get("/Namespace.html", {{"namespace", "a/b/d"}}).status, 500);
}

TEST(WebNode, SavesAndLoads) {
  const Site site;
  EXPECT_EQ(site.get("/CreateNamespace.html", {{"label", nasty}}).status, 303);
  EXPECT_EQ(site.get("/CreateNode.html", {{"_type", "Clock"}, {"_name", nasty}, {"_namespace", nasty}}).status, 303);
  const Answer saved = site.get("/Save", {{"namespace", nasty}});
  EXPECT_EQ(saved.header("Content-Type"), "text/xml");
  EXPECT_EQ(saved.header("Content-Disposition"), "attachment;filename=vantiflux-config.xml");
  const Query node{{"node", nasty + "/" + nasty}};
  EXPECT_EQ(site.get("/RemoveNode.html", {{"namespace", nasty}, {"label", nasty}}).status, 303);
  EXPECT_EQ(site.get("/Nodes.html", node).status, 500);
  EXPECT_TRUE(test::postFile(site.port(), "/Load", saved.body, nasty).has("State successfully loaded!"));
  EXPECT_EQ(site.get("/Nodes.html", node).status, 200);
  EXPECT_TRUE(test::postFile(site.port(), "/Load", "", nasty).has("State successfully loaded!"));
  EXPECT_EQ(site.get("/Nodes.html", node).status, 200) << "no file empties no tree";
  EXPECT_TRUE(test::postFile(site.port(), "/Load", "<broken", nasty).has("State successfully loaded!"));
  EXPECT_EQ(site.get("/Nodes.html", node).status, 500) << "a broken one does";
  EXPECT_EQ(test::postFile(site.port(), "/Load", saved.body, "nowhere").status, 500);
  test::Client other(site.port());
  EXPECT_TRUE(other.post("/Load", "nothing of the kind", "Content-Type: text/plain\r\n").has("successfully"));
  EXPECT_EQ(other.get("/index.html").status, 200);
}

TEST(WebNode, LoadsAFileOf64MiB) {
  const Site site;
  EXPECT_EQ(site.get("/CreateNamespace.html", {{"label", "a"}}).status, 303);
  const std::string start = "<Vantiflux versionMajor=\"1\"><Namespace label=\"large\"/><!--";
  const std::string end = "--></Vantiflux>";
  const std::string file = start + std::string((std::size_t{64} << 20) - start.size() - end.size(), 'x') + end;
  EXPECT_EQ(test::postFile(site.port(), "/Load", file, "a").status, 200);
  EXPECT_EQ(site.get("/Namespace.html", {{"namespace", "a/large"}}).status, 200);
}

TEST(WebNode, TellsWhereItListens) {
  Site site;
  const std::string port = std::to_string(site.port());
  EXPECT_EQ(site.node().getState(), Node::Running);
  EXPECT_TRUE(site.node().getShortInfo().starts_with("Webserver listening on "));
  EXPECT_TRUE(site.node().getShortInfo().ends_with(":" + port));
  const auto add = [](const std::string& address, unsigned short at) {
    const Root::WriteLock lock;
    auto node = std::make_unique<WebNode>();
    WebNode& added = *node;
    added.setAddress(address);
    added.setPort(at);
    Root::the().addNamespace(std::move(node));
    return &added;
  };
  const WebNode& second = *add("127.0.0.1", site.port());
  EXPECT_EQ(second.getState(), Node::Error);
  EXPECT_EQ(second.getShortInfo(), "Cannot open web server");
  EXPECT_EQ(second.getActualPort(), 0);
  const WebNode& named = *add("localhost", 0); // somebody has to be asked, so it takes its time
  EXPECT_TRUE(test::eventually([&] { return named.getState() != Node::Sleeping; }));
  EXPECT_EQ(named.getState(), Node::Running);
  EXPECT_EQ(test::get(named.getActualPort(), "/index.html").status, 200);
  const WebNode& nowhere = *add("no.such.host.invalid", 0);
  EXPECT_TRUE(test::eventually([&] { return nowhere.getState() == Node::Error; }));
}

TEST(WebNode, AsksForItsPasswordFromTheMomentItIsSet) {
  const Site site;
  test::Client client(site.port());
  EXPECT_EQ(client.get("/index.html").status, 200);
  EXPECT_EQ(site.get("/CreateNode.html", {{"_type", "Web"}, {"Address", "127.0.0.1"}, {"Password", "x"}}).status, 303);
  site.node().setFieldValue("Password", "secret");
  for (const char* const path : {"/index.html", "/Style.css", "/favicon.ico", "/Load", "/Save", "/log.html"})
    EXPECT_EQ(client.get(path).status, 401) << path;
  EXPECT_EQ(client.get("/index.html", "Authorization: Basic OnNlY3JldA==\r\n").status, 200);
}

} // namespace
