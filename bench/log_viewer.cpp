// The download log viewer on a made log, by default of ten million rows: log_viewer [rows]. On the offscreen
// platform or any other.

#include "app/log/log_viewer.h"

#include <QApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScrollBar>
#include <QTableView>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>

#include "app/shared/globals.h"
#include "desktop/application.h"
#include "infra/process_objects.h"
#include "store/de1.h"

namespace pellago::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kChannels = 1000;

double Milliseconds(Clock::time_point since) {
    return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

double MemoryMiB() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;)
        if (word == "VmRSS:" && status >> word) return std::stod(word) / 1024;
    return 0;
}

void MakeLog(Connection& database, const std::string& rows) {
    database.Execute(
        "BEGIN; WITH RECURSIVE c(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM c WHERE n < " +
        std::to_string(kChannels) +
        ") INSERT INTO Channels (Channel, httpRSSFile) SELECT char(65 + n % 26) || 'n old channel ' || n,"
        " 'http://feeds.example/' || n FROM c;"
        "WITH RECURSIVE c(n) AS (SELECT 0 UNION ALL SELECT n + 1 FROM c WHERE n + 1 < " +
        rows +
        ") INSERT INTO DownloadLog (Session, Channel, Result, Error, EventTime, NewItems, UpdatedItems)"
        " SELECT n / 2000, n / 2 % 1000 + 1, iif(n % 97 = 0, 3, 4 + n % 2), n % 97 = 0,"
        " datetime('2020-01-01', (n / 8) || ' seconds'), iif(n % 2, n / 2 % 11, 0), 0 FROM c; COMMIT");
}

void PumpUntil(const std::function<bool()>& done) {
    while (!done()) QApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
}

/// The viewer, shown, and what is measured on it.
class Viewer final {
public:
    Viewer() {
        const auto start = Clock::now();
        form_.Load();
        form_.Show();
        table_ = form_.findChild<QTableView*>();
        PumpUntil([&] { return HasRows(); });
        Paint();
        std::printf("opened, first rows painted: %.0f ms, %.0f MiB\n", Milliseconds(start), MemoryMiB());
        PumpUntil([&] { return IsComplete(); });
        std::printf("all rows found: %.0f ms, %s, %.0f MiB\n", Milliseconds(start), Status().c_str(),
                    MemoryMiB());
    }

    void Scroll() {
        constexpr int kJumps = 500;
        double longest = 0;
        double sum = 0;
        auto* bar = table_->verticalScrollBar();
        for (int jump = 0; jump < kJumps; ++jump) {
            const auto start = Clock::now();
            const auto to = static_cast<double>(bar->maximum()) * (jump * 37 % kJumps) / kJumps;
            bar->setValue(static_cast<int>(to));
            Paint();
            longest = std::max(longest, Milliseconds(start));
            sum += Milliseconds(start);
        }
        std::printf("jump to another place, painted: %.1f ms, longest %.1f ms, %.0f MiB\n", sum / kJumps,
                    longest, MemoryMiB());
    }

    void Type(const char* cell, const std::string& text) {
        auto* edit = form_.findChild<QLineEdit*>(QLatin1String(cell));
        std::string typed;
        for (const char letter : text) {
            typed += letter;
            const auto before = Status();
            const auto start = Clock::now();
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(QLatin1Char(letter)));
            QApplication::sendEvent(edit, &press);
            PumpUntil([&] { return Status() != before; });
            const auto taken = Milliseconds(start);
            PumpUntil([&] { return HasRows() || IsComplete(); });
            Paint();
            const auto painted = Milliseconds(start);
            PumpUntil([&] { return IsComplete(); });
            std::printf("%s \"%s\": key taken in %.1f ms, first rows %.0f ms, all %.0f ms, %s, %.0f MiB\n",
                        cell, typed.c_str(), taken, painted, Milliseconds(start), Status().c_str(),
                        MemoryMiB());
        }
        edit->clear();
        Q_EMIT edit->textEdited(QString());
        PumpUntil([&] { return IsComplete(); });
    }

    void GroupByChannel() {
        table_->setCurrentIndex(table_->model()->index(0, 1));
        QKeyEvent menu_key(QEvent::KeyPress, Qt::Key_F10, Qt::ShiftModifier);
        QApplication::sendEvent(table_, &menu_key);
        auto* menu = form_.findChild<QMenu*>(QStringLiteral("groupMenu"));
        const auto before = Status();
        auto start = Clock::now();
        menu->actions().constFirst()->trigger();
        menu->close();
        PumpUntil([&] { return Status() != before && IsComplete(); });
        std::printf("grouped by channel: %.0f ms, %s\n", Milliseconds(start), Status().c_str());
        const auto groups = table_->model()->rowCount();
        table_->setCurrentIndex(table_->model()->index(0, 0));
        start = Clock::now();
        QKeyEvent unfold(QEvent::KeyPress, Qt::Key_Right, Qt::NoModifier);
        QApplication::sendEvent(table_, &unfold);
        PumpUntil([&] { return table_->model()->rowCount() > groups; });
        Paint();
        std::printf("a group unfolded, painted: %.1f ms\n", Milliseconds(start));
    }

private:
    void Paint() const { table_->viewport()->repaint(); }
    bool HasRows() const { return table_->model()->rowCount() > 0; }
    std::string Status() const {
        return form_.findChild<QLabel*>(QStringLiteral("lblStatus"))->text().toStdString();
    }
    bool IsComplete() const { return Status().find("…") == std::string::npos; }

    frmLog form_;
    QTableView* table_ = nullptr;
};

void Run(const std::string& rows) {
    auto folder = (std::filesystem::temp_directory_path() / "pellago-bench-XXXXXX").string();
    if (!mkdtemp(folder.data())) throw std::runtime_error("no temporary folder");
    setenv("PELLAGO_HOME", folder.c_str(), 1);
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    CreateProcessObjects();
    MakeLog(*DataEnvironment().CnnRSS(), rows);
    CloseDataEnvironment();
    DataEnvironment().CnnRSS()->Open();
    std::printf("before: %.0f MiB\n", MemoryMiB());
    {
        Viewer viewer;
        viewer.Scroll();
        viewer.Type("filter1", "An old");
        viewer.Type("filter1", "zz");
        viewer.Type("filter5", "1");
        viewer.GroupByChannel();
    }
    CloseDataEnvironment();
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace pellago::bench

int main(int argc, char** argv) {
    const pellago::Application application;
    try {
        pellago::bench::Run(argc > 1 ? argv[1] : "10000000");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
