#pragma once

#include <cstddef>
#include <string>
#include <vantiflux/Export.h>
#include <vector>

namespace XMLWrap {

/// The attributes of one element, in document order. Names without an XML namespace have the empty URI.
class VANTIFLUX_API Attributes {
public:
  virtual ~Attributes();

  virtual std::size_t getLength() const = 0;
  /// By position, which must be below `getLength()`.
  virtual const std::string& getURI(std::size_t index) const = 0;
  virtual const std::string& getLocalName(std::size_t index) const = 0;
  virtual const std::string& getQName(std::size_t index) const = 0;
  virtual const std::string& getType(std::size_t index) const = 0;
  virtual const std::string& getValue(std::size_t index) const = 0;

  /// The value of an attribute, or the empty text when there is none; `hasValue` tells the two apart.
  std::string getValue(const std::string& uri, const std::string& localName) const;
  bool hasValue(const std::string& uri, const std::string& localName) const;

private:
  std::size_t find(const std::string& uri, const std::string& localName) const;
};

/// Attributes that are put together by hand.
class VANTIFLUX_API AttributesImpl : public Attributes {
public:
  ~AttributesImpl() override;

  /// Adds an attribute behind those that are there. `type` is the SAX type, "CDATA" for plain text.
  void addAttribute(const std::string& uri, const std::string& localName, const std::string& qName,
                    const std::string& type, const std::string& value);
  void clear() noexcept { entries_.clear(); }

  using Attributes::getValue;
  std::size_t getLength() const override { return entries_.size(); }
  const std::string& getURI(std::size_t index) const override { return entries_[index].uri; }
  const std::string& getLocalName(std::size_t index) const override { return entries_[index].localName; }
  const std::string& getQName(std::size_t index) const override { return entries_[index].qName; }
  const std::string& getType(std::size_t index) const override { return entries_[index].type; }
  const std::string& getValue(std::size_t index) const override { return entries_[index].value; }

private:
  struct Entry {
    std::string uri, localName, qName, type, value;
  };
  std::vector<Entry> entries_;
};

} // namespace XMLWrap
