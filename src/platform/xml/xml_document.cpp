#include "platform/xml/xml_document.h"

#include <utility>

#include "file_source.h"
#include "platform/loop/message_loop.h"
#include "platform/values/addresses.h"
#include "platform/values/run_time_error.h"
#include "platform/values/text.h"
#include "platform/xml/document_source.h"
#include "xml_parser.h"

namespace pellago {
namespace {

using State = ReadyState;

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

}  // namespace

struct XmlDocument::Loading {
    explicit Loading(WebOpener opener) : open_web(std::move(opener)) {}
    ~Loading() { LetGoOfSource(); }
    Loading(const Loading&) = delete;
    Loading& operator=(const Loading&) = delete;

    void Start(const std::string& address) {
        const auto [kind, location] = ParseAddress(address);
        std::string obstacle;
        if (kind == DocumentAddress::Kind::kFile)
            source = std::make_shared<FileSource>(location);
        else if (kind == DocumentAddress::Kind::kHttp && open_web)
            source = open_web(location);
        else
            obstacle = kind == DocumentAddress::Kind::kHttp ? "Only files are read here" : location;
        source ? Read() : Later([this, obstacle] { Complete({kNotLoaded, obstacle}); });
        state = State::kLoading;
    }

    void Complete(XmlParseError with_error) {
        state = State::kComplete;
        error = std::move(with_error);
        pending.reset();
        parser.reset();
        LetGoOfSource();
    }

    std::chrono::milliseconds TimeSpent() const {
        return source ? source->TimeSpent() : std::chrono::milliseconds::zero();
    }

    State state = State::kUninitialised;
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

    void Read() {
        source->Start({.head = [this](const DocumentHead& head) { Begin(head); },
                       .body = [this](std::string_view bytes) { Feed(bytes); },
                       .end =
                           [this](const std::string& failure) {
                               failure.empty() ? Received() : Complete({kNotLoaded, failure});
                           }});
    }

    void Begin(const DocumentHead& head) {
        parser = std::make_unique<XmlParser>(Charset(head.content_type));
        size = 0;
    }

    void Feed(std::string_view bytes) {
        size += bytes.size();
        if (size > kMaxDocument)
            Complete({kNotLoaded, kDocumentTooLarge});
        else if (!parser->Feed(bytes))
            Complete(XmlParseError(parser->Error()));
    }

    // The closing parse has an event of its own, so that an owner that waits sees the states in between.
    void Received() {
        state = State::kLoaded;
        Later([this] {
            state = State::kParsing;
            Later([this] { Close(); });
        });
    }

    void Close() {
        tree = parser->Finish();
        if (tree) source->Keep();
        Complete(XmlParseError(parser->Error()));
    }

    void LetGoOfSource() {
        if (source) source->Abort();
        source.reset();
    }

    WebOpener open_web;
    std::shared_ptr<DocumentSource> source;
    std::unique_ptr<XmlParser> parser;
    std::size_t size = 0;  ///< bytes fed
    std::shared_ptr<const std::function<void()>> pending;
};

XmlDocument::XmlDocument(WebOpener open_web) : loading_(std::make_unique<Loading>(std::move(open_web))) {}
XmlDocument::~XmlDocument() = default;

void XmlDocument::Load(const std::string& address) {
    if (loading_->state != State::kUninitialised)
        throw RunTimeError(error_number::kInvalidProcedureCall, "", "A document is loaded once");
    loading_->Start(address);
}

ReadyState XmlDocument::ReadyState() const { return loading_->state; }

void XmlDocument::Abort() {
    if (loading_->state != State::kUninitialised && loading_->state != State::kComplete)
        loading_->Complete({kAborted, "The load was aborted"});
}

std::chrono::milliseconds XmlDocument::TimeSpent() const { return loading_->TimeSpent(); }

const XmlParseError& XmlDocument::ParseError() const { return loading_->error; }

std::optional<XmlNode> XmlDocument::DocumentElement() const {
    if (!loading_->tree) return std::nullopt;
    return XmlNode(xmlDocGetRootElement(loading_->tree.get()));
}

}  // namespace pellago
