#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pellago {

class DocumentSource;

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

struct XmlParseError {
    std::int32_t error_code = 0;  ///< 0: the document is complete and well-formed
    std::string reason;
};

/// How far the load of a document has come.
enum class ReadyState : std::int32_t {
    kUninitialised = 0,
    kLoading = 1,  ///< data still arriving
    kLoaded = 2,   ///< all data received
    kParsing = 3,
    kComplete = 4  ///< also after a failure or an abort
};

/// A document loaded in the background, through the message loop, from an http or https address, a file
/// address or a plain path.
class XmlDocument final {
public:
    /// Gives the bytes behind an http or https address.
    using WebOpener = std::function<std::shared_ptr<DocumentSource>(const std::string& url)>;

    /// Without `open_web` documents come from files alone.
    explicit XmlDocument(WebOpener open_web = {});
    ~XmlDocument();
    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;

    /// Starts loading and returns at once; a failure shows in ParseError when the state is 4. A document is
    /// loaded once. Throws RunTimeError when it is not possible to start at all.
    void Load(const std::string& address);

    pellago::ReadyState ReadyState() const;
    /// Ends a pending load at once, from wherever it is called; the state is then 4, the parse error not 0.
    void Abort();

    /// How long the network has taken so far, also before this document asked for it; zero once it is done.
    std::chrono::milliseconds TimeSpent() const;

    const XmlParseError& ParseError() const;

    /// Nothing until a well-formed document has arrived.
    std::optional<XmlNode> DocumentElement() const;

private:
    struct Loading;
    std::unique_ptr<Loading> loading_;
};

}  // namespace pellago
