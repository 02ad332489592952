#include <sys/resource.h>
#include <unistd.h>

#include <QCheckBox>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QLineEdit>
#include <QMenu>
#include <QTabWidget>
#include <QTest>
#include <filesystem>
#include <iostream>
#include <set>

#include "platform/files/program.h"
#include "platform/registry/registry.h"
#include "support/main_window_fixture.h"

namespace pellago::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kSettings = R"(Software\QUENLITH\CORVANE\Settings)";
constexpr const char* kRun = R"(Software\Microsoft\Windows\CurrentVersion\Run)";
constexpr std::int32_t kMinute = 60000;
/// The loading of feeds has timers of a minute, and none longer.
constexpr std::int32_t kShortestArmed = 2 * kMinute;
constexpr std::int32_t kHour = 60 * kMinute;

/// Writes down the minutes that the automatic update is armed for, and makes them last for longer than the
/// test.
class AnOptionsTab : public AMainWindow {
protected:
    AnOptionsTab() {
        ReplaceTimerInterval([this](std::int32_t interval) {
            if (interval > 0 && interval < kShortestArmed) return interval;
            EXPECT_EQ(interval % kMinute, 0);
            armed.push_back(interval / kMinute);
            return std::exchange(next_wait, kHour);
        });
    }
    ~AnOptionsTab() override { ReplaceTimerInterval(nullptr); }

    static void Store(const std::string& name, const RegistryValue& value) {
        RegSetValueEx(HKEY_CURRENT_USER, kSettings, name, value);
    }
    QLineEdit* Number() { return Find<QLineEdit>("txtNumber"); }
    QCheckBox* Box(const char* name) { return Find<QCheckBox>(name); }
    QComboBox* Priority() { return Find<QComboBox>("cbProcessPriority"); }

    /// What the tab shows, in the order of its controls.
    std::string Shown() {
        const auto state = [&](const char* name) { return Box(name)->isChecked() ? "1 " : "0 "; };
        std::string shown = state("chkAutoStart");
        shown += state("chkAutoUpdate");
        shown += state("chkStartInTray");
        shown += Number()->text().toStdString() + " ";
        shown += state("chkSilent");
        shown += state("chkShowChannelsErrors");
        return shown + std::to_string(Priority()->currentIndex());
    }
    static std::string Stored() {
        std::string stored;
        for (const auto* name : {"AutoStart", "AutoUpdate", "StartInTray", "Number", "Silent",
                                 "ChannelErrors", "ProcessPriority"})
            stored += (stored.empty() ? "" : " ") + Setting(name);
        return stored;
    }
    /// With the focus in the box for the interval.
    void ShowInTheBox() {
        Show();
        Find<QTabWidget>("tabUpdate")->setCurrentIndex(1);
        ASSERT_TRUE(QTest::qWaitForWindowActive(&*window));
        Number()->setFocus();
        ASSERT_TRUE(Number()->hasFocus());
    }
    /// The nice value of the process after `act`, and what is selected then, from a process that ends with
    /// it: a priority that went down never comes up again.
    void TellPriority(const std::function<void()>& act) {
        act();
        std::cerr << Priority()->currentIndex() << " nice " << getpriority(PRIO_PROCESS, 0);
        std::filesystem::remove_all(folder_.Path());
        _exit(0);
    }

    std::vector<std::int32_t> armed;
    std::int32_t next_wait = kHour;  ///< in milliseconds, for what is armed next
};

TEST_F(AnOptionsTab, LoadsWhatIsStoredAndLeavesAControlWhoseValueIsNone) {
    const auto text = [](const char* value) { return RegistryValue::FromText(value); };
    struct Row {
        std::string name;
        RegistryValue value;
        std::string shown;
    };
    const std::vector<Row> rows = {
        {"AutoStart", text("0"), "0 1 0 30 0 0 3"},
        {"AutoStart", text("7"), "1 1 0 30 0 0 3"},
        {"AutoStart", text("x"), "1 1 0 30 0 0 3"},
        {"AutoStart", RegistryValue::FromNumber(0), "0 1 0 30 0 0 3"},
        {"AutoUpdate", text("0"), "1 0 0 30 0 0 3"},
        {"AutoUpdate", RegistryValue::FromNumber(-1), "1 1 0 30 0 0 3"},
        {"StartInTray", text("1"), "1 1 0 30 0 0 3"},
        {"Number", text(" 45"), "1 1 0  45 0 0 3"},
        {"Number", text(""), "1 1 0  0 0 3"},
        {"Number", RegistryValue::FromNumber(45), "1 1 0 45 0 0 3"},
        {"Number", {REG_BINARY, {1}}, "1 1 0 30 0 0 3"},
        {"Silent", text("1"), "1 1 0 30 1 0 3"},
        {"Silent", text(""), "1 1 0 30 0 0 3"},
        {"ChannelErrors", text("1"), "1 1 0 30 0 1 3"},
        {"ProcessPriority", text("77"), "1 1 0 30 0 0 -1"},
        {"ProcessPriority", text("-1"), "1 1 0 30 0 0 -1"},
        {"ProcessPriority", text("6"), "1 1 0 30 0 0 -1"},
        {"ProcessPriority", text("x"), "1 1 0 30 0 0 -1"},
    };
    gAppSettings->DeleteSetting("Settings", "AutoUpdate");
    Load();
    EXPECT_EQ(Shown(), "1 1 0 30 0 0 3");
    const auto nice = getpriority(PRIO_PROCESS, 0);
    for (const auto& row : rows) {
        const auto before = RegQueryValueEx(HKEY_CURRENT_USER, kSettings, row.name);
        Store(row.name, row.value);
        Load();
        EXPECT_EQ(Shown(), row.shown) << row.name;
        if (before)
            Store(row.name, *before);
        else
            gAppSettings->DeleteSetting("Settings", row.name);
    }
    Click("btnApply");
    EXPECT_EQ(Setting("ProcessPriority"), "-1");
    EXPECT_EQ(getpriority(PRIO_PROCESS, 0), nice);
    // It tells how this start behaved, whatever is stored.
    gShowMainWindow = false;
    Load();
    EXPECT_EQ(Shown(), "1 1 1 30 0 0 -1");
}

