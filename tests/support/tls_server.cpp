#include "support/tls_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <list>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "support/support.h"

namespace pellago::test {
namespace {

using namespace std::string_view_literals;

const TempDir& CertificateFolder() {
    static const TempDir folder;
    static const int made = std::system(
        ("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj /CN=test "
         "-addext subjectAltName=IP:127.0.0.1 -keyout " +
         (folder / "key.pem") + " -out " + (folder / "certificate.pem") + " 2>/dev/null")
            .c_str());
    if (made != 0) throw std::runtime_error("the openssl program makes no certificate");
    return folder;
}

int TakeHttp2IfOffered(SSL*, const unsigned char** out, unsigned char* size, const unsigned char* offered,
                       unsigned int offered_size, void*) {
    static constexpr std::array<unsigned char, 12> kOurs = {2,   'h', '2', 8,   'h', 't',
                                                            't', 'p', '/', '1', '.', '1'};
    unsigned char* chosen = nullptr;
    if (SSL_select_next_proto(&chosen, size, kOurs.data(), kOurs.size(), offered, offered_size) !=
        OPENSSL_NPN_NEGOTIATED)
        return SSL_TLSEXT_ERR_NOACK;
    *out = chosen;
    return SSL_TLSEXT_ERR_OK;
}

SSL_CTX* MakeContext() {
    auto* context = SSL_CTX_new(TLS_server_method());
    if (SSL_CTX_use_certificate_file(context, CertificateFile().c_str(), SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_use_PrivateKey_file(context, (CertificateFolder() / "key.pem").c_str(), SSL_FILETYPE_PEM) !=
            1)
        throw std::runtime_error("the TLS server cannot use its certificate");
    SSL_CTX_set_alpn_select_cb(context, TakeHttp2IfOffered, nullptr);
    return context;
}

/// Frames of HTTP/2 as they go over the wire (RFC 9113, 4.1).
enum FrameType : char { kData = 0, kHeaders = 1, kEndOfStream = 3, kSettings = 4, kGoAway = 7 };
constexpr char kAck = 1;        // of settings
constexpr char kLast = 1;       // of data
constexpr char kEndOfHead = 4;  // of headers
using Stream = std::array<char, 4>;

std::string Frame(FrameType type, char flags, const Stream& stream, std::string_view payload = {}) {
    std::string bytes = {'\0', static_cast<char>(payload.size() >> 8U),
                         static_cast<char>(payload.size() & 0xffU), type, flags};
    return bytes.append(stream.data(), stream.size()).append(payload);
}

/// A connection's bytes, decrypted.
class Channel final {
public:
    Channel(SSL_CTX* context, int socket) : ssl_(SSL_new(context)) { SSL_set_fd(ssl_, socket); }
    ~Channel() { SSL_free(ssl_); }
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    bool Accept() { return SSL_accept(ssl_) == 1; }

    bool SpeaksHttp2() const {
        const unsigned char* name = nullptr;
        unsigned int size = 0;
        SSL_get0_alpn_selected(ssl_, &name, &size);
        return size == 2;
    }

    bool Send(const std::string& bytes) {
        return SSL_write(ssl_, bytes.data(), static_cast<int>(bytes.size())) > 0;
    }

    /// Nothing when the connection ends before.
    std::optional<std::string> Read(std::size_t size) {
        while (input_.size() < size)
            if (!Fill()) return std::nullopt;
        const auto bytes = input_.substr(0, size);
        input_.erase(0, size);
        return bytes;
    }
    bool SkipHead() {
        for (;;) {
            if (const auto end = input_.find("\r\n\r\n"); end != std::string::npos) {
                input_.erase(0, end + 4);
                return true;
            }
            if (!Fill()) return false;
        }
    }

private:
    bool Fill() {
        std::array<char, 16384> buffer{};
        const int got = SSL_read(ssl_, buffer.data(), static_cast<int>(buffer.size()));
        if (got > 0) input_.append(buffer.data(), static_cast<std::size_t>(got));
        return got > 0;
    }

    SSL* ssl_;
    std::string input_;
};

}  // namespace

const std::string& CertificateFile() {
    static const std::string file = CertificateFolder() / "certificate.pem";
    return file;
}

struct TlsServer::State {
    State(Http2 way, std::string text) : http2(way), document(std::move(text)), context(MakeContext()) {
        socklen_t size = sizeof address;
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_ANY);
        if (bind(listener, generic, size) != 0 || listen(listener, SOMAXCONN) != 0 ||
            getsockname(listener, generic, &size) != 0)
            throw std::runtime_error("the TLS server cannot listen");
        acceptor = std::thread([this] { Accept(); });
    }
    ~State() {
        {
            const std::lock_guard lock(mutex);
            stopping = true;
            shutdown(listener, SHUT_RDWR);
            for (const auto& connection : connections) shutdown(connection.socket, SHUT_RDWR);
        }
        acceptor.join();
        for (auto& connection : connections) {
            connection.thread.join();
            close(connection.socket);
        }
        close(listener);
        SSL_CTX_free(context);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    void Accept() {
        for (;;) {
            const int socket = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            const std::lock_guard lock(mutex);
            if (stopping) {
                if (socket >= 0) close(socket);
                return;
            }
            if (socket >= 0) connections.push_back({socket, std::thread([this, socket] { Serve(socket); })});
        }
    }

    void Serve(int socket) {
        // A client that has gone ends the connection, not the process.
        sigset_t blocked;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
        Channel channel(context, socket);
        if (channel.Accept()) channel.SpeaksHttp2() ? SpeakHttp2(channel) : SpeakHttp1(channel);
        shutdown(socket, SHUT_RDWR);
    }

    void SpeakHttp1(Channel& channel) {
        while (channel.SkipHead()) {
            Note("http/1.1");
            if (!channel.Send("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(document.size()) +
                              "\r\n\r\n" + document))
                return;
        }
    }

    void SpeakHttp2(Channel& channel) {
        constexpr std::size_t kPreface = 24;
        if (!channel.Read(kPreface) || !channel.Send(Frame(kSettings, 0, {}))) return;
        while (const auto head = channel.Read(9)) {
            const auto byte = [&](std::size_t at) { return static_cast<unsigned char>((*head)[at]); };
            const auto size = std::size_t{byte(0)} << 16U | std::size_t{byte(1)} << 8U | byte(2);
            if (!channel.Read(size) || byte(3) == kGoAway) return;
            if (byte(3) == kSettings && byte(4) != kAck && !channel.Send(Frame(kSettings, kAck, {}))) return;
            if (byte(3) == kHeaders &&
                !channel.Send(Answer({(*head)[5], (*head)[6], (*head)[7], (*head)[8]})))
                return;
        }
    }

    std::string Answer(const Stream& stream) {
        Note("h2");
        switch (http2) {
            case Http2::kBroken:
                return Frame(kData, 0, {}, document);
            case Http2::kStreamEnded:
                return Frame(kEndOfStream, 0, stream, "\0\0\0\x02"sv);
            case Http2::kGoneAway:
                return Frame(kGoAway, 0, {}, "\0\0\0\0\0\0\0\x01"sv);
            case Http2::kSpoken:
                break;
        }
        // 0x88 is the field ":status: 200" (RFC 7541, appendix A).
        return Frame(kHeaders, kEndOfHead, stream, "\x88") + Frame(kData, kLast, stream, document);
    }

    void Note(const std::string& protocol) {
        const std::lock_guard lock(mutex);
        requests.push_back(protocol);
    }

    struct Connection {
        int socket;
        std::thread thread;
    };
    const Http2 http2;
    const std::string document;
    SSL_CTX* context;
    sockaddr_in address{};
    int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::mutex mutex;
    bool stopping = false;
    std::vector<std::string> requests;
    std::list<Connection> connections;
    std::thread acceptor;
};

TlsServer::TlsServer(Http2 http2, std::string document)
    : state_(std::make_unique<State>(http2, std::move(document))) {}
TlsServer::~TlsServer() = default;

std::string TlsServer::Url(const std::string& host) const {
    return "https://" + host + ":" + std::to_string(ntohs(state_->address.sin_port)) + "/feed.xml";
}

std::vector<std::string> TlsServer::Requests() const {
    const std::lock_guard lock(state_->mutex);
    return state_->requests;
}

std::size_t TlsServer::Connections() const {
    const std::lock_guard lock(state_->mutex);
    return state_->connections.size();
}

}  // namespace pellago::test
