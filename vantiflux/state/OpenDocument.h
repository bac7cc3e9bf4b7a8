#pragma once

#include <string>

#include <vantiflux/platform/pelorn/URL.h>

namespace Vantiflux {

/// A document that this thread is loading, for the length of a scope. Lets a node that is to load a document see that
/// it stands in this very document.
class OpenDocument {
public:
  explicit OpenDocument(const Pelorn::URL& url);
  ~OpenDocument();
  OpenDocument(const OpenDocument&) = delete;
  OpenDocument& operator=(const OpenDocument&) = delete;

  /// Whether this thread is loading the document of that identity.
  static bool isOpen(const std::string& identity);

  /// What is equal for two URLs of one document, however the path of a file is spelt.
  static std::string identityOf(const Pelorn::URL& url);

private:
  const std::string identity_;
  const OpenDocument* const outer_;
};

} // namespace Vantiflux
