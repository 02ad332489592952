#include <string_view>

#include "app/log/log_viewer.h"
#include "grid/data_grid.h"
#include "infra/guarded_routine.h"
#include "log_model.h"
#include "platform/data/recordset.h"
#include "platform/values/text.h"

// What is typed above the columns of the log, and what that lets through.
namespace pellago {
namespace {

bool Boolean(const std::string& text) {
    return Try([&] { return BooleanFromText(text); });
}

}  // namespace

// The grid keeps the layout of its columns and the text that is being typed, whatever the model does.
void frmLog::FilterChange(int column) {
    IgnoringErrors([&](Statements& run) {
        const auto before = rows_->Filter();
        const auto filter = run([&] { return getFilter(dgLogs_->Columns()); });
        run([&] { rows_->Filter(filter); });
        filter_is_valid_ = rows_->Filter() == filter;
        if (rows_->Filter() != before) run([&] { model_->Bind(dgLogs_->GroupColumns()); });
        run([&] { dgLogs_->Col(column); });
        run([&] { ShowStatus(); });
    });
}

std::string frmLog::getFilter(std::vector<GridColumn>& columns) {
    constexpr std::string_view kAnd = " AND ";
    std::string filter;
    for (auto& column : columns) {
        const auto text = column.FilterText();
        const auto& field = column.DataField();
        if (Trim(text).empty()) continue;
        if (field == "EventTime")
            column.FilterText("");
        else if (field == "Error")
            filter.append(kAnd).append(field).append(" = ").append(Boolean(Trim(text)) ? "True" : "False");
        else
            filter.append(kAnd).append(field).append(" LIKE '").append(text).append("*'");
    }
    return filter.empty() ? filter : filter.substr(kAnd.size());
}

}  // namespace pellago
