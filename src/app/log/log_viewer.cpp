#include "app/log/log_viewer.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>
#include <array>
#include <utility>

#include "app/shared/globals.h"
#include "desktop/event_handler.h"
#include "grid/data_grid.h"
#include "infra/guarded_routine.h"
#include "infra/process_objects.h"
#include "log_model.h"
#include "log_text.h"
#include "platform/values/text.h"
#include "store/de1.h"

namespace pellago {
namespace {

constexpr QSize kSize(860, 500);

/// Of the columns, in widths of a digit.
constexpr std::array kWidths{20, 25, 31, 7, 9, 9};

std::vector<DataGrid::Field> Fields() {
    std::vector<DataGrid::Field> fields;
    for (const auto& column : LogColumns()) fields.push_back({column.caption, column.data_field});
    return fields;
}

}  // namespace

frmLog::frmLog()
    : Form("frmLog", BorderStyle::kSizable),
      rows_(DataEnvironment().Recordsets("rsViewLog")),
      dgLogs_(new DataGrid(Fields(), this)),  // owned by the form
      status_(new QLabel(this)),              // owned by the form
      model_(std::make_unique<LogModel>(rows_, [this] { ShowStatus(); })) {
    setWindowTitle(QStringLiteral("Download Log"));
    dgLogs_->setObjectName(QStringLiteral("dgLogs"));
    dgLogs_->Model(model_.get());
    dgLogs_->OnFilterChange([this](int column) { FilterChange(column); });
    dgLogs_->OnGroupChange([this] { GroupChange(); });
    auto* header = dgLogs_->Table().horizontalHeader();
    header->setStretchLastSection(true);
    int column = 0;
    for (const auto width : kWidths)
        header->resizeSection(column++, width * fontMetrics().horizontalAdvance(QLatin1Char('0')));
    status_->setObjectName(QStringLiteral("lblStatus"));
    status_->setTextFormat(Qt::PlainText);
    status_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);

    auto* close = new QPushButton(QStringLiteral("&Close"));  // owned by the row of buttons
    close->setObjectName(QStringLiteral("btnClose"));
    close->setAutoDefault(false);  // Enter is for the filter and the rows
    CancelButton(close);
    OnClick(close, [this] { Hide(); });
    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(close, QDialogButtonBox::RejectRole);
    auto* below = new QHBoxLayout;  // owned by the form's layout
    below->addWidget(status_, 1);
    below->addWidget(buttons);
    auto* layout = new QVBoxLayout(this);  // owned by the form
    layout->addWidget(dgLogs_, 1);
    layout->addLayout(below);
    resize(kSize);
}
frmLog::~frmLog() = default;

void frmLog::Form_Load() {
    Try([&] { gFormRestore->GetPosition(*this); });
}

void frmLog::Form_Activate() {
    IgnoringErrors([&](Statements& run) {
        run([&] {
            if (rows_->IsOpen()) rows_->Close();
        });
        run([&] { rows_->Open(); });
        run([&] { rows_->Sort(""); });
        run([&] { rows_->Filter(""); });
        filter_is_valid_ = true;
        for (auto& column : dgLogs_->Columns()) run([&] { column.FilterText(""); });
        run([&] { dgLogs_->GroupColumns({}); });
        run([&] { model_->Bind({}); });
        run([&] { dgLogs_->Table().setFocus(); });
    });
}

void frmLog::Form_Unload() {
    Try([&] { gFormRestore->SavePosition(*this); });
}

void frmLog::GroupChange() {
    IgnoringErrors([&](Statements& run) {
        std::string sort;
        for (const auto column : dgLogs_->GroupColumns()) {
            const auto& field = dgLogs_->Columns().at(static_cast<std::size_t>(column)).DataField();
            sort += (sort.empty() ? "[" : ", [") + field + "]";
        }
        run([&] { rows_->Sort(sort); });
        run([&] { model_->Bind(dgLogs_->GroupColumns()); });
    });
}

void frmLog::ShowStatus() {
    status_->setText(filter_is_valid_
                         ? model_->Status()
                         : QStringLiteral("The filter is not valid; the one before it is in force."));
}

}  // namespace pellago
