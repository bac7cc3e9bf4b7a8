#include <vantiflux/platform/xmlwrap/SAXException.h>
#include <vantiflux/platform/xmlwrap/XMLReader.h>
#include <vantiflux/platform/xmlwrap/XMLWriter.h>

#include <functional>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>

namespace {

using namespace XMLWrap;

/// Writes down the events.
class Recorder : public ContentHandler {
public:
  std::string log;
  std::function<void(const std::string&)> onElement;

  void endDocument() override { log += "end"; }
  void startElement(const std::string& uri, const std::string& localName, const std::string& qName,
                    const Attributes& attributes) override {
    log += "<{" + uri + "}" + localName + (qName == localName ? "" : "=" + qName);
    for (std::size_t i = 0; i < attributes.getLength(); ++i)
      log += " {" + attributes.getURI(i) + "}" + attributes.getLocalName(i) + "='" + attributes.getValue(i) + "'";
    log += ">";
    if (onElement)
      onElement(localName);
  }
  void endElement(const std::string&, const std::string& localName, const std::string&) override {
    log += "</" + localName + ">";
  }
  void characters(std::string_view text) override { log += text; }
  void processingInstruction(const std::string& target, const std::string& data) override {
    log += "<?" + target + "|" + data + ">";
  }
};

std::string events(const std::string& document, Recorder&& recorder = Recorder()) {
  std::istringstream stream(document);
  const auto reader = XMLReaderFactory::createXMLReader();
  reader->setContentHandler(&recorder);
  reader->parse(stream);
  return recorder.log;
}

std::string failure(const std::string& document) {
  try {
    events(document);
  } catch (const SAXException& exception) {
    return exception.getMessage();
  }
  return "no failure";
}

AttributesImpl attribute(const std::string& name, const std::string& value) {
  AttributesImpl attributes;
  attributes.addAttribute("", name, name, "CDATA", value);
  return attributes;
}

std::string write(const std::string& value) {
  std::ostringstream stream;
  XMLWriter_XML writer(stream);
  writer.startDocument();
  writer.startElement("", "a", "a", attribute("v", value));
  writer.endElement("", "a", "a");
  return stream.str();
}

class ValueOf : public ContentHandler {
public:
  std::string attribute, text;
  void startElement(const std::string&, const std::string&, const std::string&, const Attributes& attributes) override {
    attribute = attributes.getValue("", "v");
    EXPECT_FALSE(attributes.hasValue("", "w"));
    EXPECT_EQ("", attributes.getValue("", "w"));
  }
  void characters(std::string_view piece) override { text += piece; }
};

TEST(XMLReader, Events) {
  EXPECT_EQ("<{}a {}x='1' {}y='&<'><{}b></b>text</a><?p|d>end",
            events("<?xml version='1.0'?><!-- c --><a x='1' y='&amp;&#60;'><b/>te<![CDATA[xt]]></a><?p d?>"));
  EXPECT_EQ("<{u}a=p:a {u}x='1' {}y='2'><{v}b></b></a>end",
            events("<p:a xmlns:p='u' p:x='1' y='2'><b xmlns='v'/></p:a>"));
  EXPECT_EQ("<{}a {}v='\xc3\xa4'></a>end", events("<?xml version='1.0' encoding='ISO-8859-1'?><a v='\xe4'/>"));
  std::istringstream unheard("<a/>");
  EXPECT_NO_THROW(XMLReaderFactory::createXMLReader()->parse(unheard));
}

TEST(XMLReader, MalformedDocuments) {
  for (const std::string document :
       {"", " ", "<a>", "<a></b>", "<a/><b/>", "<a x='1' x='2'/>", "<a v='\xff'/>", "<a v='&#1;'/>", "<a v='&none;'/>",
        "<p:a/>", "text", "<a>\x01</a>", "<?xml version='1.0' encoding='unknown'?><a/>"})
    EXPECT_NE("no failure", failure(document)) << document;
  EXPECT_NE(std::string::npos, failure("<a>\n  <b></c>\n</a>").find("(line 2, column "))
      << failure("<a>\n  <b></c>\n</a>");
  std::istringstream bad("<a/>");
  bad.setstate(std::ios::badbit);
  EXPECT_THROW(XMLReaderFactory::createXMLReader()->parse(bad), SAXException);
}

TEST(XMLReader, EntitiesAndLimits) {
  std::string bomb = "<!DOCTYPE a [<!ENTITY e0 '0123456789'>";
  for (int i = 1; i < 12; ++i) {
    bomb += "<!ENTITY e" + std::to_string(i) + " '";
    for (int k = 0; k < 10; ++k)
      bomb += "&e" + std::to_string(i - 1) + ";";
    bomb += "'>";
  }
  EXPECT_NE("no failure", failure(bomb + "]><a>&e11;</a>"));
  EXPECT_NE("no failure", failure(bomb + "]><a v='&e11;'/>"));
  EXPECT_EQ("<{}a></a>end", events("<!DOCTYPE a [<!ENTITY x SYSTEM 'file:///etc/passwd'>]><a>&x;</a>"));

  const auto nested = [](std::size_t depth) {
    std::string document;
    for (std::size_t i = 0; i < depth; ++i)
      document += "<a>";
    for (std::size_t i = 0; i < depth; ++i)
      document += "</a>";
    return document;
  };
  EXPECT_EQ("no failure", failure(nested(XMLReader::maxDepth)));
  EXPECT_NE(std::string::npos, failure(nested(XMLReader::maxDepth + 1)).find("deep"));
  std::string attributes;
  for (std::size_t i = 0; i < XMLReader::maxAttributes; ++i)
    attributes += " a" + std::to_string(i) + "=''";
  EXPECT_EQ("no failure", failure("<a" + attributes + "/>"));
  EXPECT_NE(std::string::npos, failure("<a" + attributes + " a=''/>").find("attributes"));
  EXPECT_NE(std::string::npos, failure("<a>" + std::string(XMLReader::maxDocument, ' ') + "</a>").find("longer"));
}

TEST(XMLReader, AnExceptionOfTheHandlerPassesUnchanged) {
  const auto throwAt = [](const std::string& name) {
    Recorder recorder;
    recorder.onElement = [name](const std::string& element) {
      if (element == name)
        throw std::runtime_error("at " + name);
    };
    return recorder;
  };
  for (const std::string document : {"<a><b/><c/></a>", "<a><b></b><c/></a>", "<a><b><c/></b></a>"}) {
    std::string log;
    Recorder recorder = throwAt("b");
    const auto reader = XMLReaderFactory::createXMLReader();
    reader->setContentHandler(&recorder);
    std::istringstream stream(document);
    try {
      reader->parse(stream);
      ADD_FAILURE();
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ("at b", error.what());
    }
    EXPECT_EQ("<{}a><{}b>", recorder.log) << "no event after the exception";
    recorder = Recorder();
    std::istringstream next("<a/>");
    reader->parse(next);
    EXPECT_EQ("<{}a></a>end", recorder.log) << "the reader can be used again";
  }
}

TEST(XMLWriter, Layout) {
  std::ostringstream stream;
  XMLWriter_XML writer(stream);
  writer.startDocument();
  writer.startElement("", "Root", "Root", attribute("v", "1"));
  writer.startElement("", "Empty", "Empty", AttributesImpl());
  writer.endElement("", "Empty", "Empty");
  writer.startElement("", "Group", "Group", AttributesImpl());
  writer.startElement("", "Text", "Text", AttributesImpl());
  writer.characters("a<");
  writer.startElement("", "b", "b", AttributesImpl());
  writer.endElement("", "b", "b");
  writer.endElement("", "Text", "Text");
  writer.endElement("", "Group", "Group");
  writer.endElement("", "Root", "Root");
  EXPECT_EQ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<Root v=\"1\">\n"
            "  <Empty/>\n"
            "  <Group>\n"
            "    <Text>a&lt;<b/></Text>\n"
            "  </Group>\n"
            "</Root>\n",
            stream.str());
}

