#pragma once

#include <memory>
#include <string>
#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/URL.h>
#include <vantiflux/platform/pelorn/URLImpl.h>

namespace Pelorn {

/// A file of this host, by its path. Only regular files can be read, so that nothing blocks.
class VANTIFLUX_API URLFile : public URLImpl {
public:
  /// The working directory, whichever that is at the moment of use. As a directory it cannot be opened itself.
  static const URL _cwd;

  /// A relative path keeps relating to the working directory.
  explicit URLFile(std::string path);
  ~URLFile() override;

  /// Of a URL such as "file:///a%20b" or "file://localhost/a"; null when malformed or of another host.
  static std::shared_ptr<const URLFile> parse(const std::string& url);

  const std::string& path() const noexcept { return path_; }

  std::string toString() const override;
  std::string read(const Notifier* stop = nullptr) const override;
  std::shared_ptr<const URLImpl> resolve(const std::string& reference) const override;

private:
  std::string absolutePath() const;

  std::string path_;
};

} // namespace Pelorn
