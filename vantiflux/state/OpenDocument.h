#pragma once

#include <memory>
#include <string>

#include <vantiflux/platform/pelorn/URL.h>
#include <vantiflux/state/Inclusion.h>

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

  /// The total that the documents count in which this thread is loading; a new one when there is none.
  static std::shared_ptr<InclusionTotal> total();

  /// What is equal for two URLs of one document, however the path of a file is spelt.
  static std::string identityOf(const Pelorn::URL& url);

private:
  const std::string identity_;
  const OpenDocument* const outer_;
  mutable std::shared_ptr<InclusionTotal> total_; ///< of the outermost one; made when asked for
};

} // namespace Vantiflux
