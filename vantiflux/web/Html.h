#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <vantiflux/platform/pelorn/HTTPText.h>

namespace Vantiflux {
class NodeType;
}

/// Pieces of which several pages are made. Texts go in as they are and come out escaped.
namespace Vantiflux::Html {

using Pelorn::HTTPText::escape;

/// "odd" or "even", for a row's number.
inline const char* rowClass(std::size_t number) {
  return number % 2 == 1 ? "odd" : "even";
}

/// A query of these pairs, in which a pair "namespace" is left out when it is empty, as it stands for the root.
std::string query(std::initializer_list<std::pair<const char*, std::string>> pairs);

/// "?" and the query of the namespace; nothing for the root.
std::string namespaceQuery(const std::string& space);

/// `<A HREF="path?query">text</A>`.
std::string link(const char* path, const std::string& query, std::string_view text);

/// What a type says of itself: a line, and more where there is more to be said.
std::string descriptionOf(const NodeType& type);

/// The field that carries the namespace through a form; nothing for the root.
std::string hiddenNamespace(const std::string& space);

/// The script that copies a chosen option of the menu "NAMEMenu" to the input "NAME".
std::string menuScript(std::initializer_list<const char*> names);

/// The menu "NAMEMenu" itself, headed by a prompt and a line.
std::string menu(const std::string& name, const char* prompt, const std::vector<std::string>& options);

} // namespace Vantiflux::Html
