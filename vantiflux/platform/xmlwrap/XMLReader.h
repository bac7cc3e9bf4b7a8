#pragma once

#include <cstddef>
#include <istream>
#include <memory>
#include <vantiflux/Export.h>

namespace XMLWrap {

class ContentHandler;

/// Reads an XML 1.0 document (UTF-8, UTF-16, ISO-8859-1 or US-ASCII) and passes it on as events.
///
/// Limits: documents of 64 MiB, elements 1000 deep. External entities are never fetched, and entities that blow up a
/// document are refused. Threads: one at a time; different readers are independent.
class VANTIFLUX_API XMLReader {
public:
  static constexpr std::size_t maxDocument = std::size_t{64} << 20;
  static constexpr std::size_t maxDepth = 1000;
  static constexpr std::size_t maxAttributes = 1000; ///< of one element

  virtual ~XMLReader();

  /// Not owned, may be null; must live through the parse.
  virtual void setContentHandler(ContentHandler* handler) = 0;

  /// Reads the stream to its end. Throws `SAXException` when the document is malformed, exceeds a limit or cannot be
  /// read, and passes on what the handler throws; the reader can then be used for another document.
  virtual void parse(std::istream& stream) = 0;
};

class VANTIFLUX_API XMLReaderFactory {
public:
  static std::unique_ptr<XMLReader> createXMLReader();
};

} // namespace XMLWrap
