#include "platform/http_transfer.h"

#include <sys/socket.h>

#include <QPointer>
#include <array>
#include <utility>

#include "curl_multi.h"
#include "platform/process.h"
#include "platform/run_time_error.h"

namespace pellago {
namespace {

/// The address with blanks and other characters that URLs cannot hold percent-encoded (RFC 3986), nothing
/// when it is no URL.
std::string EncodedUrl(const std::string& address) {
    const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> url(curl_url(), curl_url_cleanup);
    char* text = nullptr;
    if (curl_url_set(url.get(), CURLUPART_URL, address.c_str(), CURLU_URLENCODE | CURLU_ALLOW_SPACE) !=
            CURLUE_OK ||
        curl_url_get(url.get(), CURLUPART_URL, &text, 0) != CURLUE_OK)
        return {};
    const std::unique_ptr<char, decltype(&curl_free)> owner(text, curl_free);
    return text;
}

curl_socket_t OpenSocket(void*, curlsocktype, curl_sockaddr* address) {
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

}  // namespace

/// The transfer behind its owner's handle; lives on while it is delivering, whatever the owner does.
class HttpTransfer::Easy final : public CurlClient, public std::enable_shared_from_this<Easy> {
public:
    Easy(const std::string& url, HttpEvents events)
        : multi_(&CurlMulti::Instance()), events_(std::move(events)), easy_(curl_easy_init()) {
        if (!easy_) throw RunTimeError(error_number::kInternalError, "", "The transfer cannot be started");
        SetOptions(url);
    }
    ~Easy() override { Abort(); }
    Easy(const Easy&) = delete;
    Easy& operator=(const Easy&) = delete;

    void Start() {
        if (url_is_valid_) {
            multi_->Add(*this);
        } else {
            End("The address is not a valid URL");
            multi_->DeliverSoon();
        }
    }

    CURL* Handle() const override { return easy_; }

    void Abort() override {
        over_ = true;
        Release();
    }

    void Completed(CURLcode result) override {
        NoteHead();
        End(FailureText(result));
        Release();
    }

    void Deliver() override {
        if (delivering_) return;  // the call that is delivering goes on with it
        delivering_ = true;
        const auto kept = shared_from_this();
        while (!over_ && TellNext()) {
        }
        delivering_ = false;
    }

private:
    template <typename Value>
    void Set(CURLoption option, Value value) {
        curl_easy_setopt(easy_, option, value);
    }

    void SetOptions(const std::string& address) {
        const auto url = EncodedUrl(address);
        url_is_valid_ = !url.empty();
        Set(CURLOPT_URL, url.c_str());
        Set(CURLOPT_PROTOCOLS_STR, "http,https");
        Set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
        Set(CURLOPT_FOLLOWLOCATION, 1L);
        Set(CURLOPT_MAXREDIRS, 5L);
        Set(CURLOPT_FAILONERROR, 1L);
        Set(CURLOPT_ACCEPT_ENCODING, "");  // all that libcurl was built with
        Set(CURLOPT_USERAGENT, ("Pellago/" + ProgramVersionText()).c_str());
        Set(CURLOPT_NOSIGNAL, 1L);
        // An abort must not wait for a name server that does not answer.
        Set(CURLOPT_QUICK_EXIT, 1L);
        Set(CURLOPT_BUFFERSIZE, 65536L);
        Set(CURLOPT_SHARE, multi_->Share());
        Set(CURLOPT_ERRORBUFFER, error_.data());
        Set(CURLOPT_OPENSOCKETFUNCTION, OpenSocket);
        Set(CURLOPT_PRIVATE, static_cast<CurlClient*>(this));
        Set(CURLOPT_WRITEDATA, this);
        Set(
            CURLOPT_WRITEFUNCTION, +[](const char* bytes, std::size_t, std::size_t size, void* self) {
                return static_cast<Easy*>(self)->Write(bytes, size);
            });
    }

    std::size_t Write(const char* bytes, std::size_t size) {
        NoteHead();
        received_ += size;
        if (received_ > kMaxBody) return 0;
        if (arrived_.empty()) MarkReady();
        arrived_.append(bytes, size);
        return size;
    }

    void NoteHead() {
        if (head_known_) return;
        long status = 0;
        curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
        if (status == 0) return;
        const char* url = nullptr;
        const char* type = nullptr;
        curl_easy_getinfo(easy_, CURLINFO_EFFECTIVE_URL, &url);
        curl_easy_getinfo(easy_, CURLINFO_CONTENT_TYPE, &type);
        head_ = {static_cast<int>(status), url ? url : "", type ? type : ""};
        head_known_ = true;
        MarkReady();
    }

    std::string FailureText(CURLcode result) const {
        if (received_ > kMaxBody) return "The document is larger than 64 MiB";
        if (result != CURLE_OK) return error_[0] != '\0' ? error_.data() : curl_easy_strerror(result);
        // What is left of 300 and above are redirects that lead nowhere and answers to questions not asked.
        if (head_.status >= 300) return "The server answered with status " + std::to_string(head_.status);
        return {};
    }

    void End(std::string error) {
        ended_ = true;
        end_error_ = std::move(error);
        MarkReady();
    }

    void MarkReady() { multi_->MarkReady(weak_from_this()); }

    bool TellNext() {
        if (head_known_ && !std::exchange(head_told_, true)) {
            events_.head(head_);
        } else if (!arrived_.empty()) {
            auto piece = std::exchange(arrived_, {});
            events_.body(piece);
            piece.clear();
            if (arrived_.empty() && !over_) arrived_ = std::move(piece);  // keeps its memory
        } else if (ended_) {
            over_ = true;
            events_.end(end_error_);
        } else {
            return false;
        }
        return true;
    }

    void Release() {
        if (!easy_) return;
        if (multi_) multi_->Remove(*this);
        curl_easy_cleanup(easy_);
        easy_ = nullptr;
    }

    QPointer<CurlMulti> multi_;
    HttpEvents events_;
    CURL* easy_;
    bool url_is_valid_ = false;
    std::array<char, CURL_ERROR_SIZE> error_{};
    HttpHead head_;
    bool head_known_ = false;
    bool head_told_ = false;
    std::string arrived_;  ///< decoded, not yet told
    std::size_t received_ = 0;
    bool ended_ = false;
    std::string end_error_;
    bool delivering_ = false;
    bool over_ = false;  ///< nothing more is told
};

HttpTransfer::HttpTransfer(const std::string& url, HttpEvents events)
    : easy_(std::make_shared<Easy>(url, std::move(events))) {
    easy_->Start();
}
HttpTransfer::~HttpTransfer() { Abort(); }

void HttpTransfer::Abort() { easy_->Abort(); }

}  // namespace pellago
