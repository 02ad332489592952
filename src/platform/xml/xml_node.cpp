#include "platform/xml/xml_node.h"

#include <array>
#include <optional>
#include <span>
#include <utility>

#include "platform/values/run_time_error.h"
#include "platform/values/text.h"
#include "xml_tree.h"

namespace pellago {
namespace {

std::string_view View(const xmlChar* text) {
    return text ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

bool IsText(const xmlNode& node) { return node.type == XML_TEXT_NODE || node.type == XML_CDATA_SECTION_NODE; }

void AppendText(const xmlNode* top, std::string& text) {
    for (const auto* node = top->children; node; node = NextDescendant(node, top)) {
        if (IsText(*node)) {
            text += View(node->content);
        } else if (node->type == XML_ENTITY_REF_NODE) {
            // Entities in entities are bounded in depth and size when the document is loaded.
            if (const auto* entity = ReferencedEntity(*node))
                AppendText(reinterpret_cast<const xmlNode*>(entity), text);
        }
    }
}

/// All text of an element or attribute, without a copy where it is in one piece.
std::string_view TextOf(const xmlNode* node, std::string& storage) {
    const auto* only = node->children;
    if (!only) return {};
    if (!only->next && IsText(*only)) return View(only->content);
    AppendText(node, storage);
    return storage;
}

/// Elements and attributes begin alike, with their namespace in different places.
const xmlNs* Namespace(const xmlNode* node) {
    return node->type == XML_ATTRIBUTE_NODE ? reinterpret_cast<const xmlAttr*>(node)->ns : node->ns;
}

bool HasName(const xmlNode* node, std::string_view name) {
    const auto* space = Namespace(node);
    if (!space || !space->prefix) return View(node->name) == name;
    const auto prefix = View(space->prefix);
    return name.size() > prefix.size() && name[prefix.size()] == ':' && name.starts_with(prefix) &&
           name.substr(prefix.size() + 1) == View(node->name);
}

/// One step of a path: a child element, where asked for with a certain attribute, or an attribute.
struct Step {
    std::string_view name;
    bool is_attribute = false;
    std::string_view filter_attribute;
    std::string_view filter_value;
};

class PathReader final {
public:
    explicit PathReader(std::string_view path) : path_(path), rest_(path) {}

    std::vector<Step> Steps() {
        std::vector<Step> steps;
        do {
            if (!steps.empty() && steps.back().is_attribute) Fail();
            steps.push_back(NextStep());
        } while (Accept("/"));
        if (!rest_.empty()) Fail();
        return steps;
    }

private:
    Step NextStep() {
        Step step;
        step.is_attribute = Accept("@");
        step.name = Name();
        if (!step.is_attribute && Accept("[@")) {
            step.filter_attribute = Name();
            Accept(" ");
            Expect("=");
            Accept(" ");
            Expect("\"");
            step.filter_value = Take(rest_.find('"'));
            Expect("\"]");
        }
        return step;
    }

    std::string_view Name() {
        const auto is_letter = [](char c) {
            return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c < 0;
        };
        const auto may_follow = [](char c) { return (c >= '0' && c <= ':') || c == '.' || c == '-'; };
        std::size_t length = 0;
        while (length < rest_.size() &&
               (is_letter(rest_[length]) || (length > 0 && may_follow(rest_[length]))))
            ++length;
        if (length == 0) Fail();
        return Take(length);
    }

    bool Accept(std::string_view text) {
        if (!rest_.starts_with(text)) return false;
        rest_.remove_prefix(text.size());
        return true;
    }
    void Expect(std::string_view text) {
        if (!Accept(text)) Fail();
    }
    std::string_view Take(std::size_t length) {
        const auto taken = rest_.substr(0, length);
        rest_.remove_prefix(taken.size());
        return taken;
    }
    [[noreturn]] void Fail() const {
        throw RunTimeError(error_number::kInvalidProcedureCall, "", "Not a path: " + std::string(path_));
    }

    std::string_view path_;
    std::string_view rest_;
};

xmlNode* Attribute(xmlNode* node, std::string_view name) {
    if (node->type != XML_ELEMENT_NODE) return nullptr;
    for (auto* attribute = node->properties; attribute; attribute = attribute->next) {
        auto* as_node = reinterpret_cast<xmlNode*>(attribute);
        if (HasName(as_node, name)) return as_node;
    }
    return nullptr;
}

bool Fits(xmlNode* node, const Step& step) {
    if (node->type != XML_ELEMENT_NODE || !HasName(node, step.name)) return false;
    if (step.filter_attribute.empty()) return true;
    const auto* attribute = Attribute(node, step.filter_attribute);
    std::string storage;
    return attribute && TextOf(attribute, storage) == step.filter_value;
}

/// Visits the matches in document order until a visit answers true.
template <typename Visit>
bool Match(xmlNode* node, std::span<const Step> steps, const Visit& visit) {
    if (steps.empty()) return visit(node);
    const auto& step = steps.front();
    if (step.is_attribute) {
        auto* attribute = Attribute(node, step.name);
        return attribute && visit(attribute);
    }
    for (auto* child = node->children; child; child = child->next)
        if (Fits(child, step) && Match(child, steps.subspan(1), visit)) return true;
    return false;
}

xmlNode* Xml(void* node) { return static_cast<xmlNode*>(node); }

}  // namespace

std::string XmlNode::NodeName() const {
    const auto* space = Namespace(Xml(node_));
    const std::string name(View(Xml(node_)->name));
    return space && space->prefix ? std::string(View(space->prefix)) + ":" + name : name;
}

std::string XmlNode::BaseName() const {
    // A name whose prefix was never declared is kept whole by the library.
    const auto name = View(Xml(node_)->name);
    return std::string(name.substr(name.find(':') + 1));
}

std::string XmlNode::Text() const {
    std::string storage;
    return std::string(Trimmed(TextOf(Xml(node_), storage)));
}

std::optional<XmlNode> XmlNode::SelectSingleNode(std::string_view path) const {
    std::optional<XmlNode> found;
    const auto steps = PathReader(path).Steps();
    Match(Xml(node_), steps, [&](xmlNode* node) {
        found = XmlNode(node);
        return true;
    });
    return found;
}

std::vector<XmlNode> XmlNode::SelectNodes(std::string_view path) const {
    std::vector<XmlNode> found;
    const auto steps = PathReader(path).Steps();
    Match(Xml(node_), steps, [&](xmlNode* node) {
        found.push_back(XmlNode(node));
        return false;
    });
    return found;
}

}  // namespace pellago
