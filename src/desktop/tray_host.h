#pragma once

#include <QObject>
#include <functional>
#include <memory>

namespace pellago {

class XembedTray;

/// The panel that shows icons: a StatusNotifier host on the session bus, or an XEmbed tray.
///
/// Qt settles for one of the two for good at the first use of QSystemTrayIcon, and takes XEmbed when no host
/// is on the bus by then. A program may start before its panel, so nothing may touch QSystemTrayIcon until
/// Found.
class TrayHost final : public QObject {
    Q_OBJECT

public:
    /// `changed` is called from the message loop, when Available or Found has changed.
    explicit TrayHost(std::function<void()> changed);
    ~TrayHost() override;

    /// True from the moment the first host was there.
    bool Found() const { return protocol_ != Protocol::kUnknown; }
    bool SpeaksXembed() const { return protocol_ == Protocol::kXembed; }
    /// Whether a host is there now.
    bool Available() const;

private Q_SLOTS:
    void AskWatcher();

private:
    enum class Protocol { kUnknown, kStatusNotifier, kXembed };

    void ListenOnBus();
    void Update();

    std::function<void()> changed_;
    std::unique_ptr<XembedTray> xembed_;  ///< null where there is no X server
    Protocol protocol_ = Protocol::kUnknown;
    bool bus_answered_ = false;
    bool bus_host_ = false;
    bool was_available_ = false;
};

}  // namespace pellago
