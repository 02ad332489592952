#include "desktop/application.h"

#include <QApplication>
#include <array>
#include <clocale>

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

}  // namespace

Application::Application() {
    ForgetDumbSessionBus();
    application_ = std::make_unique<QApplication>(argument_count, arguments.data());
    QApplication::setApplicationName(QStringLiteral("Pellago"));
    QApplication::setDesktopFileName(QStringLiteral("pellagod"));
    QApplication::setWindowIcon(IconFromHandle(LoadIcon("pellago")));
    // The program lives in the tray: no window that closes ends it.
    QApplication::setQuitOnLastWindowClosed(false);
    // Qt takes over the user's locale; numbers in files and statements keep their decimal point.
    std::setlocale(LC_NUMERIC, "C");
    UseMessageBox(ShowMessageBoxWindow);
}

Application::~Application() { UseMessageBox(nullptr); }

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): there must be an application to run.
int Application::Run() { return QApplication::exec(); }

void Application::Quit(int status) { QApplication::exit(status); }

}  // namespace pellago
