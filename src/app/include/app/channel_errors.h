#pragma once

#include <string>
#include <vector>

#include "desktop/form.h"

class QTableWidget;

namespace pellago {

/// The list of channels that failed in a run. Shown modally by its owner.
class frmChannelErrors final : public Form {
public:
    frmChannelErrors();

    /// The address that reports are sent to.
    const std::string& SupportMail() const { return support_mail_; }
    void SupportMail(const std::string& address) { support_mail_ = address; }

    /// Each entry holds four fields with a TAB between each two: feed address, channel id, channel name,
    /// error text.
    void FillChannels(const std::vector<std::string>& ChannelErrors);

private:
    std::string support_mail_;
    QTableWidget* grid_;  ///< columns: id, address, name, error
};

}  // namespace pellago
