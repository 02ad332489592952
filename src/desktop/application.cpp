#include "desktop/application.h"

#include <unistd.h>

#include <QApplication>
#include <QEvent>
#include <array>
#include <clocale>
#include <iostream>
#include <optional>
#include <utility>
#include <vector>

#include "desktop/event_handler.h"
#include "desktop/icons.h"
#include "desktop/message_box.h"
#include "platform/system/session_bus.h"
#include "platform/values/terminal_text.h"

namespace pellago {
namespace {

// Stand-ins for the program's own arguments, to which Qt keeps references: Qt would take some of those for
// its own ("-style").
int argument_count = 1;
std::array<char, 9> program_name{"pellagod"};
std::array<char*, 2> arguments{program_name.data(), nullptr};

std::optional<int> quit_status;
bool session_ends = false;
std::function<void()> session_end_handler;

/// Holds back what Qt prints while it looks for a display, until it has found one. Where Qt finds none it
/// would dump core: the program ends with one clear line instead.
class DisplaySearch final {
public:
    DisplaySearch() : shown_(qInstallMessageHandler(Keep)) {}
    ~DisplaySearch() {
        qInstallMessageHandler(shown_);
        for (const auto& [type, category, text] : std::exchange(kept, {}))
            shown_(type, QMessageLogContext(nullptr, 0, nullptr, category.constData()), text);
    }
    DisplaySearch(const DisplaySearch&) = delete;
    DisplaySearch& operator=(const DisplaySearch&) = delete;

private:
    struct Message {
        QtMsgType type;
        QByteArray category;
        QString text;
    };
    static void Keep(QtMsgType type, const QMessageLogContext& context, const QString& text) {
        if (type == QtFatalMsg) GiveUp();
        kept.push_back({type, context.category, text});
    }
    [[noreturn]] static void GiveUp() {
        QStringList reasons;
        for (const char* variable : {"QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "DISPLAY"})
            if (qEnvironmentVariableIsSet(variable))
                reasons += QStringLiteral("%1 is \"%2\"")
                               .arg(QLatin1String(variable), qEnvironmentVariable(variable));
        if (reasons.empty())
            reasons += QStringLiteral("neither DISPLAY nor WAYLAND_DISPLAY is set");
        else if (!kept.empty())
            reasons += kept.front().text;
        const auto line = QStringLiteral("pellagod: there is no display to show windows on: ") +
                          reasons.join(QStringLiteral(", ")).simplified();
        std::cerr << TerminalText(line.toStdString()) << std::endl;
        // Not exit: half of the application is made.
        _exit(1);
    }

    static std::vector<Message> kept;
    QtMessageHandler shown_;
};
std::vector<DisplaySearch::Message> DisplaySearch::kept;

/// Session managers end a program by its Quit event, which nothing else sends here.
class SessionApplication final : public QApplication {
public:
    using QApplication::QApplication;

protected:
    bool event(QEvent* event) override {
        if (event->type() != QEvent::Quit) return QApplication::event(event);
        session_ends = true;
        const bool known = QApplication::event(event);
        if (event->isAccepted()) {
            // A copy, for the handler may set another handler.
            if (const auto handler = session_end_handler) RunHandler(handler);
            // Also where the session ends before Run.
            Application::Quit();
        }
        session_ends = false;
        return known;
    }
};

}  // namespace

Application::Application() {
    ForgetDumbSessionBus();
    {
        const DisplaySearch search;
        application_ = std::make_unique<SessionApplication>(argument_count, arguments.data());
    }
    QApplication::setApplicationName(QStringLiteral("Pellago"));
    QApplication::setDesktopFileName(QStringLiteral("pellagod"));
    QApplication::setWindowIcon(IconFromHandle(LoadIcon("pellago")));
    // The program lives in the tray: no window that closes ends it.
    QApplication::setQuitOnLastWindowClosed(false);
    // Qt takes over the user's locale; numbers in files and statements keep their decimal point.
    std::setlocale(LC_NUMERIC, "C");
    UseMessageBox(ShowMessageBoxWindow);
}

Application::~Application() {
    UseMessageBox(nullptr);
    session_end_handler = nullptr;
    quit_status.reset();
}

int Application::Run() { return quit_status ? *quit_status : QApplication::exec(); }

void Application::Quit(int status) {
    quit_status = status;
    QApplication::exit(status);
}

void Application::OnSessionEnd(std::function<void()> handler) { session_end_handler = std::move(handler); }

bool Application::SessionEnds() { return session_ends || qGuiApp->isSavingSession(); }

}  // namespace pellago
