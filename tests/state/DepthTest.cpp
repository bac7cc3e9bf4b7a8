// Documents and trees that are nested deeply, on the small stack that a thread may have.
#include <memory>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <pthread.h>

#include <vantiflux/platform/xmlwrap/SAXException.h>
#include <vantiflux/state/InlineNode.h>
#include <vantiflux/state/ParseException.h>
#include <vantiflux/state/StateKeeperXML.h>
#include <vantiflux/state/StateKeeperXMLHandler.h>

#include "Support.h"

namespace Vantiflux::Test {
namespace {

constexpr std::size_t limit = StateKeeperXMLHandler::maxDepth;

std::string nested(std::size_t levels, const std::string& inside = {}) {
  std::string text;
  for (std::size_t i = 0; i < levels; ++i)
    text += i % 2 == 0 ? "<Namespace label='a'>" : "<Node label='a' type='StateSample'>";
  text += inside;
  for (std::size_t i = levels; i > 0; --i)
    text += i % 2 == 1 ? "</Namespace>" : "</Node>";
  return text;
}

using Work = void (*)();

void* call(void* work) {
  (*static_cast<Work*>(work))();
  return nullptr;
}

void onThreadWithStack(std::size_t bytes, Work work) {
  pthread_attr_t attributes;
  pthread_t thread;
  ASSERT_EQ(0, pthread_attr_init(&attributes));
  ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, bytes));
  ASSERT_EQ(0, pthread_create(&thread, &attributes, call, &work));
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

TEST(StateDepth, TheDeepestTreeIsLoadedSavedEnabledAndDestroyed) {
  onThreadWithStack(std::size_t{2} << 20, [] {
    Namespace enabled;
    enabled.enable();
    load(enabled, document(nested(limit, "<Route from='a' to='b'/>")));
    const std::string saved = save(enabled);
    Namespace later;
    load(later, saved);
    later.enable();
    EXPECT_EQ(saved, save(later));
    later.disable();
    later.clear();
  });
}

TEST(StateDepth, OneLevelMoreIsRefused) {
  const int before = SampleNode::alive;
  Namespace space;
  EXPECT_EQ("Namespaces are nested more than 900 deep",
            messageOf<ParseException>([&] { load(space, document("<Namespace label='ok'/>" + nested(limit + 1))); }));
  EXPECT_EQ("ok", outline(space));
  EXPECT_THROW(load(space, document(nested(200000))), ParseException);
  std::string unknown;
  for (int i = 0; i < 200000; ++i)
    unknown += "<x>";
  EXPECT_THROW(load(space, document(unknown)), ParseException);
  EXPECT_EQ(before, SampleNode::alive);
}

TEST(StateDepth, CountsFromTheTopOfTheTree) {
  Namespace top;
  load(top, document("<Namespace label='a'><Namespace label='b'/></Namespace>"));
  Namespace& target = *top.getNamespace("a")->getNamespace("b");
  load(target, document(nested(limit - 2)));
  EXPECT_THROW(load(target, document(nested(limit - 1))), ParseException);
  // A file that takes in files as deep as itself.
  const Folder folder;
  folder.write("b.vfx", document(nested(limit / 2 + 1)));
  InlineNode outer;
  outer.setURL(folder
                   .write("a.vfx", document(nested(limit / 2, "<Node label='i' type='Inline'>"
                                                              "<Parameter name='URL' value='b.vfx'/></Node>")))
                   .toString());
  EXPECT_THROW(outer.enable(), ParseException);
}

TEST(StateDepth, ADeeperTreeIsNotSaved) {
  auto space = std::make_unique<Namespace>();
  for (std::size_t i = 0; i < limit + 1; ++i) {
    auto outer = std::make_unique<Namespace>();
    outer->addNamespace("a", std::move(space));
    space = std::move(outer);
  }
  std::ostringstream stream;
  EXPECT_THROW(StateKeeperXML::save(*space, stream), XMLWrap::SAXException);
  EXPECT_EQ("", stream.str());
  EXPECT_NO_THROW(StateKeeperXML::save(*space->getNamespace("a"), stream));
}

} // namespace
} // namespace Vantiflux::Test
