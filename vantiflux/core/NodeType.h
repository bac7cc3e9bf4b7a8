#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/Field.h>
#include <vantiflux/core/InvalidNodeException.h>

namespace Vantiflux {

class Node;

/// The registry entry of a node class. Each class has one as a static member, which registers by being constructed when
/// the library, or a plug-in, is loaded.
///
/// *Threads.* The registry has no lock: it fills while libraries are loaded. `findType` may load one, so callers hold
/// the root's write lock.
class VANTIFLUX_API NodeType {
public:
  using Create = Node* (*)();

  /// Registers the type in place of an earlier one of the same name. A null text leaves its member empty. The table of
  /// fields stays the node class's own.
  NodeType(const std::string& name, Create factory, const char* author, const char* shortDescription,
           const char* longDescription, Field* fields, std::uint32_t numFields);
  ~NodeType();
  NodeType(const NodeType&) = delete;
  NodeType& operator=(const NodeType&) = delete;

  const std::string& getName() const noexcept { return name_; }
  const std::string& getAuthor() const noexcept { return author_; }
  const std::string& getShortDescription() const noexcept { return shortDescription_; }
  const std::string& getLongDescription() const noexcept { return longDescription_; }
  Field* getFields() const noexcept { return fields_; }
  std::uint32_t getNumFields() const noexcept { return numFields_; }
  /// The field of that name in any case, or null.
  Field* getField(const std::string& name) const;
  std::unique_ptr<Node> create() const;

  /// The type of that name in any case; null if it is not registered and no plug-in has it. A plug-in for a type Foo is
  /// a library Foo.vfx or libFoo.so where Tarsil::DynamicLibrary::load looks.
  static NodeType* findType(const std::string& name);
  /// The same without loading.
  static NodeType* internalFindType(const std::string& name);
  /// Loads a library, which stays until the root is destroyed. Returns false if it cannot be loaded.
  static bool loadLib(const std::string& file);
  /// Throws InvalidNodeException for an unknown type.
  static std::unique_ptr<Node> newInstance(const std::string& name);
  /// Replaces the contents with all types, in the order of their lower-cased names.
  static void getTypes(std::vector<NodeType*>& types);

private:
  using Types = std::map<std::string, NodeType*>;

  const std::string name_;
  std::string author_;
  std::string shortDescription_;
  std::string longDescription_;
  Field* fields_;
  std::uint32_t numFields_;
  mutable std::once_flag fieldsNamed_;
  mutable std::map<std::string, Field*> fieldsByName_; ///< by lower-cased name, filled on first use
  Create create_;

  static Types* types_; ///< by lower-cased name; made by the first registration, whatever the order of initialisers
};

} // namespace Vantiflux
