#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pellago {

/// An element or attribute of a loaded document; valid as long as the document is.
/// Names are compared as written, prefix included; a default namespace changes nothing.
class XmlNode final {
public:
    /// The name as written ("rdf:RDF") and without its prefix ("RDF").
    std::string NodeName() const;
    std::string BaseName() const;

    /// All descendant text, white space between elements included, trimmed at both ends (space, tab, CR, LF).
    std::string Text() const;

    /// Path forms: "title", "image/title", "link[@type = "text/html"]/@href". First match in document order.
    /// Throws RunTimeError for a path of any other form.
    std::optional<XmlNode> SelectSingleNode(std::string_view path) const;
    /// Every match of a path, in document order.
    std::vector<XmlNode> SelectNodes(std::string_view path) const;

private:
    friend class XmlDocument;
    explicit XmlNode(void* node) : node_(node) {}
    void* node_;
};

}  // namespace pellago
