#include "log_model.h"

#include <QApplication>
#include <QFont>
#include <QStyle>
#include <algorithm>
#include <limits>
#include <utility>

#include "grid/data_grid.h"
#include "infra/guarded_routine.h"
#include "log_text.h"
#include "platform/data/keyset.h"

namespace pellago {
namespace {

constexpr const char* kKey = "DownloadLog.id";
constexpr const char* kNewestFirst = "[EventTime] DESC";

// A table's rows are counted in 32 bits.
constexpr std::size_t kMostRows = std::numeric_limits<int>::max();

const char* FieldOf(int column) { return LogColumns()[static_cast<std::size_t>(column)].data_field; }

}  // namespace

/// All rows, or those of one group, or of a group in a group.
struct LogModel::Section {
    Section* parent = nullptr;
    std::size_t index = 0;  ///< in the parent
    int level = -1;         ///< of the group, -1 for all rows
    std::string filter;
    QString caption;
    std::size_t count = 0;
    bool unfolded = false;

    // What an unfolded section holds: groups or rows.
    std::unique_ptr<RowGroups> counting;
    std::vector<std::unique_ptr<Section>> groups;
    std::vector<std::size_t> ends;  ///< where each group ends, in rows of the list from the first group's on
    std::unique_ptr<Keyset> rows;
    std::size_t shown_rows = 0;

    /// How many groups enclose the rows and groups of this section.
    std::size_t Depth() const { return level < 0 ? 0 : parent->Depth() + 1; }
    bool IsSearched() const { return counting || (rows && !rows->IsComplete()); }
    std::size_t Inner() const { return groups.empty() ? shown_rows : ends.back(); }
    std::size_t Visible() const { return (level < 0 ? 0 : 1) + Inner(); }
    std::size_t Start() const {
        if (!parent) return 0;
        return parent->FirstInner() + (index == 0 ? 0 : parent->ends[index - 1]);
    }
    std::size_t FirstInner() const { return Start() + (level < 0 ? 0 : 1); }

    void CountGroups(std::size_t from = 0) {
        ends.resize(groups.size());
        for (auto at = from; at < groups.size(); ++at)
            ends[at] = (at == 0 ? 0 : ends[at - 1]) + groups[at]->Visible();
    }
    void CountAbove() const {
        for (const auto* section = this; section->parent; section = section->parent)
            section->parent->CountGroups(section->index);
    }
};

LogModel::LogModel(std::shared_ptr<Recordset> rows, std::function<void()> changed)
    : rows_(std::move(rows)),
      changed_(std::move(changed)),
      root_(std::make_unique<Section>()),
      failed_(QApplication::style()->standardIcon(QStyle::SP_MessageBoxWarning)) {}
LogModel::~LogModel() = default;

void LogModel::Bind(std::vector<int> group_columns) {
    beginResetModel();
    group_columns_ = std::move(group_columns);
    failure_.reset();
    root_ = std::make_unique<Section>();
    endResetModel();
    Try([&] {
        rows_->Open();  // again where opening failed before: it says why
        root_->filter = rows_->Filter();
        Fill(*root_);
    });
    if (!root_->unfolded) failure_ = Err().description;
    changed_();
}

void LogModel::Fill(Section& section) {
    const auto column = section.Depth();
    if (column < group_columns_.size())
        section.counting =
            std::make_unique<RowGroups>(*rows_, FieldOf(group_columns_[column]), section.filter,
                                        [this, &section] { TakeGroups(section); });
    else
        section.rows = std::make_unique<Keyset>(*rows_, kKey, section.filter, kNewestFirst,
                                                [this, &section] { TakeRows(section); });
    section.unfolded = true;
}

void LogModel::TakeRows(Section& section) {
    const auto size = section.rows->Size();
    if (section.rows->Failure()) failure_ = section.rows->Failure()->description;
    Insert(section, size - section.shown_rows, [&] { section.shown_rows = size; });
    TellHeader(section);
    changed_();
}

void LogModel::TakeGroups(Section& section) {
    const auto counting = std::exchange(section.counting, nullptr);
    if (counting->Failure()) failure_ = counting->Failure()->description;
    const auto column = group_columns_[section.Depth()];
    std::vector<std::unique_ptr<Section>> groups;
    for (const auto& [value, count] : *counting->Groups()) {
        auto& group = groups.emplace_back(std::make_unique<Section>());
        group->parent = &section;
        group->index = groups.size() - 1;
        group->level = section.level + 1;
        group->filter =
            section.filter + (section.filter.empty() ? "" : " AND ") + LogGroupFilter(column, value);
        group->caption = LogGroupCaption(column, value, count);
        group->count = count;
    }
    Insert(section, groups.size(), [&] {
        section.groups = std::move(groups);
        section.CountGroups();
    });
    TellHeader(section);
    changed_();
}

void LogModel::TellHeader(const Section& section) {
    if (section.level < 0) return;
    const auto row = static_cast<int>(section.Start());
    Q_EMIT dataChanged(index(row, 0), index(row, columnCount() - 1));
}

/// Lets a section that is unfolded grow at its end by `count` rows of the list, which `change` adds to it.
void LogModel::Insert(Section& section, std::size_t count, const std::function<void()>& change) {
    const auto begin = section.FirstInner() + section.Inner();
    if (count == 0 || root_->Visible() + count > kMostRows) return;
    beginInsertRows({}, static_cast<int>(begin), static_cast<int>(begin + count - 1));
    change();
    section.CountAbove();
    endInsertRows();
}

void LogModel::Empty(Section& section) {
    const auto begin = section.FirstInner();
    const auto count = section.Inner();
    section.unfolded = false;
    section.counting.reset();
    if (count > 0) beginRemoveRows({}, static_cast<int>(begin), static_cast<int>(begin + count - 1));
    section.rows.reset();
    section.groups.clear();
    section.ends.clear();
    section.shown_rows = 0;
    section.CountAbove();
    if (count > 0) endRemoveRows();
}

QString LogModel::Status() const {
    if (failure_) return QString::fromStdString(*failure_);
    if (root_->counting) return QStringLiteral("Counting …");
    if (group_columns_.empty())
        return CountedText(root_->shown_rows, "row", "rows") +
               (root_->IsSearched() ? QStringLiteral(" so far …") : QString());
    std::size_t rows = 0;
    for (const auto& group : root_->groups) rows += group->count;
    return CountedText(root_->groups.size(), "group", "groups") + QStringLiteral(", ") +
           CountedText(rows, "row", "rows");
}

int LogModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(root_->Visible());
}

int LogModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(LogColumns().size());
}

QVariant LogModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    return QLatin1String(LogColumns()[static_cast<std::size_t>(section)].caption);
}

LogModel::Place LogModel::PlaceOf(int row) const {
    auto at = static_cast<std::size_t>(row);
    auto* section = root_.get();
    while (!section->groups.empty()) {
        const auto& ends = section->ends;
        const auto group =
            static_cast<std::size_t>(std::upper_bound(ends.begin(), ends.end(), at) - ends.begin());
        if (group > 0) at -= ends[group - 1];
        section = section->groups[group].get();
        if (at-- == 0) return {section, std::nullopt};
    }
    return {section, at};
}

QVariant LogModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const auto place = PlaceOf(index.row());
    if (!place.row) return GroupData(*place.section, index.column(), role);
    return RowData(place, index.column(), role);
}

bool LogModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || role != kUnfoldedRole) return false;
    const auto place = PlaceOf(index.row());
    if (place.row || place.section->unfolded == value.toBool()) return false;
    if (value.toBool())
        Try([&] { Fill(*place.section); });
    else
        Empty(*place.section);
    TellHeader(*place.section);
    return true;
}

/// The row that stands for a section, none for all rows.
QVariant LogModel::RowOf(const Section& section) {
    return section.level < 0 ? QVariant() : static_cast<int>(section.Start());
}

QVariant LogModel::GroupData(const Section& group, int column, int role) const {
    if (role == kGroupRowRole) return RowOf(*group.parent);
    if (role == kGroupLevelRole || role == kIndentRole) return group.level;
    if (role == kUnfoldedRole) return group.unfolded;
    if (role != Qt::DisplayRole || column != 0) return {};
    return group.IsSearched() ? group.caption + QStringLiteral(" …") : group.caption;
}

QVariant LogModel::RowData(const Place& place, int column, int role) const {
    switch (role) {
        case kIndentRole:
            return place.section->level + 1;
        case kGroupRowRole:
            return RowOf(*place.section);
        case Qt::TextAlignmentRole:
            if (column == kLogNewColumn || column == kLogUpdatedColumn)
                return QVariant(Qt::AlignRight | Qt::AlignVCenter);
            return {};
        case Qt::DisplayRole:
        case Qt::FontRole:
        case Qt::DecorationRole:
            break;
        default:
            return {};
    }
    const auto values = ValuesOf(place);
    if (values.empty()) return {};
    if (role == Qt::DisplayRole) return LogCellText(column, values[static_cast<std::size_t>(column)]);
    const auto& error = values[kLogErrorColumn];
    if (IsNull(error) || !CBool(error)) return {};
    if (role == Qt::DecorationRole) return column == kLogErrorColumn ? QVariant(failed_) : QVariant();
    QFont bold;
    bold.setBold(true);
    return bold;
}

std::vector<Variant> LogModel::ValuesOf(const Place& place) const {
    return Try([&] { return place.section->rows->Row(*place.row); });
}

}  // namespace pellago
