#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

#include <vantiflux/Export.h>
#include <vantiflux/core/Node.h>

namespace REST {

/// What the path of a request names.
struct VANTIFLUX_API NodeRequest {
  Vantiflux::Node* node = nullptr; ///< good in the scope of the TreeAccess
  bool data = false;               ///< the attribute's value is wanted, and not its description
  std::string attribute;           ///< empty for the node itself
  std::string name;                ///< the last component that was taken for a node's
  std::string extension;           ///< the format of a description; of a value, with "data." before it
};

// All need TreeAccess.

/// Walks from the root along the components behind the one that the iterator stands at:
///
///     NODE/NODE/...  [ATTRIBUTE  [data or desc]]
///
/// A NODE is the label of a child, in any case, or its place among its siblings in the order of their lower-cased
/// labels, from 0. The walk ends at the first namespace without children; the component behind it is the ATTRIBUTE: its
/// name, or its place in the list that a description of the node gives. A component that names no child ends the walk
/// too, and is stepped over. The last component of NODEs, the ATTRIBUTE and the last word may each carry a format
/// behind a point. Throws std::runtime_error when there is no such node, or another last word.
VANTIFLUX_API NodeRequest findMixed(const boost::filesystem::path::iterator& method,
                                    const boost::filesystem::path& path);

/// A child, of the root for a null namespace. Throws InvalidNamespaceException for an unknown label.
VANTIFLUX_API Vantiflux::Namespace* findName(const std::string& name, Vantiflux::Namespace* parent);
/// The same by its place. Throws std::runtime_error when there are not that many.
VANTIFLUX_API Vantiflux::Namespace* findAddress(unsigned long index, Vantiflux::Namespace* parent);

} // namespace REST