TEST_F(AnOptionsTab, StoresItAllAndTheStartEntryByApplyAlone) {
    const auto autostart = folder_.Path() / "autostart/Corvane.desktop";
    const auto entry = [] {
        const auto value = RegQueryValueEx(HKEY_CURRENT_USER, kRun, "Corvane");
        return value ? value->Text().value_or("no text") : "none";
    };
    Load();
    Box("chkSilent")->setChecked(true);
    EXPECT_EQ(Stored(), "- 0 - - - - 3");
    EXPECT_EQ(entry(), "none");
    Number()->setText(" 2.6");
    Box("chkStartInTray")->setChecked(true);
    Click("btnApply");
    EXPECT_EQ(Stored(), "1 0 1  2.6 1 0 3");
    EXPECT_EQ(entry(), "\"" + ProgramPath() + "\" /background");
    EXPECT_THAT(ReadFile(autostart), HasSubstr("/background"));
    for (const auto* name : {"chkAutoStart", "chkStartInTray", "chkSilent"}) Box(name)->setChecked(false);
    for (const auto* name : {"chkAutoUpdate", "chkShowChannelsErrors"}) Box(name)->setChecked(true);
    Click("btnApply");
    EXPECT_EQ(Stored(), "0 1 0  2.6 0 1 3");
    EXPECT_EQ(entry(), "none");
    EXPECT_FALSE(std::filesystem::exists(autostart));
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(AnOptionsTab, PutsTheProcessIntoTheSelectedClassByLoadAndByApply) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(TellPriority([&] {
                    gAppSettings->DeleteSetting("Settings", "ProcessPriority");
                    Load();
                }),
                ExitedWithCode(0), "5 nice 19$");
    EXPECT_EXIT(TellPriority([&] {
                    Load();
                    Priority()->setCurrentIndex(5);
                    Click("btnApply");
                }),
                ExitedWithCode(0), "5 nice 19$");
}

TEST_F(AnOptionsTab, KeepsTheFocusAndStoresNothingForAnIntervalThatIsNone) {
    Setting("Number", "stored");
    ShowInTheBox();
    for (const std::string text :
         {"30", "0", "-5", "2.6", " 7 ", "35791", "", "abc", "1e99", "2147483648", "35792"}) {
        const bool refused = std::set<std::string>{"", "abc", "1e99", "2147483648", "35792"}.contains(text);
        beeps = 0;
        Number()->setFocus();
        Number()->setText(text.c_str());
        Box("chkSilent")->setFocus();
        PumpFor(1ms);
        EXPECT_EQ(Number()->hasFocus(), refused) << text;
        EXPECT_EQ(beeps, refused ? 1 : 0) << text;
        Setting("Number", "stored");
        Click("btnApply");
        EXPECT_EQ(Setting("Number"), refused ? "stored" : text);
    }
}

// A text that came from the settings is refused although the box never had the focus, and another page cannot
// have it.
TEST_F(AnOptionsTab, ShowsWhatItRefuses) {
    ShowInTheBox();
    auto* tabs = Find<QTabWidget>("tabUpdate");
    Box("chkSilent")->setFocus();
    Number()->setText("abc");
    Click("btnApply");
    PumpFor(1ms);
    EXPECT_TRUE(Number()->hasFocus());
    EXPECT_EQ(beeps, 1);
    tabs->setCurrentIndex(0);
    PumpFor(1ms);
    EXPECT_EQ(tabs->currentIndex(), 1);
    EXPECT_TRUE(Number()->hasFocus());
    EXPECT_EQ(beeps, 2);
}

