#include "main_window_controls.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

#include "desktop/form.h"
#include "desktop/icons.h"
#include "desktop/status_panel.h"

namespace pellago {
namespace {

constexpr int kLargeIcon = 64;

// In letters, so that the pages grow with the font.
constexpr int kWidth = 64;
constexpr int kNumberWidth = 8;

template <class Control>
Control* Named(Control* control, const char* name) {
    control->setObjectName(QLatin1String(name));
    return control;
}

QPushButton* Button(const char* name, const QString& caption) {
    return Named(new QPushButton(caption), name);  // owned by the layout that it is added to
}

QCheckBox* CheckBox(const char* name, const QString& caption, bool checked) {
    auto* box = Named(new QCheckBox(caption), name);  // owned by the layout that it is added to
    box->setChecked(checked);
    return box;
}

struct ProgressFrame {
    QGroupBox* frame;
    StatusPanel* line;
    QProgressBar* bar;
};

ProgressFrame AddProgressFrame(QVBoxLayout* page, const QString& title, const QString& text) {
    auto* frame = new QGroupBox(title);
    auto* line = new StatusPanel(text, frame);
    auto* bar = new QProgressBar(frame);
    bar->setRange(0, 100);
    bar->setValue(0);
    bar->setFormat(QStringLiteral("0 %"));
    bar->setAlignment(Qt::AlignCenter);
    bar->setAccessibleName(title);
    auto* layout = new QVBoxLayout(frame);
    layout->addWidget(line);
    layout->addWidget(bar);
    page->addWidget(frame);
    return {frame, line, bar};
}

}  // namespace

MainWindowControls::MainWindowControls(Form& window)
    : tabUpdate(Named(new QTabWidget(&window), "tabUpdate")),
      btnHide(Button("btnHide", QStringLiteral("&Hide"))) {
    tabUpdate->addTab(DownloadPage(), QStringLiteral("&Download"));
    tabUpdate->addTab(OptionsPage(), QStringLiteral("&Options"));
    tabUpdate->addTab(AboutPage(), QStringLiteral("A&bout"));
    for (std::size_t frame = 0; frame < picTrayIcons.size(); ++frame)
        picTrayIcons[frame] = LoadIcon("pellago-download-" + std::to_string(frame));

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(btnHide);
    auto* layout = new QVBoxLayout(&window);
    layout->addWidget(tabUpdate);
    layout->addLayout(buttons);
    tabUpdate->setMinimumWidth(window.fontMetrics().averageCharWidth() * kWidth);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    cmdUpdate->setFocus();
}

QWidget* MainWindowControls::DownloadPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    const auto providers = AddProgressFrame(layout, QStringLiteral("Providers"), QStringLiteral("Provider:"));
    fraProviders = Named(providers.frame, "fraProviders");
    elaProviderStatusCaption = Named(providers.line, "elaProviderStatusCaption");
    elaProviderStatusProgress = Named(providers.bar, "elaProviderStatusProgress");
    const auto channels = AddProgressFrame(layout, QStringLiteral("Channels"), QStringLiteral("Channel:"));
    fraChannels = Named(channels.frame, "fraChannels");
    elaChannelStatusCaption = Named(channels.line, "elaChannelStatusCaption");
    elaChannelStatusProgress = Named(channels.bar, "elaChannelStatusProgress");
    const auto items = AddProgressFrame(layout, QStringLiteral("Items"), QStringLiteral("Download:"));
    fraItem = Named(items.frame, "fraItem");
    elaItemCaption = Named(items.line, "elaItemCaption");
    elaItemProgress = Named(items.bar, "elaItemProgress");

    cmdUpdate = Button("cmdUpdate", QStringLiteral("&Start"));
    cmdStop = Button("cmdStop", QStringLiteral("S&top"));
    cmdLog = Button("cmdLog", QStringLiteral("&View Log"));
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdUpdate);
    buttons->addWidget(cmdStop);
    buttons->addStretch();
    buttons->addWidget(cmdLog);
    layout->addStretch();
    layout->addLayout(buttons);
    return page;
}

void MainWindowControls::MakeOptions() {
    elaOptions = Named(new QWidget, "elaOptions");
    chkAutoStart = CheckBox("chkAutoStart", QStringLiteral("Start Corvane on &Windows startup"), true);
    chkStartInTray = CheckBox("chkStartInTray", QStringLiteral("Start &minimized"), true);
    chkAutoUpdate = CheckBox("chkAutoUpdate", QStringLiteral("Autoupdate &interval in minutes"), true);
    txtNumber = Named(new QLineEdit(QStringLiteral("30")), "txtNumber");
    txtNumber->setAccessibleName(QStringLiteral("Autoupdate interval in minutes"));
    txtNumber->setToolTip(
        QStringLiteral("Whole minutes, at most 35791. With 0 nothing is updated by itself."));
    txtNumber->setFixedWidth(txtNumber->fontMetrics().averageCharWidth() * kNumberWidth);
    chkSilent = CheckBox("chkSilent", QStringLiteral("Si&lent mode"), false);
    chkShowChannelsErrors = CheckBox("chkShowChannelsErrors", QStringLiteral("Show channel &errors"), false);
    lblProcessPriority = Named(new QLabel(QStringLiteral("&Process priority")), "lblProcessPriority");
    cbProcessPriority = Named(new QComboBox, "cbProcessPriority");
    lblProcessPriority->setBuddy(cbProcessPriority);
    btnApply = Button("btnApply", QStringLiteral("&Apply"));
}

QWidget* MainWindowControls::OptionsPage() {
    MakeOptions();
    auto* interval = new QHBoxLayout;
    interval->addWidget(chkAutoUpdate);
    interval->addWidget(txtNumber);
    interval->addStretch();
    auto* priority = new QHBoxLayout;
    priority->addWidget(lblProcessPriority);
    priority->addWidget(cbProcessPriority);
    priority->addStretch();
    auto* apply = new QHBoxLayout;
    apply->addStretch();
    apply->addWidget(btnApply);
    auto* layout = new QVBoxLayout(elaOptions);
    layout->addWidget(chkAutoStart);
    layout->addWidget(chkStartInTray);
    layout->addLayout(interval);
    layout->addWidget(chkSilent);
    layout->addWidget(chkShowChannelsErrors);
    layout->addLayout(priority);
    layout->addStretch();
    layout->addLayout(apply);
    return elaOptions;
}

QWidget* MainWindowControls::AboutPage() {
    auto* page = new QWidget;
    auto* picture = new QLabel;
    picture->setPixmap(IconFromHandle(LoadIcon("pellago")).pixmap(kLargeIcon));
    lblProductName = Named(new QLabel(QStringLiteral("Pellago")), "lblProductName");
    lblVersion = Named(new QLabel(QStringLiteral("Version:")), "lblVersion");
    lblDescription = Named(new QLabel(QStringLiteral("Description")), "lblDescription");
    lblDescription->setWordWrap(true);
    auto bold = lblProductName->font();
    bold.setBold(true);
    lblProductName->setFont(bold);
    auto* texts = new QVBoxLayout;
    for (auto* label : {lblProductName, lblVersion, lblDescription}) {
        label->setTextFormat(Qt::PlainText);
        texts->addWidget(label);
    }
    texts->addStretch();
    auto* layout = new QHBoxLayout(page);
    layout->addWidget(picture, 0, Qt::AlignTop);
    layout->addLayout(texts, 1);
    return page;
}

}  // namespace pellago
