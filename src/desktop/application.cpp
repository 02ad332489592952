#include "desktop/application.h"

#include <QApplication>
#include <QEvent>
#include <array>
#include <clocale>
#include <optional>

#include "desktop/icons.h"
#include "desktop/message_box.h"
#include "platform/session_bus.h"

namespace pellago {
namespace {

// Qt keeps references to these. The program's own arguments are not Qt's: "/style" means nothing to it, and
// "-style" would.
int argument_count = 1;
std::array<char, 9> program_name{"pellagod"};
std::array<char*, 2> arguments{program_name.data(), nullptr};

std::optional<int> quit_status;
bool session_ends = false;

/// Session managers end a program by its Quit event, which nothing else sends here.
class SessionApplication final : public QApplication {
public:
    using QApplication::QApplication;

protected:
    bool event(QEvent* event) override {
        if (event->type() != QEvent::Quit) return QApplication::event(event);
        session_ends = true;
        const bool known = QApplication::event(event);
        session_ends = false;
        // Also where it comes before Run.
        if (event->isAccepted()) Application::Quit();
        return known;
    }
};

}  // namespace

Application::Application() {
    ForgetDumbSessionBus();
    application_ = std::make_unique<SessionApplication>(argument_count, arguments.data());
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
    quit_status.reset();
}

int Application::Run() { return quit_status ? *quit_status : QApplication::exec(); }

void Application::Quit(int status) {
    quit_status = status;
    QApplication::exit(status);
}

bool Application::SessionEnds() { return session_ends || qGuiApp->isSavingSession(); }

}  // namespace pellago
