#include <vantiflux/state/OpenDocument.h>

#include <filesystem>
#include <system_error>

#include <vantiflux/platform/pelorn/URLFile.h>

namespace Vantiflux {

namespace {

constinit thread_local const OpenDocument* innermost = nullptr;

} // namespace

OpenDocument::OpenDocument(const Pelorn::URL& url) : identity_(identityOf(url)), outer_(innermost) {
  innermost = this;
}

OpenDocument::~OpenDocument() {
  innermost = outer_;
}

bool OpenDocument::isOpen(const std::string& identity) {
  for (const OpenDocument* open = innermost; open != nullptr; open = open->outer_)
    if (open->identity_ == identity)
      return true;
  return false;
}

std::shared_ptr<InclusionTotal> OpenDocument::total() {
  if (innermost == nullptr)
    return std::make_shared<InclusionTotal>();
  const OpenDocument* outermost = innermost;
  while (outermost->outer_ != nullptr)
    outermost = outermost->outer_;
  if (!outermost->total_)
    outermost->total_ = std::make_shared<InclusionTotal>();
  return outermost->total_;
}

std::string OpenDocument::identityOf(const Pelorn::URL& url) {
  if (const auto* const file = dynamic_cast<const Pelorn::URLFile*>(url.get())) {
    std::error_code error;
    const std::filesystem::path path = std::filesystem::canonical(file->path(), error);
    if (!error)
      return path.string();
  }
  return url.toString();
}

} // namespace Vantiflux
