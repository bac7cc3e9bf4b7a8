#include <vantiflux/core/ExternalRoute.h>

#include <atomic>
#include <utility>

#include <vantiflux/core/Namespace.h>

namespace Vantiflux {

namespace {

std::uint64_t nextOrder() {
  static std::atomic<std::uint64_t> next{0};
  return next.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

ExternalRoute::ExternalRoute(std::string internal, std::string external, const Namespace& owner)
    : order(nextOrder()), internal_(std::move(internal)), external_(std::move(external)), owner_(owner) {
  replacer_.setFormat(external_);
}

std::string ExternalRoute::getExternalForInternal(const std::string& label) const {
  Config::ParamBag params;
  params.setParam("SlotLabel", label.c_str());
  params.setParam("NamespaceLabel", owner_.getLabel().c_str());
  return replacer_.toString(params);
}

} // namespace Vantiflux
