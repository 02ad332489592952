#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace pellago {

/// A document may have so many bytes, and its entities may stand for so many, after the transfer has undone
/// its own coding of them.
inline constexpr std::size_t kMaxDocument = std::size_t{64} << 20U;
inline constexpr const char* kDocumentTooLarge = "The document is larger than 64 MiB";

/// What is known of a document before its first byte.
struct DocumentHead {
    std::string address;       ///< where it was found in the end, as after redirects
    std::string content_type;  ///< as the server said it, empty when nobody did
};

/// What a source tells its reader, from the message loop and never before Start has returned. Each may abort
/// the source and may run the message loop; while it does, the same source tells nothing else.
struct DocumentEvents {
    /// Before everything else. When it comes again, the document begins anew: what came before is void.
    std::function<void(const DocumentHead&)> head;
    /// The next piece; the bytes are valid during the call.
    std::function<void(std::string_view)> body;
    /// Once, last. An empty text means that all bytes have arrived, any other says why they have not.
    std::function<void(const std::string& error)> end;
};

/// Where the bytes of one document come from: a file, or a server.
class DocumentSource {
public:
    DocumentSource() = default;
    virtual ~DocumentSource() = default;
    DocumentSource(const DocumentSource&) = delete;
    DocumentSource& operator=(const DocumentSource&) = delete;

    /// From now on calls `events`, from the message loop. Called once.
    virtual void Start(DocumentEvents events) = 0;
    /// Ends it at once, from wherever it is called, an event included; no event comes any more. A reader must
    /// call this before it is destroyed, unless `end` has come; then it may let go of the source.
    virtual void Abort() = 0;
    /// How long the network has taken so far, also before Start; zero once it is done, and for files.
    virtual std::chrono::milliseconds TimeSpent() const { return {}; }
    /// The reader has found the document to be what it should be, so that the source may keep its bytes for
    /// the next time.
    virtual void Keep() {}
};

}  // namespace pellago
