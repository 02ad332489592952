#include <algorithm>
#include <chrono>
#include <utility>

#include "feeds/channel.h"
#include "infra/app_settings.h"
#include "infra/guarded_routine.h"
#include "infra/process_objects.h"
#include "infra/setting_names.h"
#include "platform/loop/message_loop.h"
#include "platform/values/text.h"

namespace pellago {
namespace {

constexpr std::chrono::milliseconds kTimeOut{60'000};
constexpr std::int32_t kMostAhead = 128;  // transfers: each takes a descriptor

HttpSession::Settings SessionSettings() {
    HttpSession::Settings settings{.time_out = kTimeOut};
    const auto setting = [](const char* name, std::int32_t otherwise) {
        return gAppSettings ? CLng(gAppSettings->GetSetting(kSettingsSection, name, Variant(otherwise)))
                            : otherwise;
    };
    IgnoringErrors([&](Statements& run) {
        run([&] {
            settings.read_ahead =
                std::clamp(setting(setting_name::kReadAhead, settings.read_ahead), 0, kMostAhead);
        });
        run([&] { settings.cache = setting(setting_name::kHttpCache, 1) != 0; });
    });
    return settings;
}

}  // namespace

clsChannel::clsChannel() = default;
clsChannel::~clsChannel() = default;

HttpSession& clsChannel::Session() {
    if (!session_) session_ = std::make_unique<HttpSession>(SessionSettings());
    return *session_;
}

void clsChannel::ReadAhead(const std::vector<std::string>& addresses) { Session().Expect(addresses); }

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
    document_ = std::make_unique<XmlDocument>([this](const std::string& url) { return Session().Open(url); });
    document_->Load(address);
    StartTimer();
    load_cancelled_ = false;
    timed_out_ = false;
    while (document_->ReadyState() != ReadyState::kComplete && !load_cancelled_) WaitForEvents();
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

// What was fetched ahead has had some of its time already.
void clsChannel::StartTimer() {
    const auto left = std::max(kTimeOut - document_->TimeSpent(), std::chrono::milliseconds(1));
    timer_ = std::make_unique<cTimer>();
    timer_->start(static_cast<std::int32_t>(left.count()), *this);
}

void clsChannel::ParseDocument(const XmlDocument& document) {
    items_.Clear();
    Try([&] {
        const auto root = document.DocumentElement();
        const auto format = UCase(root->BaseName());
        if (format == "RDF") ParseRDF(*root);
        if (format == "RSS") ParseRSS(*root);
        if (format == "FEED") ParseAtom(*root);
    });
}

void clsChannel::iTimer_Fire(std::int32_t /*elapsed_ms*/) {
    if (document_ && document_->ReadyState() == ReadyState::kLoading) {
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
            if (document_ && document_->ReadyState() == ReadyState::kLoading) document_->Abort();
        });
        run([&] { timer_.reset(); });
        run([&] {
            if (session_) session_->Cancel();
        });
    });
}

}  // namespace pellago
