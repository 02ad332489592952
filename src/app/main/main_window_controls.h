#pragma once

#include <QButtonGroup>
#include <array>
#include <cstdint>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QTabWidget;
class QVBoxLayout;
class QWidget;

namespace pellago {

class Form;
class StatusPanel;

/// The controls of the main window, under the names that they have there. All are owned by the window.
struct MainWindowControls {
    explicit MainWindowControls(Form& window);

    QTabWidget* tabUpdate;
    QPushButton* btnHide;

    // Download
    QGroupBox* fraProviders;
    StatusPanel* elaProviderStatusCaption;
    QProgressBar* elaProviderStatusProgress;
    QGroupBox* fraChannels;
    StatusPanel* elaChannelStatusCaption;
    QProgressBar* elaChannelStatusProgress;
    QGroupBox* fraItem;
    StatusPanel* elaItemCaption;
    QProgressBar* elaItemProgress;
    QPushButton* cmdUpdate;
    QPushButton* cmdStop;
    QPushButton* cmdLog;

    // Options
    QWidget* elaOptions;
    QCheckBox* chkAutoStart;
    QCheckBox* chkStartInTray;
    QCheckBox* chkAutoUpdate;
    QLineEdit* txtNumber;
    QCheckBox* chkSilent;
    QCheckBox* chkShowChannelsErrors;
    QLabel* lblProcessPriority;
    QComboBox* cbProcessPriority;
    QPushButton* btnApply;

    // About
    QLabel* lblProductName;
    QLabel* lblVersion;
    QLabel* lblDescription;

    /// The frames of the tray's animation: handles of pictures.
    std::array<std::int32_t, 4> picTrayIcons;

private:
    void MakeOptions();
    QWidget* DownloadPage();
    QWidget* OptionsPage();
    QWidget* AboutPage();
};

}  // namespace pellago
