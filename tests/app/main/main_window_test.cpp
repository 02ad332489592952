#include <QEvent>
#include <QPushButton>

#include "platform/windows/named_mutex.h"
#include "support/main_window_fixture.h"

namespace pellago::test {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

const std::string kIdleMenu = "Open Pellago*|RSS Link Catcher|--|Start downloading|Stop downloading!|--|Exit";

TEST_F(AMainWindow, RunsByItsButtonAndShowsHowFarItIs) {
    AddProvider(1, "'one'");
    AddProvider(2, "'two'");
    AddChannel(1, 1, server.Url("/quick"));
    AddChannel(2, 2, server.Url("/slow"));
    server.Answer("/quick", {.body = Feed(Item("q", "l/q"))});
    Show();
    std::vector<std::string> seen;
    DuringFeed("slow", [&] {
        PumpFor(60ms);
        seen = {Line("elaProviderStatusCaption"),
                Bar("elaProviderStatusProgress"),
                Line("elaChannelStatusCaption"),
                Bar("elaChannelStatusProgress"),
                Status(),
                Bar("elaItemProgress")};
        EXPECT_EQ(Entries(),
                  "Open Pellago*|RSS Link Catcher|--|Start downloading!|Stop downloading|--|Exit!");
        // A second run from inside the first would end both in disorder.
        Click("cmdUpdate");
        window->StartUpdate(update_mode::kAll, 0);
    });
    Click("cmdUpdate");
    EXPECT_THAT(seen, ElementsAre("Provider: two (2/2)", "100 %", "Channel: c2 (1/1)", "100 %", "", "0 %"));
    EXPECT_EQ(EndedSessions(), 1U);
    EXPECT_THAT(Titles(), ElementsAre("q", "slow"));
    EXPECT_THAT(Status(), StartsWith("Downloading done at "));
    EXPECT_EQ(Line("elaProviderStatusCaption") + Bar("elaProviderStatusProgress"), "Provider:0 %");
    EXPECT_EQ(Entries(), kIdleMenu);
    EXPECT_THAT(Balloons(), IsEmpty());
    EXPECT_THAT(reports, IsEmpty());
}

// What starts a run, and the channels that are then loaded. Channel 3 is switched off.
TEST_F(AMainWindow, RunsByMenuByMessageAndByTimer) {
    AddProvider(1, "'one'");
    AddProvider(2, "'two'");
    for (const int id : {1, 2, 3}) AddChannel(id, id == 1 ? 1 : 2, server.Url("/feed"), id != 3);
    server.Answer("/feed", {.body = Feed("")});
    Load();
    std::size_t rows = 0;
    const auto loaded = [&](const std::string& what) {
        const auto runs = EndedSessions();
        EXPECT_TRUE(RunEnds(runs + 1)) << what;
        auto log = Log();
        log.erase(log.begin(), log.begin() + static_cast<std::ptrdiff_t>(std::exchange(rows, log.size())));
        std::string channels;
        for (const auto& row : log)
            if (row.find(":4:") != std::string::npos) channels += row.substr(0, 1);
        return channels;
    };
    Send(WM_CMD_UPDATE_PROVIDER, 1);
    Send(WM_CMD_UPDATE_PROVIDER, 2);
    EXPECT_EQ(loaded("of a burst the last one counts"), "23");
    Send(WM_CMD_UPDATE_CHANNEL, 3);
    EXPECT_EQ(loaded("a channel that is switched off"), "3");
    Send(WM_CMD_UPDATE_ALL);
    EXPECT_EQ(loaded("all"), "12");
    CallLater([&] { shell.Choose("Start downloading"); });
    EXPECT_EQ(loaded("the menu"), "12");
    Send(WM_CMD_UPDATE_ALL);
    Send(WM_CMD_RESET_TIMER, 7);
    PumpFor(450ms);
    EXPECT_EQ(EndedSessions(), 4U) << "the last one only re-arms the timer";
    // One that comes in the middle of a run is dropped.
    DuringFeed("feed", [&] { Send(WM_CMD_UPDATE_CHANNEL, 3); });
    CallLater([&] { shell.Choose("Start downloading"); });
    loaded("with a message in its middle");
    PumpFor(450ms);
    EXPECT_EQ(EndedSessions(), 5U);
}

using Lines = std::vector<std::string>;

// How a run goes, and what is said of it.
struct Outcome {
    std::string given;  ///< words: the window is visible, silent mode, errors are to be shown, …
    Lines balloons;     ///< after the one of the start
    Lines modals;       ///< that come up at the end
    Lines by_button;    ///< that two clicks for the log bring up afterwards
    bool Has(const char* word) const { return given.find(word) != std::string::npos; }
    friend std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
        return out << outcome.given;
    }
};

class AnOutcome : public AMainWindow, public testing::WithParamInterface<Outcome> {};

