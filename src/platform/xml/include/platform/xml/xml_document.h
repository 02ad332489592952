#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/xml/xml_node.h"

namespace pellago {

class DocumentSource;

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
