#pragma once

#include <memory>
#include <string>
#include <utility>

#include <vantiflux/Export.h>
#include <vantiflux/core/BasicFieldAccessor.h>

namespace Vantiflux {

/// One configuration value of a node class.
class VANTIFLUX_API Field {
public:
  /// The default is in the text form of the accessor; a node has it when it was just made.
  Field(std::string name, std::string description, std::string defaultValue, const BasicFieldAccessor& accessor)
      : name_(std::move(name)), description_(std::move(description)), defaultValue_(std::move(defaultValue)),
        accessor_(accessor.clone()) {}

  const std::string& getName() const noexcept { return name_; }
  const std::string& getDescription() const noexcept { return description_; }
  const std::string& getDefaultValue() const noexcept { return defaultValue_; }
  const BasicFieldAccessor& getAccessor() const noexcept { return *accessor_; }

private:
  std::string name_;
  std::string description_;
  std::string defaultValue_;
  std::unique_ptr<BasicFieldAccessor> accessor_;
};

} // namespace Vantiflux