TEST_P(AnOutcome, IsTold) {
    const auto& row = GetParam();
    const bool stopped = row.Has("stopped");
    Feeds({row.Has("failing") ? "dead" : "good", "good2"});
    Load();
    if (row.Has("visible")) window->Show();
    Find<QAbstractButton>("chkSilent")->setChecked(row.Has("silent"));
    Find<QAbstractButton>("chkShowChannelsErrors")->setChecked(row.Has("show"));
    if (stopped) DuringFeed("good2", [&] { shell.Choose("Stop downloading"); });
    AnswerModals();
    window->StartUpdate(update_mode::kAll, 0);
    auto balloons = row.balloons;
    if (!row.Has("visible") && !row.Has("silent"))
        balloons.insert(balloons.begin(), "1 News downloading started");
    EXPECT_EQ(Balloons(), balloons);
    EXPECT_EQ(std::exchange(modals, {}), row.modals);
    EXPECT_EQ(beeps, static_cast<int>(row.modals.size()));
    EXPECT_THAT(Status(), StartsWith(stopped ? "Downloading canceled at " : "Downloading done at "));
    // A list that was not shown waits for the button; where it is not to be shown, it is only let go of.
    Click("cmdLog");
    Click("cmdLog");
    EXPECT_EQ(modals, row.by_button);
}

const Lines kNone;
const Lines kLog{"frmLog"};
const Lines kLogTwice{"frmLog", "frmLog"};
const Lines kErrors{"frmChannelErrors"};
const Lines kErrorsThenLog{"frmChannelErrors", "frmLog"};
const Lines kDone{"1 News downloading done"};
const Lines kDoneWithErrors{"3 News downloading done with errors"};
const Lines kCanceled{"2 News download canceled"};

