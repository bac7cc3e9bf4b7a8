#pragma once

#include <istream>
#include <ostream>

#include <vantiflux/Export.h>
#include <vantiflux/core/Namespace.h>
#include <vantiflux/platform/pelorn/URL.h>
#include <vantiflux/platform/xmlwrap/XMLWriter.h>

namespace Vantiflux {

class StateKeeperXMLHandler;

/// Saves a namespace as an XML document and loads it again. The files end in ".vfx".
///
/// | Element         | Stands in                         | Attributes                                            |
/// |-----------------|-----------------------------------|-------------------------------------------------------|
/// | "Vantiflux"     | nothing: it is the root element   | "versionMajor" ("1"), "versionMinor" (ignored)        |
/// | "Parameter"     | root, "Namespace", "Node"         | "name", "value": a field and its text                 |
/// | "Route"         | the same                          | "from", "to"                                          |
/// | "ExternalRoute" | the same                          | "internal", "external"                                |
/// | "Namespace"     | the same                          | "label"                                               |
/// | "Node"          | the same                          | "label", "type"; "Backend" is read in the same way    |
///
/// Saved are the fields that differ from their default, values of unknown fields, rules, children and their labels; not
/// slots, values, connections, states and logs, which nodes make anew. The host clears the dirty flag (`setDirty`)
/// after it has saved or loaded.
///
/// *Threads.* No lock is taken here: the caller holds the root's write lock to load, and one of the two to save. Nodes
/// are initialised, and possibly started, on the loading thread. Opening a URL may block, as its kind says.
class VANTIFLUX_API StateKeeperXML {
public:
  StateKeeperXML() = delete;

  /// Writes a whole document. All of it is made before the first byte is written: when something cannot be saved, the
  /// stream is as it was. Throws XMLWrap::SAXException for texts that XML cannot carry, for namespaces nested more than
  /// StateKeeperXMLHandler::maxDepth deep and for a stream that fails.
  static void save(Namespace& space, std::ostream& stream);
  /// Writes the contents of one namespace, recursively: nothing if its `saveState` is false. Throws as above.
  static void save(Namespace& space, XMLWrap::XMLWriter& writer);

  /// Clears the namespace and fills it from the document. Nothing is undone on failure: what was complete stays.
  /// Throws ParseException for a bad document, and passes on what types, fields and nodes throw: InvalidNodeException,
  /// InvalidValueException and others.
  static void load(Namespace& space, std::istream& stream);
  /// The same, with the URL as the base URL of all that is made. The target keeps its own base URL, and stays as it is
  /// when the URL cannot be opened (Pelorn::URLImpl::Exception).
  static void load(Namespace& space, const Pelorn::URL& url);
  /// The same, for a document that has been opened already.
  static void load(Namespace& space, std::istream& stream, const Pelorn::URL& url);
  /// The parse itself. The handler must be fresh.
  static void load(StateKeeperXMLHandler* handler, std::istream& stream);
};

} // namespace Vantiflux
