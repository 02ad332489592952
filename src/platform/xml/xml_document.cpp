#include "platform/xml/xml_document.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <span>
#include <system_error>
#include <utility>

#include "platform/loop/message_loop.h"
#include "platform/net/http_transfer.h"
#include "platform/values/addresses.h"
#include "platform/values/run_time_error.h"
#include "platform/values/text.h"
#include "xml_parser.h"

namespace pellago {
namespace {

enum State : std::int32_t { kUninitialised = 0, kLoading = 1, kLoaded = 2, kParsing = 3, kComplete = 4 };

// The codes of libxml2 are positive.
constexpr std::int32_t kNotLoaded = -1;
constexpr std::int32_t kAborted = -2;

/// The charset parameter of a media type (RFC 9110, 8.3), empty when there is none.
std::string Charset(std::string_view content_type) {
    const auto lower = LCase(content_type);
    const auto at = lower.find("charset=");
    if (at == std::string::npos) return {};
    auto value = std::string_view(lower).substr(at + 8);
    if (value.starts_with('"') || value.starts_with('\'')) {
        const char quote = value.front();
        value.remove_prefix(1);
        value = value.substr(0, value.find(quote));
    } else {
        value = value.substr(0, value.find_first_of("; \t,"));
    }
    return std::string(value);
}

std::string SystemError() { return std::system_category().message(errno); }

/// A file that is read piece by piece, so that the loop runs meanwhile.
class InputFile final {
public:
    InputFile() = default;
    ~InputFile() { close(descriptor_); }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    bool IsOpen() const { return descriptor_ >= 0; }

    /// The reason of a failure, empty for success. Only regular files: what else there is may never end.
    std::string Open(const std::string& path) {
        // Not to wait for the other end of a pipe.
        descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
        if (descriptor_ < 0) return SystemError();
        struct stat about {};
        if (fstat(descriptor_, &about) != 0) return SystemError();
        return S_ISREG(about.st_mode) ? "" : "Not a regular file";
    }

    /// Bytes read, 0 at the end, less for a failure.
    ssize_t Read(std::span<char> buffer) const {
        ssize_t size = 0;
        do {
            size = read(descriptor_, buffer.data(), buffer.size());
        } while (size < 0 && errno == EINTR);
        return size;
    }

private:
    int descriptor_ = -1;
};

}  // namespace

struct XmlDocument::Loading {
    explicit Loading(HttpSession* with) : session(with) {}

    void Start(const std::string& address) {
        auto [kind, location] = ParseAddress(address);
        if (kind == DocumentAddress::Kind::kHttp) {
            Fetch(location);
            state = kLoading;
            return;
        }
        Later([this, is_file = kind == DocumentAddress::Kind::kFile, place = std::move(location)] {
            is_file ? OpenFile(place) : Complete({kNotLoaded, place});
        });
        state = kLoading;
    }

    void Complete(XmlParseError with_error) {
        state = kComplete;
        error = std::move(with_error);
        pending.reset();
        transfer.reset();
        parser.reset();
        file.reset();
    }

    std::chrono::milliseconds TimeSpent() const {
        return transfer ? transfer->TimeSpent() : std::chrono::milliseconds::zero();
    }

    std::int32_t state = kUninitialised;
    XmlParseError error;
    XmlTree tree;

private:
    /// Calls `step` in an event of its own, unless the document is complete or gone by then.
    void Later(std::function<void()> step) {
        pending = std::make_shared<const std::function<void()>>(std::move(step));
        CallLater([waiting = std::weak_ptr(pending)] {
            if (const auto kept = waiting.lock()) (*kept)();
        });
    }

    void Fetch(const std::string& url) {
        transfer = std::make_unique<HttpTransfer>(
            url,
            HttpEvents{.head = [this](const HttpHead& head) { Begin(Charset(head.content_type)); },
                       .body = [this](std::string_view bytes) { Feed(bytes); },
                       .end =
                           [this](const std::string& failure) {
                               failure.empty() ? Received() : Complete({kNotLoaded, failure});
                           }},
            session);
    }

    void OpenFile(const std::string& path) {
        file = std::make_unique<InputFile>();
        if (const auto reason = file->Open(path); !reason.empty()) {
            Complete({kNotLoaded, path + ": " + reason});
            return;
        }
        Begin("");
        Later([this] { ReadFile(); });
    }

    void ReadFile() {
        std::array<char, 65536> buffer;
        const auto size = file->Read(buffer);
        if (size < 0) {
            Complete({kNotLoaded, SystemError()});
        } else if (size == 0) {
            Received();
        } else if ((file_size += static_cast<std::size_t>(size)) > HttpTransfer::kMaxBody) {
            Complete({kNotLoaded, "The document is larger than 64 MiB"});
        } else if (Feed({buffer.data(), static_cast<std::size_t>(size)})) {
            Later([this] { ReadFile(); });
        }
    }

    void Begin(std::string charset) { parser = std::make_unique<XmlParser>(std::move(charset)); }

    bool Feed(std::string_view bytes) {
        if (parser->Feed(bytes)) return true;
        Complete(XmlParseError(parser->Error()));
        return false;
    }

    // The closing parse has an event of its own, so that an owner that waits sees the states in between.
    void Received() {
        state = kLoaded;
        file.reset();
        Later([this] {
            state = kParsing;
            Later([this] { Close(); });
        });
    }

    void Close() {
        tree = parser->Finish();
        if (tree && transfer) transfer->Keep();
        Complete(XmlParseError(parser->Error()));
    }

    HttpSession* session;
    std::unique_ptr<HttpTransfer> transfer;
    std::unique_ptr<InputFile> file;
    std::size_t file_size = 0;
    std::unique_ptr<XmlParser> parser;
    std::shared_ptr<const std::function<void()>> pending;
};

XmlDocument::XmlDocument(HttpSession* session) : loading_(std::make_unique<Loading>(session)) {}
XmlDocument::~XmlDocument() = default;

void XmlDocument::Load(const std::string& address) {
    if (loading_->state != kUninitialised)
        throw RunTimeError(error_number::kInvalidProcedureCall, "", "A document is loaded once");
    loading_->Start(address);
}

std::int32_t XmlDocument::ReadyState() const { return loading_->state; }

void XmlDocument::Abort() {
    if (loading_->state != kUninitialised && loading_->state != kComplete)
        loading_->Complete({kAborted, "The load was aborted"});
}

std::chrono::milliseconds XmlDocument::TimeSpent() const { return loading_->TimeSpent(); }

const XmlParseError& XmlDocument::ParseError() const { return loading_->error; }

std::optional<XmlNode> XmlDocument::DocumentElement() const {
    if (!loading_->tree) return std::nullopt;
    return XmlNode(xmlDocGetRootElement(loading_->tree.get()));
}

}  // namespace pellago
