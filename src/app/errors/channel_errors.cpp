#include "app/errors/channel_errors.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

#include "app/shared/globals.h"
#include "app/shared/mail_link.h"
#include "desktop/event_handler.h"
#include "infra/guarded_routine.h"
#include "infra/process_objects.h"
#include "infra/shell.h"
#include "platform/system/message_box.h"
#include "store/all_or_nothing.h"
#include "store/de1.h"

namespace pellago {
namespace {

constexpr int kId = 0;
constexpr int kAddress = 1;
/// The field of an entry that each column shows.
constexpr std::array kFields{1, 0, 2, 3};

// In letters, so that columns grow with the font.
constexpr int kWidestColumn = 40;
constexpr int kColumns = 110;
constexpr int kRows = 16;

constexpr int kRowPadding = 6;  // pixels

/// A cell that tells all of its text, which may be cut off; what feeds and servers said is plain text.
class TextCell final : public QTableWidgetItem {
public:
    using QTableWidgetItem::QTableWidgetItem;
    QVariant data(int role) const override {
        if (role != Qt::ToolTipRole) return QTableWidgetItem::data(role);
        return QStringLiteral("<qt>%1</qt>").arg(text().toHtmlEscaped());
    }
};

/// Many addresses of one server differ at their ends only.
class AddressDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        option->textElideMode = Qt::ElideMiddle;
    }
};

void DeactivateChannel(Recordset& channels, const std::string& id) {
    std::int32_t number = 0;
    const auto* end = id.data() + id.size();
    const auto read = std::from_chars(id.data(), end, number);
    if (read.ec != std::errc() || read.ptr != end) return;
    channels.Filter("ID = " + std::to_string(number));
    if (channels.RecordCount() == 0) return;
    channels.Value("Active", false);
    channels.Update();
}

// All in one transaction: the write lock is waited for once, not for each channel.
void DeactivateChannels(const std::vector<std::string>& ids) {
    const auto& database = DataEnvironment();
    const auto connection = database.CnnRSS();
    AllOrNothing writes(*connection);
    Recordset channels(connection, database.Recordsets("rsAllChannels")->Source());
    channels.Open();
    for (const auto& id : ids) {
        if (!connection->HoldsWrites()) break;  // a full disk: what was written is lost
        Try([&] { DeactivateChannel(channels, id); });
    }
    writes.Keep();
}

}  // namespace

frmChannelErrors::frmChannelErrors()
    : Form("frmChannelErrors", BorderStyle::kSizable), grid_(new QTableWidget(this)) {
    setWindowTitle(QStringLiteral("News download errors"));
    MakeGrid();
    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(
        MakeButton("btnDeactivate", QStringLiteral("&Deactivate channels"), &frmChannelErrors::Deactivate),
        QDialogButtonBox::ActionRole);
    buttons->addButton(MakeButton("btnSend", QStringLiteral("&Send to Support"), &frmChannelErrors::Send),
                       QDialogButtonBox::ActionRole);
    auto* close = MakeButton("btnClose", QStringLiteral("&Close"), &frmChannelErrors::Close);
    buttons->addButton(close, QDialogButtonBox::RejectRole);
    close->setDefault(true);
    CancelButton(close);
    auto* layout = new QVBoxLayout(this);  // owned by the form
    layout->addWidget(grid_);
    layout->addWidget(buttons);
    resize(fontMetrics().averageCharWidth() * kColumns, fontMetrics().lineSpacing() * kRows * 3 / 2);
}

void frmChannelErrors::MakeGrid() {
    grid_->setObjectName(QStringLiteral("fgChannelErrors"));
    grid_->setAccessibleName(QStringLiteral("Channels that failed"));
    grid_->setColumnCount(kFields.size());
    grid_->setHorizontalHeaderLabels({QStringLiteral("ID"), QStringLiteral("Address"),
                                      QStringLiteral("Channel"), QStringLiteral("Error")});
    grid_->setColumnHidden(kId, true);
    grid_->setItemDelegateForColumn(kAddress, new AddressDelegate(grid_));
    grid_->verticalHeader()->hide();
    grid_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    grid_->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + kRowPadding);
    grid_->horizontalHeader()->setStretchLastSection(true);
    grid_->horizontalHeader()->setHighlightSections(false);
    grid_->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid_->setSelectionBehavior(QAbstractItemView::SelectRows);
    grid_->setWordWrap(false);
    grid_->setShowGrid(false);
    grid_->setAlternatingRowColors(true);
    grid_->setTabKeyNavigation(false);
}

QPushButton* frmChannelErrors::MakeButton(const char* name, const QString& caption,
                                          void (frmChannelErrors::*act)()) {
    auto* button = new QPushButton(caption);  // owned by the row of buttons
    button->setObjectName(QLatin1String(name));
    OnClick(button, [this, act] { (this->*act)(); });
    return button;
}

void frmChannelErrors::Form_Load() {
    Try([&] { gFormRestore->GetPosition(*this); });
}

void frmChannelErrors::Form_Unload() {
    Try([&] { gFormRestore->SavePosition(*this); });
}

void frmChannelErrors::FillChannels(const std::vector<std::string>& channel_errors) {
    grid_->setUpdatesEnabled(false);
    grid_->setRowCount(static_cast<int>(channel_errors.size()));
    int row = 0;
    for (const auto& entry : channel_errors) {
        const auto fields = QString::fromStdString(entry).split(QLatin1Char('\t'));
        int column = 0;
        for (const auto field : kFields)
            grid_->setItem(row, column++, new TextCell(fields.value(field)));  // owned by the grid
        ++row;
    }
    FitColumns();
    grid_->setUpdatesEnabled(true);
}

void frmChannelErrors::FitColumns() {
    grid_->resizeColumnsToContents();
    const int widest = fontMetrics().averageCharWidth() * kWidestColumn;
    auto* header = grid_->horizontalHeader();
    for (int column = kAddress; column < grid_->columnCount(); ++column)
        header->resizeSection(column, std::min(header->sectionSize(column), widest));
}

std::string frmChannelErrors::Cell(int row, int column) const {
    return grid_->item(row, column)->text().toStdString();
}

// Nothing of the dialog is used after the box: it may be gone by then.
void frmChannelErrors::Deactivate() {
    IgnoringErrors([&](Statements& run) {
        std::vector<std::string> ids;
        ids.reserve(static_cast<std::size_t>(grid_->rowCount()));
        for (int row = 0; row < grid_->rowCount(); ++row) ids.push_back(Cell(row, kId));
        run([&] { DeactivateChannels(ids); });
        run([] {
            ShowMessageBox(
                {"Channels deactivated!", gAppTitle, MessageBoxButtons::kOk, MessageBoxIcon::kInformation});
        });
    });
}

void frmChannelErrors::Send() {
    std::string text;
    for (int row = 0; row < grid_->rowCount(); ++row) {
        text += "\r\n";
        for (int column = 0; column < grid_->columnCount(); ++column)
            text += (column == 0 ? "" : "\t") + Cell(row, column);
    }
    Try([&] { CShell().OpenUrl(ReportMailLink(support_mail_, "News%20Download%20Error", text)); });
}

}  // namespace pellago
