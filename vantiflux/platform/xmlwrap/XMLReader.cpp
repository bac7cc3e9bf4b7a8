#include <vantiflux/platform/xmlwrap/XMLReader.h>

#include <exception>
#include <expat.h>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vantiflux/platform/xmlwrap/Attributes.h>
#include <vantiflux/platform/xmlwrap/ContentHandler.h>
#include <vantiflux/platform/xmlwrap/SAXException.h>

namespace XMLWrap {

namespace {

constexpr char separator = '\n'; // cannot occur in a name, nor in an URI after normalisation

struct Name {
  std::string uri, localName, qName;

  /// From "local", "uri|local" or "uri|local|prefix", with the separator for "|".
  explicit Name(std::string_view triplet) {
    const auto first = triplet.find(separator);
    if (first == std::string_view::npos) {
      localName = qName = triplet;
      return;
    }
    uri = triplet.substr(0, first);
    triplet.remove_prefix(first + 1);
    const auto second = triplet.find(separator);
    localName = triplet.substr(0, second);
    qName = second == std::string_view::npos ? localName : std::string(triplet.substr(second + 1)) + ":" + localName;
  }
};

/// One parse. The parser is C: an exception must not cross its frames, so it is kept here, the parser is stopped, and
/// the exception goes on its way once the parser has returned.
class Parse {
public:
  explicit Parse(ContentHandler& handler) : handler_(handler), parser_(XML_ParserCreateNS(nullptr, separator)) {
    if (!parser_)
      throw std::bad_alloc();
    XML_SetReturnNSTriplet(parser_, XML_TRUE);
    XML_SetUserData(parser_, this);
    XML_SetElementHandler(parser_, onStart, onEnd);
    XML_SetCharacterDataHandler(parser_, onText);
    XML_SetProcessingInstructionHandler(parser_, onInstruction);
    XML_SetNamespaceDeclHandler(parser_, onMappingStart, onMappingEnd);
    XML_SetParamEntityParsing(parser_, XML_PARAM_ENTITY_PARSING_NEVER);
  }
  ~Parse() { XML_ParserFree(parser_); }
  Parse(const Parse&) = delete;
  Parse& operator=(const Parse&) = delete;

  void run(std::istream& stream) {
    handler_.startDocument();
    std::size_t total = 0;
    for (bool last = false; !last;) {
      constexpr int chunk = 1 << 16;
      void* buffer = XML_GetBuffer(parser_, chunk);
      if (!buffer)
        throw std::bad_alloc();
      stream.read(static_cast<char*>(buffer), chunk);
      const auto got = stream.gcount();
      if (stream.bad() || (got < chunk && !stream.eof()))
        fail("The document cannot be read");
      total += static_cast<std::size_t>(got);
      if (total > XMLReader::maxDocument)
        fail("The document is longer than " + std::to_string(XMLReader::maxDocument) + " bytes");
      last = got < chunk;
      const XML_Status status = XML_ParseBuffer(parser_, static_cast<int>(got), last);
      if (thrown_)
        std::rethrow_exception(thrown_);
      if (status != XML_STATUS_OK)
        fail(XML_ErrorString(XML_GetErrorCode(parser_)));
    }
    handler_.endDocument();
  }

private:
  class ParsedAttributes : public AttributesImpl {
  public:
    explicit ParsedAttributes(const XML_Char** list) {
      for (; *list; list += 2) {
        const Name name(list[0]);
        addAttribute(name.uri, name.localName, name.qName, "CDATA", list[1]);
      }
    }
  };

  [[noreturn]] void fail(const std::string& what) const {
    throw SAXException(what, XML_GetCurrentLineNumber(parser_), XML_GetCurrentColumnNumber(parser_) + 1);
  }

  template <class Event>
  static void guard(void* self, Event&& event) {
    auto& parse = *static_cast<Parse*>(self);
    // The parser may deliver an event or two after it was stopped.
    if (parse.thrown_)
      return;
    try {
      event(parse);
    } catch (...) {
      parse.thrown_ = std::current_exception();
      XML_StopParser(parse.parser_, XML_FALSE);
    }
  }

  static std::size_t countOf(const XML_Char** attributes) {
    std::size_t count = 0;
    while (attributes[2 * count] != nullptr)
      ++count;
    return count;
  }

  static void onStart(void* self, const XML_Char* element, const XML_Char** attributes) {
    guard(self, [&](Parse& parse) {
      if (++parse.depth_ > XMLReader::maxDepth)
        parse.fail("Elements are more than " + std::to_string(XMLReader::maxDepth) + " deep");
      if (countOf(attributes) > XMLReader::maxAttributes)
        parse.fail("An element has more than " + std::to_string(XMLReader::maxAttributes) + " attributes");
      const Name name(element);
      parse.handler_.startElement(name.uri, name.localName, name.qName, ParsedAttributes(attributes));
    });
  }

  static void onEnd(void* self, const XML_Char* element) {
    guard(self, [&](Parse& parse) {
      --parse.depth_;
      const Name name(element);
      parse.handler_.endElement(name.uri, name.localName, name.qName);
    });
  }

  static void onText(void* self, const XML_Char* text, int length) {
    guard(self,
          [&](Parse& parse) { parse.handler_.characters(std::string_view(text, static_cast<std::size_t>(length))); });
  }

  static void onInstruction(void* self, const XML_Char* target, const XML_Char* data) {
    guard(self, [&](Parse& parse) { parse.handler_.processingInstruction(target, data); });
  }

  static void onMappingStart(void* self, const XML_Char* prefix, const XML_Char* uri) {
    guard(self, [&](Parse& parse) { parse.handler_.startPrefixMapping(prefix ? prefix : "", uri ? uri : ""); });
  }

  static void onMappingEnd(void* self, const XML_Char* prefix) {
    guard(self, [&](Parse& parse) { parse.handler_.endPrefixMapping(prefix ? prefix : ""); });
  }

  ContentHandler& handler_;
  XML_Parser parser_;
  std::exception_ptr thrown_;
  std::size_t depth_ = 0;
};

class ExpatReader : public XMLReader {
public:
  void setContentHandler(ContentHandler* handler) override { handler_ = handler; }

  void parse(std::istream& stream) override {
    ContentHandler ignore;
    Parse(handler_ ? *handler_ : ignore).run(stream);
  }

private:
  ContentHandler* handler_ = nullptr;
};

} // namespace

XMLReader::~XMLReader() = default;

std::unique_ptr<XMLReader> XMLReaderFactory::createXMLReader() {
  return std::make_unique<ExpatReader>();
}

} // namespace XMLWrap
