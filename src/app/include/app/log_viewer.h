#pragma once

#include "desktop/form.h"

class QTableWidget;

namespace pellago {

/// The download log of all runs, newest first. Shown modally by its owner; read anew each time it comes up.
class frmLog final : public Form {
public:
    frmLog();

private:
    void Form_Activate() override;

    void ReadRows();

    QTableWidget* grid_;
};

}  // namespace pellago
