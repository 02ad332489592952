#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace pellago {

class HttpExchange;
class HttpSession;

/// The head of the final answer, after redirects.
struct HttpHead {
    int status = 0;
    std::string url;           ///< the address that answered in the end
    std::string content_type;  ///< as sent, empty when there was none
};

/// What a transfer tells its owner, from the message loop and never before the transfer's constructor has
/// returned. Each may abort or destroy the transfer and may run the message loop; while it does, the same
/// transfer tells nothing else.
struct HttpEvents {
    /// Before everything else. When it comes again, the answer begins anew: what came before is void.
    std::function<void(const HttpHead&)> head;
    /// A piece of the body, its content coding undone; the bytes are valid during the call.
    std::function<void(std::string_view)> body;
    /// Once, last. An empty text means that the whole body has arrived, any other says why it has not.
    std::function<void(const std::string& error)> end;
};

/// A GET of an http or https address, carried by the message loop. Connections, host names and TLS sessions
/// are shared by all transfers of the process. At most 5 redirects, to http and https only; certificates are
/// checked (SSL_CERT_FILE may name those to trust); no cookies. HTTP/2 where the server speaks it, and after
/// an error in its framing once more on HTTP/1.1. A status of 300 or above in the end, a body that ends
/// before its declared length and one of more than 64 MiB are failures. A compressed body that is whole as
/// sent but ends inside its coding is not noticed here: the owner sees that the document in it is not
/// complete. There is no time-out but the owner's own.
class HttpTransfer final {
public:
    static constexpr std::size_t kMaxBody = std::size_t{64} << 20U;  ///< bytes, content coding undone

    /// Takes over what `session` has begun with that address, else starts; without a session nothing is read
    /// ahead, cached or noted. Throws RunTimeError when there is no message loop or the system has no
    /// descriptors left.
    HttpTransfer(const std::string& url, HttpEvents events, HttpSession* session = nullptr);
    /// Aborts.
    ~HttpTransfer();
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    /// Ends the transfer at once, from wherever it is called; no event comes any more.
    void Abort();

    /// How long the network has taken so far; zero once it is done.
    std::chrono::milliseconds TimeSpent() const;

    /// The owner has found the whole body to be what it should be, so that the session may cache it.
    void Keep();

private:
    std::shared_ptr<HttpExchange> exchange_;
};

}  // namespace pellago
