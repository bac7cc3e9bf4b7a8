#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/ProtocolHTTP.h>

namespace Pelorn {

/// What a server gives under one path.
///
/// *Threads.* Pages are asked by several requests at a time.
/// *Failure.* An exception that leaves `create` becomes a page with status 500, and a line in the server's log.
class VANTIFLUX_API WebPage {
public:
  /// What a page is asked for. One that changes something is refused to requests that a browser made for another site;
  /// one that takes a form answers POST besides GET, and changes something with it.
  enum class Kind { Shows, Changes, TakesForm };

  explicit WebPage(Kind kind = Kind::Shows) noexcept : kind_(kind) {}
  virtual ~WebPage();
  WebPage& operator=(const WebPage&) = delete;

  Kind getKind() const noexcept { return kind_; }
  /// Fills the reply, whose status is 200 to begin with. Gives 1 when there is a reply to be sent.
  virtual int create(const ProtocolHTTP::Request& request, ProtocolHTTP::Reply& reply) const = 0;
  virtual std::unique_ptr<WebPage> clone() const = 0;

protected:
  WebPage(const WebPage&) = default;

private:
  const Kind kind_;
};

/// Bytes that stand somewhere for the life of the program.
class VANTIFLUX_API WebPageStatic final : public WebPage {
public:
  WebPageStatic(const void* bytes, std::size_t size, std::string type, unsigned long status = 200);
  int create(const ProtocolHTTP::Request& request, ProtocolHTTP::Reply& reply) const override;
  std::unique_ptr<WebPage> clone() const override { return std::make_unique<WebPageStatic>(*this); }

private:
  const char* bytes_;
  std::size_t size_;
  std::string type_;
  unsigned long status_;
};

/// Sends the browser to another path.
class VANTIFLUX_API WebPageRedirection final : public WebPage {
public:
  explicit WebPageRedirection(std::string target);
  int create(const ProtocolHTTP::Request& request, ProtocolHTTP::Reply& reply) const override;
  std::unique_ptr<WebPage> clone() const override { return std::make_unique<WebPageRedirection>(*this); }

private:
  std::string target_;
};

/// A member operation of an object, which must outlive the server's requests.
template <class T>
class WebPageObject final : public WebPage {
public:
  using Operation = int (T::*)(const ProtocolHTTP::Request&, ProtocolHTTP::Reply&);

  WebPageObject(T* object, Operation operation, Kind kind = Kind::Shows)
      : WebPage(kind), object_(object), operation_(operation) {}
  int create(const ProtocolHTTP::Request& request, ProtocolHTTP::Reply& reply) const override {
    return (object_->*operation_)(request, reply);
  }
  std::unique_ptr<WebPage> clone() const override { return std::make_unique<WebPageObject>(*this); }

private:
  T* object_;
  Operation operation_;
};

} // namespace Pelorn
