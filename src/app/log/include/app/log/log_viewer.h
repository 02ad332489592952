#pragma once

#include <memory>
#include <string>
#include <vector>

#include "desktop/form.h"

class QLabel;

namespace pellago {

class DataGrid;
class GridColumn;
class LogModel;
class Recordset;

/// The download log of all runs, newest first. Shown modally by its owner.
class frmLog final : public Form {
public:
    frmLog();
    ~frmLog() override;

    /// The recordset filter that the texts in the columns' filter cells make, "" for none. Takes away the
    /// text over the time, which is no condition.
    static std::string getFilter(std::vector<GridColumn>& columns);

private:
    void Form_Load() override;
    void Form_Activate() override;
    void Form_Unload() override;
    void FilterChange(int column);
    void GroupChange();
    void ShowStatus();

    std::shared_ptr<Recordset> rows_;
    DataGrid* dgLogs_;
    QLabel* status_;
    std::unique_ptr<LogModel> model_;
    bool filter_is_valid_ = true;
};

}  // namespace pellago
