#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QProgressBar>
#include <optional>

#include "app/main/main_window.h"
#include "app/shared/globals.h"
#include "desktop/icons.h"
#include "desktop/message_box.h"
#include "platform/net/internet_state.h"
#include "platform/system/message_box.h"
#include "platform/windows/window_messages.h"
#include "support/a_run.h"
#include "support/fake_notification_shell.h"
#include "support/wait_until.h"
#include "support/while_modal.h"

namespace pellago::test {

/// The main window on the real engine, database and server, with a tray that only writes down what it gets.
class AMainWindow : public ARun {
protected:
    AMainWindow() {
        ReplaceInternetState([this] {
            InternetState state;
            state.connected = connected;
            return state;
        });
        UseMessageBox([this](const MessageBoxRequest& request) {
            boxes.push_back(request.text);
            if (during_box) during_box();
            return answer;
        });
        ReplaceMessageBeep([this] { ++beeps; });
        gShowMainWindow = true;
        // Priorities go down and never up again: the others of this process would have to live with it.
        Setting("ProcessPriority", "3");
        Setting("AutoUpdate", "0");
        // The tests see how far a run is by what its server is asked for.
        Setting("ReadAhead", "0");
    }
    ~AMainWindow() override {
        KillTimer(watch);
        KillTimer(modal_watch);
        window.reset();
        CloseDataEnvironment();
        PumpFor(std::chrono::milliseconds(1));
        ReplaceMessageBeep(nullptr);
        UseMessageBox(ShowMessageBoxWindow);
        ReplaceInternetState(nullptr);
    }

    static void Setting(const std::string& name, const std::string& value) {
        gAppSettings->SaveSetting("Settings", name, Variant(value));
    }
    static std::string Setting(const std::string& name) {
        return CStr(gAppSettings->GetSetting("Settings", name, Variant(std::string("-"))));
    }

    void Load() {
        window.emplace([this] { ++gone; });
        window->Load();
        window->CreateSysTrayIcon();
    }
    void Show() {
        Load();
        window->Show();
    }

    template <class Control>
    Control* Find(const char* name) {
        return window->findChild<Control*>(name);
    }
    void Click(const char* button) { Find<QAbstractButton>(button)->click(); }
    std::string Line(const char* name) { return Find<QLabel>(name)->accessibleName().toStdString(); }
    std::string Status() { return Line("elaItemCaption"); }
    std::string Bar(const char* name) { return Find<QProgressBar>(name)->format().toStdString(); }
    std::int32_t Send(std::int32_t message, std::int32_t param = 0) {
        return SendMessage(window->hWnd(), message, param, 0);
    }

    /// Feeds of provider 1; those whose names begin with "dead" are not there.
    void Feeds(const std::vector<std::string>& names) {
        std::vector<std::string> paths;
        for (const auto& name : names) {
            paths.push_back("/" + name);
            if (!name.starts_with("dead")) server.Answer("/" + name, {.body = Feed(Item(name, "l/" + name))});
        }
        Subscribe(paths);
    }
    /// Calls `act` once, in the middle of the next run, while the feed of that name is waited for.
    void DuringFeed(const std::string& name, std::function<void()> act) {
        server.Answer("/" + name,
                      {.body = Feed(Item(name, "l/" + name)), .delay = std::chrono::milliseconds(300)});
        const auto before = server.Requests("/" + name);
        watch = SetTimer(5, [this, name, before, act = std::move(act)](std::uint32_t) {
            if (server.Requests("/" + name) == before) return;
            KillTimer(watch);
            act();
        });
    }
    /// From now on writes down what each modal window is, with the text of a notice, and ends it.
    void AnswerModals() {
        modal_watch = SetTimer(5, [this](std::uint32_t) {
            auto* modal = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (!modal || !modal->isVisible()) return;
            const auto* text = modal->findChild<QLabel*>("lblMessage");
            modals.push_back(text ? text->text().toStdString() : modal->objectName().toStdString());
            modal->hide();
        });
    }
    bool RunEnds(std::size_t runs = 1) {
        return WaitUntil([&] { return EndedSessions() >= runs; }, std::chrono::seconds(10));
    }
    std::size_t EndedSessions() {
        return Column("SELECT ID FROM DownloadSessions WHERE EndTime NOT NULL").size();
    }

    std::string Entries() const {
        std::string entries;
        for (const auto& entry : shell.Menu()) entries += (entries.empty() ? "" : "|") + entry;
        return entries;
    }
    /// Kind and text of each balloon; all have the same title and time.
    std::vector<std::string> Balloons() const {
        std::vector<std::string> balloons;
        for (const auto& [message, record] : shell.Calls()) {
            if (message != NIM_MODIFY || !(record.flags & NIF_INFO)) continue;
            EXPECT_EQ(record.info_title, "Pellago");
            EXPECT_EQ(record.timeout_or_version, 5000U);
            balloons.push_back(std::to_string(record.info_flags) + " " + record.info);
        }
        return balloons;
    }

    bool connected = true;
    std::vector<std::string> boxes;
    MessageBoxAnswer answer = MessageBoxAnswer::kYes;
    std::function<void()> during_box;
    int beeps = 0;
    int gone = 0;
    std::int32_t watch = 0;
    std::int32_t modal_watch = 0;
    std::vector<std::string> modals;
    FakeNotificationShell shell;
    std::optional<frmMain> window;
};

}  // namespace pellago::test
