#pragma once

#include <string>
#include <vector>

#include "desktop/form.h"

class QTableWidget;

namespace pellago {

/// The list of channels that failed in a run, which can switch them off and send the list to the support.
/// Shown modally by its owner, also while another run is in progress.
class frmChannelErrors final : public Form {
public:
    frmChannelErrors();

    /// The address that reports are sent to.
    const std::string& SupportMail() const { return support_mail_; }
    void SupportMail(const std::string& address) { support_mail_ = address; }

    /// Each entry holds four fields with a TAB between each two: feed address, channel id, channel name,
    /// error text.
    void FillChannels(const std::vector<std::string>& channel_errors);

protected:
    void Form_Load() override;
    void Form_Unload() override;

private:
    void MakeGrid();
    QPushButton* MakeButton(const char* name, const QString& caption, void (frmChannelErrors::*act)());
    void FitColumns();
    std::string Cell(int row, int column) const;
    void Deactivate();
    void Send();
    void Close() { Unload(); }

    std::string support_mail_;
    QTableWidget* grid_;  ///< columns: id, address, name, error
};

}  // namespace pellago
