#include "xml_tree.h"

#include <cstring>
#include <map>

namespace pellago {
namespace {

/// Adds up saturating: a bomb of a few lines stands for more than can be counted.
class ExpansionCounter final {
public:
    std::size_t Descendants(const xmlNode* top) {
        std::size_t size = 0;
        for (const auto* node = top->children; node; node = NextDescendant(node, top)) {
            Add(size, SizeOfReference(*node));
            if (node->type != XML_ELEMENT_NODE) continue;
            for (const auto* attribute = node->properties; attribute; attribute = attribute->next)
                for (const auto* part = attribute->children; part; part = part->next)
                    Add(size, SizeOfReference(*part));
        }
        return size;
    }

private:
    static void Add(std::size_t& sum, std::size_t value) {
        if (__builtin_add_overflow(sum, value, &sum)) sum = static_cast<std::size_t>(-1);
    }

    std::size_t SizeOfReference(const xmlNode& node) {
        if (node.type != XML_ENTITY_REF_NODE) return 0;
        const auto* entity = ReferencedEntity(node);
        if (!entity) return 0;
        const auto [known, is_new] = sizes_.try_emplace(entity, 0);
        if (is_new) {
            const auto* top = reinterpret_cast<const xmlNode*>(entity);
            std::size_t size = Descendants(top);
            for (const auto* part = top->children; part; part = NextDescendant(part, top))
                if (part->content && part->type != XML_ENTITY_REF_NODE)
                    Add(size, std::strlen(reinterpret_cast<const char*>(part->content)));
            known->second = size;
        }
        return known->second;
    }

    std::map<const xmlEntity*, std::size_t> sizes_;
};

}  // namespace

const xmlNode* NextDescendant(const xmlNode* node, const xmlNode* top) {
    if (node->type == XML_ELEMENT_NODE && node->children) return node->children;
    while (node && node != top && !node->next) node = node->parent;
    return node && node != top ? node->next : nullptr;
}

const xmlEntity* ReferencedEntity(const xmlNode& reference) {
    const auto* entity = xmlGetDocEntity(reference.doc, reference.name);
    return entity && entity->etype == XML_INTERNAL_GENERAL_ENTITY ? entity : nullptr;
}

std::size_t ExpandedEntitySize(const xmlDoc& tree) {
    const auto* root = xmlDocGetRootElement(&tree);
    if (!root || !tree.intSubset || !tree.intSubset->entities) return 0;
    ExpansionCounter counter;
    // The root's own attributes are counted as those of a child of the document.
    return counter.Descendants(reinterpret_cast<const xmlNode*>(&tree));
}

}  // namespace pellago
