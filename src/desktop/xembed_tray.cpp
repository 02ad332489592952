#include "xembed_tray.h"

#include <xcb/xcb.h>

#include <QCoreApplication>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

namespace pellago {
namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using Reply = std::unique_ptr<T, Free>;

std::uint32_t Atom(xcb_connection_t* connection, const std::string& name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : 0;
}

std::string SelectionName() {
    int screen = 0;
    char* host = nullptr;
    int display = 0;
    if (xcb_parse_display(nullptr, &host, &display, &screen) != 0) std::free(host);
    return "_NET_SYSTEM_TRAY_S" + std::to_string(screen);
}

}  // namespace

XembedTray::XembedTray(xcb_connection_t* connection, std::function<void()> changed)
    : connection_(connection),
      changed_(std::move(changed)),
      selection_(Atom(connection, SelectionName())),
      manager_(Atom(connection, "MANAGER")) {
    Locate();
    QCoreApplication::instance()->installNativeEventFilter(this);
}

XembedTray::~XembedTray() = default;

// A new tray sends a message to the root window, which Qt listens to. The end of a tray is an event of the
// tray's own window, which Locate asks for, with the same mask that Qt has for it on this connection.
bool XembedTray::nativeEventFilter(const QByteArray& type, void* message, qintptr*) {
    if (type != "xcb_generic_event_t") return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    const auto kind = event->response_type & ~0x80U;
    if (kind == XCB_CLIENT_MESSAGE) {
        const auto* news = static_cast<const xcb_client_message_event_t*>(message);
        if (news->type != manager_ || news->data.data32[1] != selection_) return false;
        Locate();
        changed_();
    } else if (kind == XCB_DESTROY_NOTIFY) {
        if (static_cast<const xcb_destroy_notify_event_t*>(message)->window != window_) return false;
        Locate();
        changed_();
    }
    return false;
}

void XembedTray::Locate() {
    const auto cookie = xcb_get_selection_owner(connection_, selection_);
    const Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection_, cookie, nullptr));
    window_ = reply ? reply->owner : 0;
    if (window_ == 0) return;
    const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    const auto asked = xcb_change_window_attributes_checked(connection_, window_, XCB_CW_EVENT_MASK, &mask);
    // The tray may have gone meanwhile.
    if (const Reply<xcb_generic_error_t> error(xcb_request_check(connection_, asked)); error) window_ = 0;
}

}  // namespace pellago
