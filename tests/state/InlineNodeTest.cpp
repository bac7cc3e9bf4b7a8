#include <vantiflux/state/InlineNode.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <platform/HTTPServer.h>
#include <vantiflux/core/InvalidNodeException.h>
#include <vantiflux/state/ParseException.h>
#include <vantiflux/state/StateKeeperXML.h>

#include "Support.h"

namespace Vantiflux::Test {
namespace {

std::string including(const std::string& url, const std::string& label = "i") {
  return "<Node label='" + label + "' type='Inline'><Parameter name='URL' value='" + url + "'/></Node>";
}

class Inline : public testing::Test {
protected:
  /// The file as a node of an enabled tree.
  InlineNode& include(const std::string& url) {
    auto node = std::make_unique<InlineNode>();
    node->setURL(url);
    const std::string& label = top.addNamespace("i", std::move(node));
    return dynamic_cast<InlineNode&>(*top.getNamespace(label));
  }

  static Node& nodeAt(const Namespace& from, const std::vector<std::string>& path) {
    const Namespace* at = &from;
    for (const std::string& label : path)
      at = at->getNamespace(label);
    return const_cast<Node&>(dynamic_cast<const Node&>(*at));
  }

  void SetUp() override { top.enable(); }

  Folder folder;
  Namespace top;
};

TEST_F(Inline, TakesTheFileIntoItsPlaceEachTimeItIsEnabled) {
  const Pelorn::URL file =
      folder.write("part.vfx", document("<Route from='a' to='b'/><Node label='s' type='StateSample'>"
                                        "<Parameter name='Title' value='t'/><Namespace label='n'/></Node>"));
  InlineNode& node = include(file.toString());
  EXPECT_EQ(Node::Running, node.getState());
  EXPECT_EQ("s:StateSample{n}", outline(node));
  EXPECT_NE(nullptr, node.findRoute("a", "b"));
  EXPECT_EQ("t 1", dynamic_cast<SampleNode&>(*node.getNamespace("s")).initialized);
  EXPECT_TRUE(node.getNamespace("s")->enabled());
  node.disable();
  EXPECT_EQ(Node::Disabled, node.getState());
  folder.write("part.vfx", document("<Namespace label='other'/>"));
  node.enable();
  EXPECT_EQ("other", outline(node));
}

TEST_F(Inline, ResolvesItsURLAgainstTheFileItStandsIn) {
  const Pelorn::URL main = folder.write("main.vfx", document(including("sub/b.vfx")));
  folder.write("sub/b.vfx", document(including("./c.vfx", "j")));
  folder.write("sub/c.vfx", document("<Namespace label='found'/>"));
  folder.write("c.vfx", document("<Namespace label='wrong'/>"));
  StateKeeperXML::load(top, main);
  EXPECT_EQ("i:Inline{j:Inline{found}}", outline(top));
  InlineNode alone;
  alone.setBaseURL(main);
  alone.setURL("sub/c.vfx");
  alone.enable();
  EXPECT_EQ("found", outline(alone));
}

TEST_F(Inline, EndsInErrorWithoutAURLThatCanBeOpened) {
  for (const std::string& url : {std::string(), (folder.path() / "absent.vfx").string(), std::string("gopher://x/"),
                                 folder.path().string(), std::string("file://elsewhere/x"), std::string("http://")}) {
    InlineNode& node = include(url);
    EXPECT_EQ(Node::Error, node.getState()) << url;
    EXPECT_TRUE(node.enabled()) << url;
    std::vector<std::string> log;
    node.getLog(log);
    EXPECT_EQ(1U, log.size()) << url;
  }
  // The rest of the tree goes on, and what the node held stays.
  const Pelorn::URL file =
      folder.write("main.vfx", document(including("absent.vfx") + "<Node label='s' type='StateSample'/>"));
  InlineNode& node = include(file.toString());
  EXPECT_EQ(Node::Running, node.getState());
  EXPECT_EQ(Node::Error, nodeAt(node, {"i"}).getState());
  EXPECT_TRUE(node.getNamespace("s")->enabled());
  node.disable();
  node.setURL("absent.vfx");
  node.enable();
  EXPECT_EQ("i:Inline s:StateSample", outline(node));
}

TEST_F(Inline, ThrowsForWhatIsWrongInTheFile) {
  InlineNode node;
  node.setURL(folder.write("bad.vfx", "<Vantiflux versionMajor='1'><Namespace label='a'/>").toString());
  EXPECT_THROW(node.enable(), ParseException);
  EXPECT_FALSE(node.enabled());
  EXPECT_EQ("a", outline(node));
  folder.write("bad.vfx", document("<Node type='none such'/>"));
  EXPECT_THROW(node.enable(), InvalidNodeException);
  folder.write("bad.vfx", document("<Namespace label='b'/>"));
  node.enable();
  EXPECT_EQ("b", outline(node));
  // Through another file, up to who loads it into an enabled tree.
  folder.write("worse.vfx", "<");
  const Pelorn::URL main =
      folder.write("main.vfx", document("<Namespace label='a'/>" + including("worse.vfx") + "<Namespace label='z'/>"));
  EXPECT_THROW(StateKeeperXML::load(top, main), ParseException);
  EXPECT_EQ("a i:Inline", outline(top));
}

TEST_F(Inline, IsSavedAsAnEmptyElement) {
  include(folder.write("part.vfx", document("<Namespace label='a'/>")).toString());
  Namespace copy;
  load(copy, save(top));
  EXPECT_EQ("i:Inline", outline(copy));
  EXPECT_EQ("", nodeAt(copy, {"i"}).getFieldValue("URL"));
}

TEST_F(Inline, EndsInErrorWhereAFileIncludesItself) {
  const std::string says = "The file includes itself";
  const Pelorn::URL main = folder.write("main.vfx", document(including("main.vfx") + "<Namespace label='z'/>"));
  StateKeeperXML::load(top, main); // while the tree is alive
  EXPECT_EQ("i:Inline z", outline(top));
  EXPECT_EQ(Node::Error, nodeAt(top, {"i"}).getState());
  EXPECT_EQ(says, nodeAt(top, {"i"}).getShortInfo());

  top.clear();
  include(main.toString());
  EXPECT_EQ("i:Inline{i:Inline z}", outline(top));
  EXPECT_EQ(Node::Running, nodeAt(top, {"i"}).getState());
  EXPECT_EQ(Node::Error, nodeAt(top, {"i", "i"}).getState());
  EXPECT_TRUE(nodeAt(top, {"i"}).getNamespace("z")->enabled());

  // A part of the tree is enabled again later; then the file is no more wrong.
  Node& inner = nodeAt(top, {"i", "i"});
  inner.disable();
  inner.enable();
  EXPECT_EQ(says, inner.getShortInfo());
  inner.disable();
  inner.setFieldValue("URL", folder.write("other.vfx", document("")).toString());
  inner.enable();
  EXPECT_EQ(Node::Running, inner.getState());
  EXPECT_EQ("", inner.getShortInfo());
}

TEST_F(Inline, EndsInErrorInARingOfFilesHoweverTheyAreSpelt) {
  std::filesystem::create_directory(folder.path() / "sub");
  std::filesystem::create_symlink(folder.path() / "a.vfx", folder.path() / "link.vfx");
  const Pelorn::URL a = folder.write("a.vfx", document(including("sub/../b.vfx")));
  folder.write("b.vfx", document(including("c.vfx")));
  folder.write("c.vfx", document(including("sub/../link.vfx")));
  include(a.toString());
  EXPECT_EQ("i:Inline{i:Inline{i:Inline{i:Inline}}}", outline(top));
  EXPECT_EQ("The file includes itself", nodeAt(top, {"i", "i", "i", "i"}).getShortInfo());
  // The same file twice, side by side, is no ring.
  folder.write("a.vfx", document(including("d.vfx", "x") + including("d.vfx", "y")));
  folder.write("d.vfx", document("<Namespace label='d'/>"));
  top.clear();
  include(a.toString());
  EXPECT_EQ("i:Inline{x:Inline{d} y:Inline{d}}", outline(top));
}

TEST_F(Inline, EndsInErrorBehindALongChainOfFiles) {
  for (int i = 0; i < 40; ++i)
    folder.write(std::to_string(i) + ".vfx", document(including(std::to_string(i + 1) + ".vfx")));
  Node* at = &include(folder.url("0.vfx").toString());
  std::size_t running = 0;
  for (; at->getState() == Node::Running; at = &nodeAt(*at, {"i"}))
    ++running;
  EXPECT_EQ(InlineNode::maxNesting, running);
  EXPECT_EQ(Node::Error, at->getState());
  EXPECT_EQ("Files include each other more than 16 deep", at->getShortInfo());
  EXPECT_EQ("", outline(*at));
}

TEST_F(Inline, EndsInErrorWhereFilesIncludeTooManyOthers) {
  // 1 + 12 + 144 + 1728 files, if nobody counted.
  std::string many;
  for (int i = 0; i < 12; ++i)
    many += including("NEXT", "i" + std::to_string(i));
  for (const auto& [name, next] : {std::pair{"a.vfx", "b.vfx"}, {"b.vfx", "c.vfx"}, {"c.vfx", "d.vfx"}}) {
    std::string contents = many;
    for (auto at = contents.find("NEXT"); at != std::string::npos; at = contents.find("NEXT"))
      contents.replace(at, 4, next);
    folder.write(name, document(contents));
  }
  folder.write("d.vfx", document("<Namespace label='d'/>"));
  const auto count = [](const Namespace& from, const auto& self) -> std::pair<int, int> {
    std::pair<int, int> result;
    for (const Namespace* child : from.getNamespaces()) {
      if (const auto* const node = dynamic_cast<const InlineNode*>(child))
        ++(node->getState() == Node::Running ? result.first : result.second);
      const auto inner = self(*child, self);
      result.first += inner.first;
      result.second += inner.second;
    }
    return result;
  };
  InlineNode& node = include(folder.url("a.vfx").toString());
  for (int round = 0; round < 3; ++round) { // what is replaced does not count any more
    const auto [running, failed] = count(top, count);
    EXPECT_EQ(256, running);
    EXPECT_GT(failed, 0);
    node.disable();
    node.enable();
  }
  // The same for a file that is loaded into a living tree, of whose nodes none stands above the others.
  top.clear();
  StateKeeperXML::load(top, folder.url("a.vfx"));
  EXPECT_EQ(256, count(top, count).first);
}

TEST_F(Inline, FetchesFromAWebServerWithoutHoldingUpAnybody) {
  Pelorn::ServerSocket silent;
  silent.open("127.0.0.1", 0);
  const auto urlOn = [](std::uint16_t port) { return "http://127.0.0.1:" + std::to_string(port) + "/x.vfx"; };
  InlineNode& waiting = include(urlOn(silent.getLocalAddress().getServicePort()));
  const auto client = silent.accept();
  EXPECT_EQ(Node::Sleeping, waiting.getState());
  EXPECT_EQ("Loading", waiting.getShortInfo());
  ::test::Worker([this] { top.addNamespace("other", std::make_unique<Namespace>()); }).join();
  waiting.disable();
  EXPECT_EQ(Node::Disabled, waiting.getState());
  waiting.enable(); // and is deleted while it waits
  top.clear();

  const ::test::HTTPServer server([&](const std::string& path) {
    const std::string contents = path == "/main.vfx"  ? including("sub/part.vfx") + including("bad.vfx", "j")
                                 : path == "/bad.vfx" ? "<"
                                                      : "<Namespace label='found'/>";
    return "HTTP/1.0 200 OK\r\n\r\n" + document(contents);
  });
  InlineNode& node = include(server.url("/main.vfx"));
  const auto settled = [&](const std::vector<std::string>& path, Node::State state) {
    return ::test::eventually([&] {
      const TreeLock lock;
      try {
        return nodeAt(node, path).getState() == state;
      } catch (const InvalidNamespaceException&) {
        return false;
      }
    });
  };
  EXPECT_TRUE(settled({}, Node::Running));
  EXPECT_TRUE(settled({"i"}, Node::Running));
  EXPECT_TRUE(settled({"j"}, Node::Error));
  EXPECT_EQ("i:Inline{found} j:Inline", outline(node));
  node.disable();
  node.setURL("http://127.0.0.1:" + std::to_string(silent.getLocalAddress().getServicePort()) + "/");
  silent.close();
  node.enable();
  EXPECT_TRUE(settled({}, Node::Error));
  EXPECT_TRUE(settled({"i"}, Node::Running)); // what it held stays
}

} // namespace
} // namespace Vantiflux::Test
