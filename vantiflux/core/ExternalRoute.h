#pragma once

#include <cstdint>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/VariableReplacer.h>

namespace Vantiflux {

class Namespace;

/// Publishes the slots of a namespace whose labels match `internal` in the parent, under a label made from the template
/// `external`, which knows the variables "SlotLabel" and "NamespaceLabel".
class VANTIFLUX_API ExternalRoute {
public:
  ExternalRoute(std::string internal, std::string external, const Namespace& owner);
  ExternalRoute(const ExternalRoute&) = delete;
  ExternalRoute& operator=(const ExternalRoute&) = delete;

  const std::string& getInternal() const noexcept { return internal_; }
  const std::string& getExternal() const noexcept { return external_; }

  /// The label in the parent of a slot with this label here.
  std::string getExternalForInternal(const std::string& label) const;

  const std::uint64_t order; ///< later routes of the process have higher ones

private:
  const std::string internal_;
  const std::string external_;
  const Namespace& owner_;
  VariableReplacer replacer_;
};

} // namespace Vantiflux