// The channel that is stopped counts as one that failed.
INSTANTIATE_TEST_SUITE_P(, AnOutcome,
                         testing::Values(Outcome{"visible show", kNone, kNone, kLogTwice},
                                         Outcome{"visible show failing", kNone, kErrors, kLogTwice},
                                         Outcome{"visible failing", kNone, kNone, kLogTwice},
                                         Outcome{"visible silent show failing", kNone, kErrors, kLogTwice},
                                         Outcome{"visible show stopped", kNone, kNone, kErrorsThenLog},
                                         Outcome{"show", kDone, kNone, kLogTwice},
                                         Outcome{"show failing", kDoneWithErrors, kNone, kErrorsThenLog},
                                         Outcome{"failing", kDone, kNone, kLog},
                                         Outcome{"show stopped", kCanceled, kNone, kErrorsThenLog},
                                         Outcome{"silent show failing", kNone, kNone, kErrorsThenLog},
                                         Outcome{"silent show stopped", kNone, kNone, kErrorsThenLog}),
                         [](const auto& row) {
                             auto name = row.param.given;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

// The errors are looked at in the middle of the run, so that nothing is left to tell at its end but that.
TEST_F(AMainWindow, TellsTheEndByANoticeWhenItsErrorsWereSeenMeanwhile) {
    Feeds({"dead", "slow"});
    Show();
    Find<QAbstractButton>("chkShowChannelsErrors")->setChecked(true);
    AnswerModals();
    DuringFeed("slow", [&] { Click("cmdLog"); });
    Click("cmdUpdate");
    EXPECT_THAT(modals, ElementsAre("frmChannelErrors", StartsWith("News downloading done at ")));
    DuringFeed("slow", [&] {
        Click("cmdLog");
        window->Hide();
    });
    Click("cmdUpdate");
    EXPECT_THAT(Balloons(), ElementsAre("1 News downloading done"));
}

TEST_F(AMainWindow, GivesUpWithoutAConnection) {
    connected = false;
    const std::string notice = "1 Sorry, the Internet connection is not available!";
    Load();
    Click("cmdUpdate");
    EXPECT_THAT(Balloons(), IsEmpty()) << "only in silent mode";
    Find<QAbstractButton>("chkSilent")->setChecked(true);
    Click("cmdUpdate");
    EXPECT_THAT(Balloons(), ElementsAre(notice));
    window->Show();
    AnswerModals();
    Click("cmdUpdate");
    EXPECT_THAT(modals, ElementsAre("Sorry, the Internet connection is not available!"));
    EXPECT_EQ(Status(), "Error: the Internet connection is not available");
    EXPECT_THAT(Column("SELECT ID FROM DownloadSessions"), IsEmpty());
}

TEST_F(AMainWindow, KeepsTheProgramUsableWhenTheDatabaseIsNot) {
    Feeds({"feed"});
    WriteFile(folder_ / "broken", "no database");
    for (const std::string name : {"broken", "missing"}) {
        Setting("RSSDS", folder_ / name);
        Load();
        reports.clear();
        Click("cmdUpdate");
        EXPECT_THAT(reports, SizeIs(testing::Ge(1U)));
        EXPECT_THAT(reports.at(0), AllOf(HasSubstr("Corvane.frmMain.InitDBObjects"), HasSubstr(name)));
        EXPECT_EQ(Entries(), kIdleMenu);
        EXPECT_THAT(Status(), StartsWith("Downloading done at "));
    }
    // Stopped while the error is shown, the engine does not begin.
    UseErrorDialog([&](const std::string& report, const std::string&) {
        reports.push_back(report);
        window->StopUpdate();
        return 2;
    });
    reports.clear();
    Click("cmdUpdate");
    EXPECT_THAT(reports, testing::Each(HasSubstr("InitDBObjects")));
    EXPECT_THAT(Status(), StartsWith("Downloading canceled at "));
    reports.clear();
    Setting("RSSDS", folder_ / "RSS.MDB");
    Click("cmdUpdate");
    EXPECT_THAT(reports, IsEmpty());
    EXPECT_THAT(Titles(), SizeIs(1));
}

TEST_F(AMainWindow, AnimatesItsIconFromRunToRun) {
    Feeds({"a", "b"});
    for (const auto* name : {"/a", "/b"}) server.Answer(name, {.body = Feed(""), .delay = 1200ms});
    Load();
    std::vector<std::int32_t> frames;
    for (int frame = 0; frame < 4; ++frame)
        frames.push_back(LoadIcon("pellago-download-" + std::to_string(frame)));
    const auto own = LoadIcon("pellago");
    shell.ForgetCalls();
    for (int run = 0; run < 2; ++run) Click("cmdUpdate");
    std::vector<std::int32_t> icons;
    std::vector<std::string> tips;
    for (const auto& [message, record] : shell.Calls()) {
        if (record.flags & NIF_ICON) icons.push_back(record.icon);
        if (record.flags & NIF_TIP && (tips.empty() || tips.back() != record.tip)) tips.push_back(record.tip);
    }
    EXPECT_THAT(icons, ElementsAre(frames[0], frames[1], own, frames[2], frames[3], own));
    EXPECT_THAT(tips, ElementsAre("Downloading: 100 %", "Pellago", "Downloading: 100 %", "Pellago"));
}

TEST_F(AMainWindow, TellsTheSiblingOfEachChannelWhereThatRuns) {
    Feeds({"a", "dead"});
    Load();
    std::vector<std::int32_t> told;
    const auto sibling =
        CreateWindowHandle([&](std::int32_t, std::int32_t message, std::int32_t param, std::int32_t) {
            told.push_back(message);
            told.push_back(param);
            return 0;
        });
    CAppSettings settings;
    settings.Init("Quenlith", "Lumaret");
    settings.SaveSetting("Settings", "hWnd", Variant(sibling));
    Click("cmdUpdate");
    EXPECT_THAT(told, IsEmpty()) << "it does not run";
    const NamedMutex runs("QZL_MUTEX");
    ASSERT_FALSE(runs.AlreadyExisted());
    Click("cmdUpdate");
    EXPECT_THAT(told, ElementsAre(2258, 1, 2258, 2));
    settings.SaveSetting("Settings", "hWnd", Variant(0));
    Click("cmdUpdate");
    EXPECT_THAT(told, SizeIs(4));
    DestroyWindowHandle(sibling);
}

TEST_F(AMainWindow, ShowsTheErrorsOnceHoweverOftenTheBalloonIsClicked) {
    Feeds({"dead"});
    Load();
    Find<QAbstractButton>("chkShowChannelsErrors")->setChecked(true);
    Send(WM_CMD_UPDATE_ALL);
    ASSERT_TRUE(RunEnds());
    int dialogs = 0;
    WhileModal(
        [&](QWidget& modal) {
            ++dialogs;
            shell.Send(NIN_BALLOONUSERCLICK);
            EXPECT_EQ(QApplication::activeModalWidget(), &modal);
            static_cast<Form&>(modal).Hide();
        },
        [&] { shell.Send(NIN_BALLOONUSERCLICK); });
    EXPECT_EQ(dialogs, 1);
    EXPECT_TRUE(window->isVisible());
}

// Ten thousand items a second must not be ten thousand paintings, and three displays not three times as many.
TEST_F(AMainWindow, PaintsNoMoreThanAnEyeCanFollow) {
    std::string items;
    for (int item = 0; item < 500; ++item)
        items += Item("t" + std::to_string(item), "l/" + std::to_string(item));
    Subscribe(std::vector<std::string>(60, "/many"));
    server.Answer("/many", {.body = Feed(items)});
    struct Painted : QObject {
        bool eventFilter(QObject*, QEvent* event) override {
            count += event->type() == QEvent::UpdateRequest ? 1 : 0;
            return false;
        }
        int count = 0;
    } painted;
    Show();
    PumpFor(100ms);
    window->installEventFilter(&painted);
    const auto time = TimeOf([&] { Click("cmdUpdate"); });
    EXPECT_THAT(Titles(), SizeIs(30000));
    EXPECT_LE(painted.count, 30 * time / 1s + 5);
    EXPECT_GE(painted.count, 3);
}

}  // namespace
}  // namespace pellago::test
