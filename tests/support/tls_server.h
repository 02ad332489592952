#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace pellago::test {

/// The certificate of all TLS servers of this process, for SSL_CERT_FILE; it is valid for 127.0.0.1 alone.
const std::string& CertificateFile();

/// An https server on 127.0.0.1 that answers every request with the same document, with threads of its own.
/// Clients that offer HTTP/2 (RFC 9113) get that, the others HTTP/1.1. Gone at once with the object.
class TlsServer final {
public:
    enum class Http2 {
        kSpoken,
        kBroken,       ///< instead of an answer comes a frame where none may be
        kStreamEnded,  ///< instead of an answer the stream ends with an error
        kGoneAway,     ///< instead of an answer the connection ends with an error
    };

    TlsServer(Http2 http2, std::string document);
    ~TlsServer();
    TlsServer(const TlsServer&) = delete;
    TlsServer& operator=(const TlsServer&) = delete;

    /// For another name than 127.0.0.1 the certificate is not valid.
    std::string Url(const std::string& host = "127.0.0.1") const;

    /// "h2" or "http/1.1" for each request so far.
    std::vector<std::string> Requests() const;
    /// Connections accepted so far.
    std::size_t Connections() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace pellago::test
