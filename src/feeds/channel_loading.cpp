#include "feeds/channel.h"
#include "infra/guarded_routine.h"
#include "platform/message_loop.h"
#include "platform/text.h"

namespace pellago {
namespace {

constexpr std::int32_t kTimeOut = 60'000;  // milliseconds
constexpr std::int32_t kArriving = 1;
constexpr std::int32_t kComplete = 4;

}  // namespace

clsChannel::clsChannel() = default;
clsChannel::~clsChannel() = default;

bool clsChannel::Load(const std::string& address) {
    bool loaded = false;
    load_error_.clear();
    RunStatements(
        [this] {
            load_error_ = Err().description;
            return Decision::kIgnore;
        },
        [&](Statements& run) { loaded = run([&] { return LoadDocument(address); }); });
    timer_.reset();
    document_.reset();
    return loaded;
}

bool clsChannel::LoadDocument(const std::string& address) {
    document_ = std::make_unique<XmlDocument>();
    timer_ = std::make_unique<cTimer>();
    timer_->start(kTimeOut, *this);
    document_->Load(address);
    load_cancelled_ = false;
    timed_out_ = false;
    while (document_->ReadyState() != kComplete && !load_cancelled_) WaitForEvents();
    timer_.reset();
    if (load_cancelled_) {
        load_error_ = timed_out_ ? "The feed did not arrive within 60 seconds" : "The download was cancelled";
        return false;
    }
    if (const auto& error = document_->ParseError(); error.error_code != 0) {
        load_error_ = error.reason;
        return false;
    }
    ParseDocument(*document_);
    return true;
}

void clsChannel::ParseDocument(const XmlDocument& document) {
    items_.Clear();
    IgnoringErrors([&](Statements& run) {
        run([&] {
            const auto root = document.DocumentElement();
            const auto format = UCase(root->BaseName());
            if (format == "RDF") ParseRDF(*root);
            if (format == "RSS") ParseRSS(*root);
            if (format == "FEED") ParseAtom(*root);
        });
    });
}

void clsChannel::iTimer_Fire(std::int32_t /*lElapsedMS*/) {
    if (document_ && document_->ReadyState() == kArriving) {
        document_->Abort();
        load_cancelled_ = true;
        timed_out_ = true;
    }
    timer_.reset();
}

void clsChannel::CancelLoading() {
    IgnoringErrors([&](Statements& run) {
        run([&] { load_cancelled_ = true; });
        run([&] {
            if (document_ && document_->ReadyState() == kArriving) document_->Abort();
        });
        run([&] { timer_.reset(); });
    });
}

}  // namespace pellago
