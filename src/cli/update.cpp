#include <algorithm>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "cli/plain_text.h"
#include "cli/verbs.h"
#include "database.h"
#include "engine/update_run.h"
#include "infra/error_handler.h"
#include "infra/guarded_routine.h"
#include "infra/process_objects.h"
#include "live_display.h"
#include "platform/loop/message_loop.h"
#include "platform/loop/termination_signal.h"
#include "platform/loop/thread_timer.h"
#include "platform/system/message_box.h"
#include "platform/values/terminal_text.h"
#include "run_result.h"
#include "store/hand_over.h"

namespace pellago::cli {
namespace {

constexpr std::int32_t kRedrawInterval = 200;  // milliseconds

/// One run of the engine, shown to the user as was asked.
class UpdateVerb final : private CDBUpdateEvents {
public:
    UpdateVerb(const Context& context, const UpdateOptions& options);
    ~UpdateVerb() override;
    UpdateVerb(const UpdateVerb&) = delete;
    UpdateVerb& operator=(const UpdateVerb&) = delete;

    ExitStatus Run();

private:
    void OnStatusText(const std::string& text) override;
    void OnItemProgress(std::int32_t percent) override;
    void OnProvider(const std::string& name, std::int32_t index, std::int32_t count) override;
    void OnChannel(const std::string& name, std::int32_t index, std::int32_t count) override;
    void OnChannelDone(const Variant& name, std::int32_t channel_id) override;

    bool IsFullRun() const { return !options_.provider && !options_.channel; }
    void StartEngine();
    void Stop();
    std::int32_t ShowReport(const std::string& report);
    void KeepFailure(const ErrorInfo& error);
    void ClearDisplay();

    void KeepAbortedChannel();
    void Keep(ChannelResult result);

    void Draw();
    void Print(const ChannelResult& result);
    void PrintEnd();
    ExitStatus Status() const;

