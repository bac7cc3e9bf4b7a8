#include <vantiflux/core/NodeType.h>

#include <utility>

#include <vantiflux/core/Labels.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/platform/tarsil/DynamicLibrary.h>

namespace Vantiflux {

namespace {

std::string textOf(const char* text) {
  return text == nullptr ? std::string() : text;
}

} // namespace

// Constant-initialised, so that it is null before the first initialiser of any library runs.
constinit NodeType::Types* NodeType::types_ = nullptr;

NodeType::NodeType(const std::string& name, Create factory, const char* author, const char* shortDescription,
                   const char* longDescription, Field* fields, std::uint32_t numFields)
    : name_(name), author_(textOf(author)), shortDescription_(textOf(shortDescription)),
      longDescription_(textOf(longDescription)), fields_(fields), numFields_(numFields), create_(factory) {
  if (types_ == nullptr)
    types_ = new Types;
  (*types_)[Labels::lower(name)] = this;
}

// Looks the name up as it is spelt: a type with capitals stays registered when its library goes, which happens at the
// end of the process alone. Kept on purpose: unregistering in the middle of static destruction gains nothing.
NodeType::~NodeType() {
  if (types_ == nullptr)
    return;
  types_->erase(name_);
  if (types_->empty())
    delete std::exchange(types_, nullptr);
}

Field* NodeType::getField(const std::string& name) const {
  if (numFields_ == 0)
    return nullptr;
  std::call_once(fieldsNamed_, [this] {
    for (std::uint32_t i = 0; i < numFields_; ++i)
      fieldsByName_[Labels::lower(fields_[i].getName())] = &fields_[i];
  });
  const auto found = fieldsByName_.find(Labels::lower(name));
  return found == fieldsByName_.end() ? nullptr : found->second;
}

std::unique_ptr<Node> NodeType::create() const {
  return std::unique_ptr<Node>(create_());
}

NodeType* NodeType::internalFindType(const std::string& name) {
  if (types_ == nullptr)
    return nullptr;
  const auto found = types_->find(Labels::lower(name));
  return found == types_->end() ? nullptr : found->second;
}

NodeType* NodeType::findType(const std::string& name) {
  if (NodeType* const type = internalFindType(name))
    return type;
  if (name.find('/') != std::string::npos)
    return nullptr; // a file that is loaded must not name libraries by their paths
  const std::string library =
      std::string(Tarsil::DynamicLibrary::defaultPrefix) + name + Tarsil::DynamicLibrary::defaultSuffix;
  return loadLib(name + ".vfx") || loadLib(library) ? internalFindType(name) : nullptr;
}

bool NodeType::loadLib(const std::string& file) {
  auto library = std::make_unique<Tarsil::DynamicLibrary>();
  try {
    library->load(file.c_str());
  } catch (const Tarsil::DynamicLibrary::Exception&) {
    return false;
  }
  Root::the().addLibrary(std::move(library));
  return true;
}

std::unique_ptr<Node> NodeType::newInstance(const std::string& name) {
  if (const NodeType* const type = findType(name))
    return type->create();
  throw InvalidNodeException("Unknown Node type \"" + name + "\"");
}

void NodeType::getTypes(std::vector<NodeType*>& types) {
  types.clear();
  if (types_ == nullptr)
    return;
  for (const auto& [key, type] : *types_)
    types.push_back(type);
}

} // namespace Vantiflux