TEST(XMLWriter, WhatItWritesReadsBackTheSame) {
  std::string ascii = "\t\n\r";
  for (char c = 0x20; c < 0x7F; ++c)
    ascii += c;
  for (const std::string& value :
       {ascii, std::string(), std::string("\r\n \n\t  x  \r"), std::string("]]>&#10;&amp;"),
        std::string("\x7f\xc2\x80\xe4\xba\x8c\xf0\x9f\x98\x80\xf4\x8f\xbf\xbf\xee\x80\x80\xef\xbf\xbd"),
        std::string(200000, '"')}) {
    std::ostringstream document;
    XMLWriter_XML writer(document);
    writer.startDocument();
    writer.startElement("", "a", "a", attribute("v", value));
    writer.characters(value);
    writer.endElement("", "a", "a");
    writer.endDocument();
    ValueOf handler;
    const auto reader = XMLReaderFactory::createXMLReader();
    reader->setContentHandler(&handler);
    std::istringstream stream(document.str());
    reader->parse(stream);
    EXPECT_EQ(value, handler.attribute);
    EXPECT_EQ(value, handler.text);
  }
}

TEST(XMLWriter, RefusesWhatCouldNotBeReadBack) {
  for (const std::string& value :
       {std::string("\0", 1), std::string("\x01"), std::string("\x1f"), std::string("\xff"), std::string("\xc3"),
        std::string("\xc0\x80"), std::string("\xe0\x80\x80"), std::string("\xed\xa0\x80"), std::string("\xef\xbf\xbe"),
        std::string("\xf4\x90\x80\x80"), std::string("ok\xe4 latin")})
    EXPECT_THROW(write(value), SAXException);

  std::ostringstream stream;
  XMLWriter_XML writer(stream);
  const AttributesImpl none;
  writer.startElement("", "a", "a", none);
  const std::string before = stream.str();
  for (const std::string name : {"", "1a", "a b", "a=", "a:b:c", ":a", "a:", "<", "\xff"})
    EXPECT_THROW(writer.startElement("", name, name, none), SAXException) << name;
  AttributesImpl twice = attribute("v", "1");
  twice.addAttribute("", "v", "v", "CDATA", "2");
  EXPECT_THROW(writer.startElement("", "b", "b", twice), SAXException);
  EXPECT_THROW(writer.startElement("", "b", "b", attribute("a b", "")), SAXException);
  EXPECT_THROW(writer.endElement("", "b", "b"), SAXException);
  EXPECT_THROW(writer.characters("\x02"), SAXException);
  EXPECT_THROW(writer.processingInstruction("xml", ""), SAXException);
  EXPECT_THROW(writer.processingInstruction("p", "?>"), SAXException);
  EXPECT_THROW(writer.endDocument(), SAXException);
  EXPECT_THROW(writer.startDocument(), SAXException);
  EXPECT_EQ(before, stream.str()) << "a refused event leaves no trace";
  writer.endElement("", "a", "a");
  EXPECT_THROW(writer.startElement("", "a", "a", none), SAXException);
  EXPECT_THROW(writer.characters("x"), SAXException);
  EXPECT_EQ("<{}a></a>end", events(stream.str()));

  std::ostringstream full;
  full.setstate(std::ios::badbit);
  EXPECT_THROW(XMLWriter_XML(full).startDocument(), SAXException);
}

TEST(XMLWriter, TakesTheEventsOfAReader) {
  std::ostringstream copy;
  XMLWriter_XML writer(copy);
  const auto reader = XMLReaderFactory::createXMLReader();
  reader->setContentHandler(&writer);
  const std::string document = "<p:a xmlns:p='u' p:x='1'>t<b xmlns='v'/></p:a>";
  std::istringstream stream(document);
  reader->parse(stream);
  EXPECT_EQ(events(document), events(copy.str()));
}

} // namespace
