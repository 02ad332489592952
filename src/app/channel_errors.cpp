#include "app/channel_errors.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>
#include <array>

#include "desktop/event_handler.h"

namespace pellago {
namespace {

/// The field of an entry that each column shows.
constexpr std::array kFields{1, 0, 2, 3};

constexpr QSize kSize(640, 320);

}  // namespace

frmChannelErrors::frmChannelErrors()
    : Form("frmChannelErrors", BorderStyle::kSizable), grid_(new QTableWidget(this)) {
    setWindowTitle(QStringLiteral("News download errors"));
    grid_->setObjectName(QStringLiteral("fgChannelErrors"));
    grid_->setColumnCount(kFields.size());
    grid_->setHorizontalHeaderLabels({QStringLiteral("ID"), QStringLiteral("Address"),
                                      QStringLiteral("Channel"), QStringLiteral("Error")});
    grid_->verticalHeader()->hide();
    grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid_->setSelectionBehavior(QAbstractItemView::SelectRows);

    auto* close = new QPushButton(QStringLiteral("&Close"));  // owned by the row of buttons
    close->setObjectName(QStringLiteral("btnClose"));
    CancelButton(close);
    OnClick(close, [this] { Unload(); });
    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(close, QDialogButtonBox::RejectRole);
    auto* layout = new QVBoxLayout(this);  // owned by the form
    layout->addWidget(grid_);
    layout->addWidget(buttons);
    resize(kSize);
}

void frmChannelErrors::FillChannels(const std::vector<std::string>& ChannelErrors) {
    grid_->setUpdatesEnabled(false);
    grid_->setRowCount(static_cast<int>(ChannelErrors.size()));
    int row = 0;
    for (const auto& entry : ChannelErrors) {
        const auto fields = QString::fromStdString(entry).split(QLatin1Char('\t'));
        int column = 0;
        for (const auto field : kFields)
            grid_->setItem(row, column++, new QTableWidgetItem(fields.value(field)));  // owned by the grid
        ++row;
    }
    grid_->resizeColumnsToContents();
    grid_->setUpdatesEnabled(true);
}

}  // namespace pellago
