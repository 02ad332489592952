#pragma once

#include <QAbstractNativeEventFilter>
#include <cstdint>
#include <functional>

struct xcb_connection_t;

namespace pellago {

/// Knows whether a tray of the XEmbed kind is there, from the X server's own events.
class XembedTray final : public QAbstractNativeEventFilter {
public:
    /// `changed` is called from inside the handling of an event of the X server: it must not do more than
    /// post.
    XembedTray(xcb_connection_t* connection, std::function<void()> changed);
    ~XembedTray() override;
    XembedTray(const XembedTray&) = delete;
    XembedTray& operator=(const XembedTray&) = delete;

    bool Present() const { return window_ != 0; }

    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

private:
    void Locate();

    xcb_connection_t* connection_;
    std::function<void()> changed_;
    std::uint32_t selection_;  ///< the atom whose owner is the tray
    std::uint32_t manager_;
    std::uint32_t window_ = 0;  ///< the owner, 0 for none
};

}  // namespace pellago
