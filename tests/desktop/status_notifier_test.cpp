#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QMenu>
#include <optional>

#include "support/stand_in_desktop.h"
#include "support/support.h"
#include "tray_fixture.h"

// A tray on the session bus, and the service for notifications beside it.
namespace pellago {
namespace {

using namespace std::chrono_literals;
using test::PumpFor;
using test::StandInNotifications;
using test::WaitUntil;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct AStatusNotifierTray : test::ATray {
    bool AddAndWait(std::u16string_view tip = u"Pellago") {
        return Add(tip) && WaitUntil([&] { return tray->Items().size() == 1; }, 10s);
    }
    bool Goes() const {
        return WaitUntil([&] { return tray->Items().isEmpty(); }, 10s);
    }

    std::optional<test::StandInTray> tray{std::in_place};
    std::optional<StandInNotifications> service{std::in_place, QStringList{"actions", "body-markup"}};
};

TEST_F(AStatusNotifierTray, ShowsIconAndTipAndWhatBecomesOfThem) {
    ASSERT_TRUE(AddAndWait(u"<b>Ü</b> & more"));
    EXPECT_EQ(tray->Tip(), "<b>Ü</b> & more");
    const auto before = tray->Picture();
    EXPECT_THAT(before, SizeIs(testing::Ge(64 * 64 * 4)));
    EXPECT_EQ(tray->IconName(), QString());

    data.uFlags = NIF_ICON | NIF_TIP;
    data.hIcon = LoadIcon("pellago-download-2");
    data.szTip[1] = 0;
    EXPECT_TRUE(Shell_NotifyIconW(NIM_MODIFY, data));
    EXPECT_EQ(tray->Tip(), "<");
    EXPECT_NE(tray->Picture(), before);

    data.uFlags = NIF_STATE;
    data.dwState = data.dwStateMask = NIS_HIDDEN;
    EXPECT_TRUE(Shell_NotifyIconW(NIM_MODIFY, data));
    EXPECT_TRUE(Goes());
    data.dwState = 0;
    EXPECT_TRUE(Shell_NotifyIconW(NIM_MODIFY, data));
    EXPECT_TRUE(WaitUntil([&] { return tray->Items().size() == 1; }, 10s));
    EXPECT_TRUE(Delete());
    EXPECT_TRUE(Goes());
}

TEST_F(AStatusNotifierTray, DrawsTheOneColourIconWhereTheThemeHasIt) {
    const test::TempDir folder;
    const auto theme = QString::fromStdString(folder / "theme");
    QDir().mkpath(theme + "/symbolic/apps");
    test::WriteFile(folder / "theme/index.theme",
                    "[Icon Theme]\nName=theme\nDirectories=symbolic/apps\n"
                    "[symbolic/apps]\nSize=16\nMinSize=8\nMaxSize=512\nType=Scalable\n");
    test::WriteFile(folder / "theme/symbolic/apps/pellago-symbolic.svg", "<svg/>");
    const auto paths = QIcon::themeSearchPaths();
    const auto name = QIcon::themeName();
    QIcon::setThemeSearchPaths({QString::fromStdString(folder / "")});
    QIcon::setThemeName("theme");
    ASSERT_TRUE(AddAndWait());
    EXPECT_EQ(tray->IconName(), "pellago-symbolic");
    EXPECT_THAT(tray->Picture(), SizeIs(testing::Ge(64 * 64 * 4))) << "for a host without that theme";
    QIcon::setThemeSearchPaths(paths);
    QIcon::setThemeName(name);
}

// The menu belongs to the host: it reads and presses it over the bus. The action ends the icon.
TEST_F(AStatusNotifierTray, OpensTheMenuThatIsAttachedAtAnyTime) {
    QStringList before;
    const auto changed = [&] { return tray->Items().size() == 1 && tray->Items() != before; };
    const auto wait_for_another = [&] {
        const bool came = WaitUntil(changed, 10s);
        before = tray->Items();
        return came;
    };
    QMenu menu;
    menu.addAction("Open");
    QObject::connect(menu.addAction("Exit"), &QAction::triggered, [&] { Delete(); });
    ASSERT_TRUE(Add(u"Pellago"));
    EXPECT_TRUE(SetNotifyIconMenu(window, 9, &menu));
    ASSERT_TRUE(wait_for_another());
    EXPECT_EQ(tray->Menu().join(","), "Open,Exit");

    std::optional<QMenu> other(std::in_place);
    other->addAction("Other");
    EXPECT_TRUE(SetNotifyIconMenu(window, 9, &*other));
    ASSERT_TRUE(wait_for_another());
    EXPECT_EQ(tray->Menu().join(","), "Other");
    other.reset();
    ASSERT_TRUE(wait_for_another());
    EXPECT_THAT(tray->Menu(), IsEmpty());

    EXPECT_TRUE(SetNotifyIconMenu(window, 9, &menu));
    ASSERT_TRUE(wait_for_another());
    tray->ChooseFromMenu("Exit");
    EXPECT_TRUE(Goes());
    EXPECT_FALSE(Delete());
}

TEST_F(AStatusNotifierTray, TellsOfClicksAndMayBeDeletedByTheWindowThatItTells) {
    ASSERT_TRUE(AddAndWait());
    tray->Activate();
    EXPECT_TRUE(Hears({WM_LBUTTONDOWN, WM_LBUTTONUP}));
    tray->Activate();
    EXPECT_TRUE(Hears({WM_LBUTTONDBLCLK, WM_LBUTTONUP}));
    tray->Activate();
    EXPECT_TRUE(Hears({WM_LBUTTONDOWN, WM_LBUTTONUP})) << "a third begins anew";
    PumpFor(QApplication::doubleClickInterval() * 1ms + 50ms);
    tray->Activate();
    EXPECT_TRUE(Hears({WM_LBUTTONDOWN, WM_LBUTTONUP})) << "too late for a double click";
    PumpFor(QApplication::doubleClickInterval() * 1ms + 50ms);
    // From inside the first code the window deletes the icon and waits; the second has no icon to come from.
    on_code = [&](std::int32_t) {
        EXPECT_TRUE(Delete());
        PumpFor(100ms);
    };
    tray->Activate();
    EXPECT_TRUE(Goes());
    PumpFor(100ms);
    EXPECT_THAT(codes, ElementsAre(WM_LBUTTONDOWN));
}

TEST_F(AStatusNotifierTray, IsMissedWhileItsHostIsAwayAndRegistersAgain) {
    ASSERT_TRUE(AddAndWait());
    ASSERT_TRUE(WaitUntil(NotificationAreaAvailable, 10s));
    std::vector<bool> changes;
    OnNotificationAreaChange([&] { changes.push_back(NotificationAreaAvailable()); });
    tray.reset();
    EXPECT_TRUE(WaitUntil([&] { return changes.size() == 1; }, 10s));
    tray.emplace();
    EXPECT_TRUE(WaitUntil([&] { return changes.size() == 2 && tray->Items().size() == 1; }, 10s));
    EXPECT_THAT(changes, ElementsAre(false, true));
    EXPECT_EQ(tray->Tip(), "Pellago");
}

TEST_F(AStatusNotifierTray, SendsBalloonsAndTellsWhatBecomesOfThem) {
    ASSERT_TRUE(AddAndWait());
    Balloon(u"A & B", u"<new> & old", NIIF_WARNING);
    ASSERT_TRUE(Hears({NIN_BALLOONSHOW}));
    const auto first = service->Sent().at(0);
    EXPECT_EQ(first.title, "A & B");
    EXPECT_EQ(first.body, "&lt;new&gt; &amp; old");
    EXPECT_EQ(first.actions.value(0), "default");
    EXPECT_EQ(first.timeout, 5000);
    EXPECT_THAT(first.picture.width(), testing::AllOf(testing::Ge(32), testing::Le(48)))
        << "as the style has it";
    EXPECT_EQ(first.picture.width(), first.picture.height());

    service->InvokeAction(first.id + 1, "default");
    service->TellClosed(first.id + 1, 1);
    service->InvokeAction(first.id, "default");
    EXPECT_TRUE(Hears({NIN_BALLOONUSERCLICK}));
    service->TellClosed(first.id, 2);
    for (const uint reason : {1U, 2U}) {
        Balloon(u"", u"text");
        ASSERT_TRUE(Hears({NIN_BALLOONSHOW})) << "and nothing of the one before";
        service->TellClosed(service->Sent().back().id, reason);
        EXPECT_TRUE(Hears({NIN_BALLOONTIMEOUT})) << reason;
    }
    EXPECT_EQ(service->Sent().back().title, "Pellago");

    Balloon(u"t", u"old");
    ASSERT_TRUE(Hears({NIN_BALLOONSHOW}));
    const auto old = service->Sent().back().id;
    Balloon(u"t", u"new");
    ASSERT_TRUE(Hears({NIN_BALLOONSHOW}));
    EXPECT_EQ(service->Sent().back().replaces, old);
    Balloon(u"t", u"");
    EXPECT_TRUE(Hears({NIN_BALLOONHIDE}));
    EXPECT_EQ(service->Closed().back(), old);
}

// What is asked for while the service has not answered yet: the last wish counts.
TEST_F(AStatusNotifierTray, LeavesNoBalloonBehindHoweverQuicklyItGoes) {
    ASSERT_TRUE(AddAndWait());
    Balloon(u"t", u"one");
    Balloon(u"t", u"two");
    EXPECT_TRUE(Hears({NIN_BALLOONSHOW}));
    EXPECT_EQ(service->Sent().back().body, "two");
    service->TellClosed(service->Sent().back().id, 2);
    EXPECT_TRUE(Hears({NIN_BALLOONTIMEOUT}));
    const auto sent = service->Sent().size();
    Balloon(u"t", u"three");
    ASSERT_TRUE(WaitUntil([&] { return service->Sent().size() == sent + 1; }, 10s));
    const auto open = service->Sent().back().id;
    EXPECT_TRUE(Delete());
    EXPECT_TRUE(
        WaitUntil([&] { return !service->Closed().empty() && service->Closed().back() == open; }, 10s));
}

TEST_F(AStatusNotifierTray, SpeaksPlainlyToAServiceThatKnowsNeitherMarkupNorActions) {
    service.reset();
    service.emplace(QStringList{"body"});
    ASSERT_TRUE(AddAndWait());
    Balloon(u"t", u"<new> & old", NIIF_NONE);
    ASSERT_TRUE(Hears({NIN_BALLOONSHOW}));
    EXPECT_EQ(service->Sent().at(0).body, "<new> & old");
    EXPECT_THAT(service->Sent().at(0).actions, IsEmpty());
    EXPECT_EQ(service->Sent().at(0).picture, QSize());
    service.reset();
    EXPECT_TRUE(Hears({NIN_BALLOONHIDE}));
}

// The program starts with the session, before its panel.
TEST(AProgramBeforeItsTray, WaitsForItAndAppliesWhatCameMeanwhile) {
    struct Icon : test::ATray {
        void TestBody() override {}
    } icon;
    EXPECT_TRUE(icon.Add(u"early"));
    icon.data.szTip[0] = u'E';
    EXPECT_TRUE(Shell_NotifyIconW(NIM_MODIFY, icon.data));
    PumpFor(1s);
    EXPECT_FALSE(NotificationAreaAvailable());
    const test::StandInTray tray;
    ASSERT_TRUE(WaitUntil([&] { return tray.Items().size() == 1; }, 10s));
    EXPECT_EQ(tray.Tip(), "Early");
    EXPECT_TRUE(NotificationAreaAvailable());
}

}  // namespace
}  // namespace pellago
