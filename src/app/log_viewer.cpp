#include "app/log_viewer.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>
#include <array>
#include <utility>

#include "app/globals.h"
#include "desktop/event_handler.h"
#include "infra/guarded_routine.h"
#include "store/de1.h"

namespace pellago {
namespace {

/// Captions, and the fields under them.
constexpr std::array<std::pair<const char*, const char*>, 6> kColumns = {{{"Time", "EventTime"},
                                                                          {"Channel", "Channel"},
                                                                          {"Message", "Message"},
                                                                          {"New", "NewItems"},
                                                                          {"Updated", "UpdatedItems"},
                                                                          {"Error", "Error"}}};

constexpr QSize kSize(720, 420);

QString TextOf(const Variant& value) {
    if (IsNull(value)) return {};
    const auto* date = std::get_if<DateTime>(&value);
    return QString::fromStdString(date ? DefaultText(*date) : CStr(value));
}

}  // namespace

frmLog::frmLog() : Form("frmLog", BorderStyle::kSizable), grid_(new QTableWidget(this)) {
    setWindowTitle(QStringLiteral("Download Log"));
    grid_->setObjectName(QStringLiteral("dgLogs"));
    grid_->setColumnCount(kColumns.size());
    QStringList captions;
    for (const auto& [caption, field] : kColumns) captions << QLatin1String(caption);
    grid_->setHorizontalHeaderLabels(captions);
    grid_->verticalHeader()->hide();
    grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid_->setSelectionBehavior(QAbstractItemView::SelectRows);

    auto* close = new QPushButton(QStringLiteral("&Close"));  // owned by the row of buttons
    close->setObjectName(QStringLiteral("btnClose"));
    CancelButton(close);
    OnClick(close, [this] { Hide(); });
    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(close, QDialogButtonBox::RejectRole);
    auto* layout = new QVBoxLayout(this);  // owned by the form
    layout->addWidget(grid_);
    layout->addWidget(buttons);
    resize(kSize);
}

void frmLog::Form_Activate() {
    IgnoringErrors([&](Statements& run) {
        run([&] { grid_->setRowCount(0); });
        run([&] { ReadRows(); });
        run([&] { grid_->resizeColumnsToContents(); });
    });
}

void frmLog::ReadRows() {
    const auto rows = DataEnvironment().Recordsets("rsViewLog");
    if (rows->IsOpen()) rows->Close();
    rows->Open();
    grid_->setRowCount(rows->RecordCount());
    for (int row = 0; !rows->Eof(); rows->MoveNext(), ++row) {
        int column = 0;
        for (const auto& [caption, field] : kColumns)
            grid_->setItem(row, column++,
                           new QTableWidgetItem(TextOf(rows->Value(field))));  // owned by the grid
    }
    rows->Close();
}

}  // namespace pellago
