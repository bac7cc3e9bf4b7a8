// The field values that any namespace stores.
#include <vantiflux/core/Namespace.h>

#include <vantiflux/core/Labels.h>
#include <vantiflux/platform/config/ParamLine.h>

namespace Vantiflux {

void Namespace::setFieldValue(const std::string& name, const std::string& value) {
  const std::lock_guard values(valuesLock_);
  fields_.try_emplace(Labels::lower(name), name, value).first->second.second = value; // the first spelling stays
}

std::string Namespace::getFieldValue(const std::string& name) const {
  const std::lock_guard values(valuesLock_);
  const auto found = fields_.find(Labels::lower(name));
  if (found == fields_.end())
    throw InvalidFieldException();
  return found->second.second;
}

void Namespace::getFieldNames(std::vector<std::string>& names) const {
  const std::lock_guard values(valuesLock_);
  names.clear();
  for (const auto& [key, field] : fields_)
    names.push_back(field.first);
}

void Namespace::setFieldValues(const std::string& line) {
  Config::ParamLine params;
  params.setParamLine(line);
  for (const auto& [name, value] : params.getParams())
    setFieldValue(name, value);
}

} // namespace Vantiflux