    const Context& context_;
    const UpdateOptions& options_;
    std::unique_ptr<DE1> database_;
    CDBUpdate engine_{*this};
    std::unique_ptr<RunResultReader> reader_;
    RunResult run_;
    std::optional<ChannelResult> channel_;  ///< the one that has begun and not ended
    Progress progress_;
    std::optional<LiveDisplay> display_;
    std::int32_t redraw_timer_ = 0;
    std::optional<OnTerminationSignal> signals_;
    std::set<std::string> reported_;  ///< errors that the user has seen
    ExitStatus worst_error_ = ExitStatus::kAllWell;
    bool stopped_ = false;
};

UpdateVerb::UpdateVerb(const Context& context, const UpdateOptions& options)
    : context_(context), options_(options), database_(OpenDatabase(context)) {
    if (context.terminal && !options.json && !options.quiet) {
        display_.emplace(context.out);
        // Shows what was not drawn because it came too soon, and lets the clock go on.
        redraw_timer_ = SetTimer(kRedrawInterval, [this](std::uint32_t) { Draw(); });
    }
    UseErrorDialog([this](const std::string& report, const std::string&) { return ShowReport(report); });
    UseMessageBox([this](const MessageBoxRequest& request) {
        ClearDisplay();
        return PrintMessageBox(request);
    });
    database_->CnnRSS()->OnFailure([this](const ErrorInfo& error) { KeepFailure(error); });
}

UpdateVerb::~UpdateVerb() {
    KillTimer(redraw_timer_);
    database_->CnnRSS()->OnFailure({});
    UseMessageBox({});
    UseErrorDialog({});
}

ExitStatus UpdateVerb::Run() {
    RaisingErrors([this](Statements& run) { HandOver(run, engine_, *database_); });
    reader_ = std::make_unique<RunResultReader>(*database_);
    // The second Ctrl-C finds no handler any more and ends the program at once.
    signals_.emplace([this](int) {
        Stop();
        signals_.reset();
    });
    StartEngine();
    // Serves a signal that came while the database was waited for.
    DoEvents();
    signals_.reset();
    KeepAbortedChannel();
    reader_->Finish(run_);
    run_.cancelled = engine_.Cancel();
    PrintEnd();
    return Status();
}

void UpdateVerb::StartEngine() {
    engine_.OnlyActive(IsFullRun());
    if (options_.provider)
        engine_.UpdateOnlyOneProvider(*options_.provider);
    else if (options_.channel)
        engine_.UpdateOnlyOneChannel(*options_.channel);
    else
        engine_.Update();
}

void UpdateVerb::Stop() {
    stopped_ = true;
    engine_.Cancel(true);
}

std::int32_t UpdateVerb::ShowReport(const std::string& report) {
    KeepFailure({gErrorHandler->ErrorNumber(), {}, gErrorHandler->ErrorDescription(), 0});
    reported_.insert(gErrorHandler->ErrorDescription());
    ClearDisplay();
    context_.err << TerminalText(report) << std::endl;
    return 0;
}

// The engine goes on after most failures without a word; the user is told at the end.
void UpdateVerb::KeepFailure(const ErrorInfo& error) {
    worst_error_ = std::max(worst_error_, StatusOf(error.number));
    if (std::ranges::find(run_.errors, error.description) == run_.errors.end())
        run_.errors.push_back(error.description);
}

void UpdateVerb::ClearDisplay() {
    if (display_) display_->Clear();
}

void UpdateVerb::OnStatusText(const std::string& text) {
    progress_.status = text;
    Draw();
}

void UpdateVerb::OnItemProgress(std::int32_t percent) {
    progress_.percent = percent;
    Draw();
}

void UpdateVerb::OnProvider(const std::string& name, std::int32_t index, std::int32_t count) {
    KeepAbortedChannel();
    progress_.provider = {name, index, count};
    progress_.channel = {};
    Draw();
}

void UpdateVerb::OnChannel(const std::string& name, std::int32_t index, std::int32_t count) {
    KeepAbortedChannel();
    channel_ = reader_->CurrentChannel();
    progress_.channel = {name, index, count};
    Draw();
}

void UpdateVerb::OnChannelDone(const Variant&, std::int32_t) {
    auto result = reader_->CurrentChannel();
    result.error = engine_.LoadError();
    channel_.reset();
    Keep(std::move(result));
}

// Where the routine of a channel is aborted, no OnChannelDone follows.
void UpdateVerb::KeepAbortedChannel() {
    if (!channel_) return;
    auto result = *std::exchange(channel_, std::nullopt);
    result.ok = false;
    result.error = run_.errors.empty() ? "given up" : run_.errors.back();
    Keep(std::move(result));
}

void UpdateVerb::Keep(ChannelResult result) {
    const auto& kept = reader_->Add(std::move(result), run_);
    progress_.new_items = run_.new_items;
    progress_.failed = run_.failed;
    Print(kept);
    Draw();
}

void UpdateVerb::Draw() {
    if (display_) display_->Show(progress_);
}

void UpdateVerb::Print(const ChannelResult& result) {
    if (options_.json) return;
    const auto name = PlainLine(result.name);
    if (!result.ok) {
        ClearDisplay();
        (options_.quiet ? context_.err : context_.out)
            << name << ": FAILED " << PlainLine(result.address)
            << (result.error.empty() ? "" : ": " + PlainLine(result.error)) << std::endl;
    } else if (!display_ && !options_.quiet) {
        context_.out << name << ": " << result.new_items << " new" << std::endl;
    }
}

void UpdateVerb::PrintEnd() {
    ClearDisplay();
    if (options_.json)
        context_.out << RunDocument(run_);
    else if (!options_.quiet && run_.nothing_matched && IsFullRun() && run_.errors.empty())
        context_.out << "There is nothing to update: no provider is there and active.\n";
    else if (!options_.quiet && !run_.nothing_matched)
        context_.out << Summary(run_) << '\n';
    if (!run_.end) Complain(context_, "the run could not be recorded in the database");
    for (const auto& error : run_.errors)
        if (!reported_.contains(error)) Complain(context_, error);
    if (run_.nothing_matched && options_.provider)
        Complain(context_, "there is no provider " + std::to_string(*options_.provider));
    if (run_.nothing_matched && options_.channel)
        Complain(context_, "there is no channel " + std::to_string(*options_.channel));
}

ExitStatus UpdateVerb::Status() const {
    if (stopped_) return ExitStatus::kStopped;
    if (run_.nothing_matched && run_.errors.empty())
        return IsFullRun() ? ExitStatus::kAllWell : ExitStatus::kInputMissing;
    if (worst_error_ != ExitStatus::kAllWell) return worst_error_;
    return run_.failed > 0 || !run_.end ? ExitStatus::kSomeFailed : ExitStatus::kAllWell;
}

}  // namespace

ExitStatus UpdateChannels(const Context& context, const UpdateOptions& options) {
    return UpdateVerb(context, options).Run();
}

}  // namespace pellago::cli
