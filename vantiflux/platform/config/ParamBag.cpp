#include <vantiflux/platform/config/ParamBag.h>

namespace Config {

void ParamBag::setParam(const std::string& name, const std::string& value) {
  const auto [entry, added] = index_.try_emplace(name, params_.size());
  if (!added) {
    params_[entry->second].second = value;
    return;
  }
  try {
    params_.emplace_back(name, value);
  } catch (...) {
    index_.erase(entry);
    throw;
  }
}

void ParamBag::setParam(const char* name, const char* value) {
  setParam(std::string(name ? name : ""), std::string(value ? value : ""));
}

const char* ParamBag::getParam(const char* name, const char* fallback) const {
  const std::string* value = name ? find(name) : nullptr;
  return value ? value->c_str() : fallback;
}

std::string ParamBag::getParam(const std::string& name, const std::string& fallback) const {
  const std::string* value = find(name);
  return value ? *value : fallback;
}

void ParamBag::clear() noexcept {
  params_.clear();
  index_.clear();
}

const std::string* ParamBag::find(const std::string& name) const {
  const auto entry = index_.find(name);
  return entry == index_.end() ? nullptr : &params_[entry->second].second;
}

} // namespace Config
