#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/Namespace.h>
#include <vantiflux/platform/pelorn/URL.h>
#include <vantiflux/platform/xmlwrap/ContentHandler.h>

namespace Vantiflux {

/// Builds the tree while the document of a saved namespace is parsed (see StateKeeperXML for its elements).
///
/// Fields and rules take effect at their start tag. A child joins its parent at its end tag, complete and disabled
/// until then; if the parent is enabled, it comes alive at that moment. Elements that are not known here are skipped
/// with all they hold, and so is what stands inside a "Parameter", "Route" or "ExternalRoute". Text, comments and
/// processing instructions are ignored.
///
/// *Threads.* One parse, on one thread; nodes are made, configured and initialised on it.
///
/// *Failure.* What is wrong with the document as a whole leads to the state Error, which is final: the parse goes on
/// and changes nothing more. Exceptions of nodes, fields and types leave unchanged, and namespaces nested more than
/// maxDepth deep, or more than maxNamespaces, are a ParseException. Children whose end tag was seen stay in the target;
/// open ones go with the handler.
class VANTIFLUX_API StateKeeperXMLHandler : public XMLWrap::ContentHandler {
public:
  enum State {
    Start = 0,           ///< before the root element
    InRoot = 1,          ///< in the root element, outside any child
    InNamespace = 2,     ///< in a "Namespace"
    InNode = 3,          ///< in a "Node" or "Backend"
    InExternalRoute = 4, ///< in an "ExternalRoute"
    InRoute = 5,         ///< in a "Route"
    InParameter = 6,     ///< in a "Parameter"
    End = 7,             ///< after the root element: success
    Error = 8            ///< for good
  };

  /// How many levels of namespaces may stand below the top of the target's tree. The tree is enabled, saved and
  /// destroyed level by level, which must fit the stack of any thread.
  static constexpr std::size_t maxDepth = 900;
  /// How many namespaces and nodes a document may hold: each takes many times the memory of its element.
  static constexpr std::size_t maxNamespaces = 500'000;

  /// The target must outlive the handler. `baseURL` is where the document comes from, and becomes the base URL of all
  /// that is made from it.
  explicit StateKeeperXMLHandler(Namespace& root, const Pelorn::URL& baseURL = Pelorn::URL());
  ~StateKeeperXMLHandler() override;
  StateKeeperXMLHandler(const StateKeeperXMLHandler&) = delete;
  StateKeeperXMLHandler& operator=(const StateKeeperXMLHandler&) = delete;

  State getState() const noexcept { return state_; }

  void startElement(const std::string& uri, const std::string& localName, const std::string& qName,
                    const XMLWrap::Attributes& attributes) override;
  void endElement(const std::string& uri, const std::string& localName, const std::string& qName) override;

private:
  struct LabeledNamespace {
    std::string label;
    std::unique_ptr<Namespace> space;
  };

  Namespace& current() { return stack_.empty() ? root_ : *stack_.back().space; }
  State stateOfCurrent() const;
  void startContent(const std::string& element, const XMLWrap::Attributes& attributes);
  void open(const std::string& label, std::unique_ptr<Namespace> child);
  void close();
  void checkDepth() const;

  const Pelorn::URL baseURL_;
  std::deque<LabeledNamespace> stack_; ///< the elements open now, the innermost last
  std::size_t opened_ = 0;             ///< how many were opened in all
  Namespace& root_;
  State state_ = Start;
  std::uint32_t ignoreDepth_ = 0; ///< how deep the parser is in a subtree that is skipped
  const std::size_t rootDepth_;   ///< how deep the target stands in its tree
};

} // namespace Vantiflux
