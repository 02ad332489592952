#pragma once

#include <libxml/tree.h>

#include <cstddef>
#include <memory>

namespace pellago {

struct XmlTreeDeleter {
    void operator()(xmlDoc* tree) const { xmlFreeDoc(tree); }
};
using XmlTree = std::unique_ptr<xmlDoc, XmlTreeDeleter>;

/// The node after `node` in document order among the descendants of `top`, null after the last. References
/// to entities are nodes of their own and are not entered.
const xmlNode* NextDescendant(const xmlNode* node, const xmlNode* top);

/// The internal entity that a reference names, null for any other.
const xmlEntity* ReferencedEntity(const xmlNode& reference);

/// Bytes of text that the entity references of a document stand for, each counted as often as it is met.
std::size_t ExpandedEntitySize(const xmlDoc& tree);

}  // namespace pellago