TEST_F(AnOptionsTab, JudgesNoIntervalThatIsStillTyped) {
    ShowInTheBox();
    Number()->setText("abc");
    QContextMenuEvent asks(QContextMenuEvent::Keyboard, {1, 1}, Number()->mapToGlobal(QPoint(1, 1)));
    QApplication::sendEvent(Number(), &asks);
    auto* menu = QApplication::activePopupWidget();
    ASSERT_TRUE(menu);
    PumpFor(1ms);
    menu->close();
    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    EXPECT_FALSE(Number()->hasFocus());
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&*window));
    EXPECT_TRUE(Number()->hasFocus());
    window->Hide();
    PumpFor(1ms);
    EXPECT_EQ(beeps, 0);
}

TEST_F(AnOptionsTab, ArmsTheAutomaticUpdateForTheMinutesThatItShows) {
    gAppSettings->DeleteSetting("Settings", "AutoUpdate");
    Load();
    EXPECT_THAT(armed, ElementsAre(30)) << "of a new user";
    const std::vector<std::pair<const char*, std::vector<std::int32_t>>> rows = {
        {"2", {2}}, {" 2.6 ", {3}}, {"35791", {35791}}, {"0", {}},    {"-5", {}},       {"0.4", {}},
        {"", {}},   {"abc", {}},    {"35792", {}},      {"1e99", {}}, {"99999999", {}},
    };
    for (const auto& [number, minutes] : rows) {
        Setting("Number", number);
        armed.clear();
        Load();
        EXPECT_EQ(armed, minutes) << number;
    }
    Setting("Number", "30");
    Setting("AutoUpdate", "0");
    Load();
    EXPECT_THAT(armed, IsEmpty());
}

TEST_F(AnOptionsTab, RunsByItselfAndCountsFromTheEndOfThat) {
    Feeds({"feed"});
    Setting("AutoUpdate", "1");
    std::size_t armed_before_end = 0;
    DuringFeed("feed", [&] { armed_before_end = armed.size(); });
    next_wait = 30;
    Load();
    ASSERT_TRUE(RunEnds());
    ASSERT_TRUE(WaitUntil([&] { return armed.size() == 2; }));
    EXPECT_EQ(armed_before_end, 1U);
    // Switched off, one that is armed fires for the last time.
    next_wait = 150;
    Click("btnApply");
    Box("chkAutoUpdate")->setChecked(false);
    Click("btnApply");
    EXPECT_EQ(EndedSessions(), 1U);
    EXPECT_TRUE(RunEnds(2));
    PumpFor(250ms);
    EXPECT_EQ(EndedSessions(), 2U);
    EXPECT_THAT(armed, ElementsAre(30, 30, 30));
    EXPECT_THAT(reports, IsEmpty());
}

// What becomes of a timer that would fire in the middle of a run.
TEST_F(AnOptionsTab, ArmsAnewAfterTheStartButtonAndDuringARunOfTheMenu) {
    Feeds({"feed"});
    Setting("AutoUpdate", "1");
    const auto nothing = [] {};
    next_wait = 100;
    Load();
    DuringFeed("feed", nothing);
    Click("cmdUpdate");
    EXPECT_THAT(armed, ElementsAre(30, 30)) << "the first one was given up";

    DuringFeed("feed", nothing);
    CallLater([&] { shell.Choose("Start downloading"); });
    ASSERT_TRUE(RunEnds(2));
    PumpFor(50ms);
    EXPECT_EQ(armed.size(), 2U) << "the menu leaves it as it was";

    next_wait = 100;
    Click("btnApply");
    std::size_t meanwhile = 0;
    DuringFeed("feed", [&] {
        PumpFor(150ms);
        meanwhile = armed.size();
    });
    CallLater([&] { shell.Choose("Start downloading"); });
    ASSERT_TRUE(RunEnds(3));
    PumpFor(50ms);
    EXPECT_EQ(meanwhile, 4U);
    EXPECT_EQ(armed.size(), 4U);
    EXPECT_EQ(EndedSessions(), 3U);
}

TEST_F(AnOptionsTab, ArmsAnewAfterAForwardedCommandAndNeverOnceItIsUnloaded) {
    Feeds({"feed"});
    Setting("AutoUpdate", "1");
    next_wait = 100;
    Load();
    next_wait = 30;
    Send(WM_CMD_RESET_TIMER);
    PumpFor(200ms);
    EXPECT_EQ(EndedSessions(), 0U) << "the command's timer takes the place of the other";
    EXPECT_TRUE(RunEnds()) << "what was armed anew is an automatic update again";
    ASSERT_TRUE(WaitUntil([&] { return armed.size() == 3; }));

    next_wait = 30;
    Load();
    Send(WM_CMD_CLOSE);
    PumpFor(100ms);
    EXPECT_EQ(EndedSessions(), 1U);
    Load();
    DuringFeed("feed", [&] { Send(WM_CMD_CLOSE); });
    Click("cmdUpdate");
    EXPECT_EQ(gone, 2);
    EXPECT_EQ(armed.size(), 5U);
    EXPECT_THAT(reports, IsEmpty());
}

}  // namespace
}  // namespace pellago::test
