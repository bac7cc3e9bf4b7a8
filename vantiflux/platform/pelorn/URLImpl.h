#pragma once

#include <cstddef>
#include <istream>
#include <memory>
#include <string>
#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Exception.h>

namespace Pelorn {

class Notifier;
class URL;

/// What stands behind a `URL`: one kind of place. The kinds are `file`, `http` and `https`. Immutable.
class VANTIFLUX_API URLImpl {
public:
  class VANTIFLUX_API Exception : public Pelorn::Exception {
  public:
    using Pelorn::Exception::Exception;
    ~Exception() override;
  };

  /// The greatest document that is read over the network or from a file, in bytes.
  static constexpr std::size_t maxDocument = std::size_t{64} << 20;

  virtual ~URLImpl();
  URLImpl(const URLImpl&) = delete;
  URLImpl& operator=(const URLImpl&) = delete;

  /// Reads an absolute URL, or a reference relative to `base`, or (with a file or nothing as the base) the path of a
  /// file. Null when it is empty, malformed, of an unknown kind, or names another host's file.
  ///
  /// A path is taken as it is: `%`, `?`, `#` and blanks are characters of its name, and a colon before the first slash
  /// must be hidden by "./", since it would end the name of a kind. It is resolved against the base's folder (the base
  /// itself if it ends in a slash), or against the working directory of this moment. In a URL, special characters are
  /// percent-coded; bare blanks are tolerated.
  static std::shared_ptr<const URLImpl> create(const std::string& text, const URL& base);

  /// The absolute form, special characters percent-coded.
  virtual std::string toString() const = 0;
  /// The same for messages: without user name and password.
  virtual std::string label() const { return toString(); }
  /// The whole document. Throws `Exception`. May block as the kind states, and then only until `stop` (if any) is
  /// signalled.
  virtual std::string read(const Notifier* stop = nullptr) const = 0;
  /// The same as a stream, from the beginning.
  std::unique_ptr<std::istream> open() const;
  /// Whether `read` waits for somebody who may not answer.
  virtual bool mayBlock() const noexcept { return false; }
  /// A reference without a kind of its own, relative to this place; null when malformed.
  virtual std::shared_ptr<const URLImpl> resolve(const std::string& reference) const = 0;

protected:
  URLImpl();
};

} // namespace Pelorn
