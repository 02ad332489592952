#pragma once

#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace pellago::test {

/// A window of the X server's.
struct XWindow {
    xcb_window_t id;
    std::string program;
    std::string title;
    bool is_viewable;
    bool is_iconic;
    bool is_popup;  ///< the window manager has nothing to do with it
    int width;
    int height;
};

struct ScreenPlace {
    std::int16_t x;
    std::int16_t y;
    friend bool operator==(const ScreenPlace&, const ScreenPlace&) = default;
};

/// All windows of the X server, seen and used from another process than their own.
class XServer final {
public:
    std::vector<XWindow> Windows() const {
        std::vector<XWindow> windows;
        Collect(root_, windows);
        return windows;
    }

    /// Presses and releases a button in a window's upper left corner.
    void Click(xcb_window_t window, xcb_button_t button) {
        xcb_button_press_event_t event{};
        event.detail = button;
        event.root = root_;
        event.event = window;
        event.event_x = event.event_y = 3;
        event.same_screen = 1;
        for (const auto type : {XCB_BUTTON_PRESS, XCB_BUTTON_RELEASE}) {
            event.response_type = static_cast<std::uint8_t>(type);
            event.time = time_ += 10;
            xcb_send_event(connection_.get(), 0, window, XCB_EVENT_MASK_BUTTON_PRESS,
                           reinterpret_cast<const char*>(&event));
        }
        xcb_flush(connection_.get());
    }

    /// Of a window that is there.
    ScreenPlace CenterOf(const XWindow& window) const {
        auto* connection = connection_.get();
        const auto cookie = xcb_translate_coordinates(connection, window.id, root_,
                                                      static_cast<std::int16_t>(window.width / 2),
                                                      static_cast<std::int16_t>(window.height / 2));
        const Owned<xcb_translate_coordinates_reply_t> reply(
            xcb_translate_coordinates_reply(connection, cookie, nullptr));
        return reply ? ScreenPlace{reply->dst_x, reply->dst_y} : ScreenPlace{};
    }

    // The real pointer.
    void MovePointer(ScreenPlace to) const { Fake(XCB_MOTION_NOTIFY, 0, to); }
    void PressButton() const { Fake(XCB_BUTTON_PRESS, XCB_BUTTON_INDEX_1, {}); }
    void ReleaseButton() const { Fake(XCB_BUTTON_RELEASE, XCB_BUTTON_INDEX_1, {}); }

    xcb_atom_t Atom(const std::string& name) const {
        const auto cookie =
            xcb_intern_atom(connection_.get(), 0, static_cast<std::uint16_t>(name.size()), name.c_str());
        const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection_.get(), cookie, nullptr));
        return reply ? reply->atom : 0;
    }

private:
    struct Free {
        void operator()(void* memory) const { std::free(memory); }
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    template <class T>
    using Owned = std::unique_ptr<T, Free>;

    void Fake(std::uint8_t event, std::uint8_t detail, ScreenPlace place) const {
        xcb_test_fake_input(connection_.get(), event, detail, XCB_CURRENT_TIME, root_, place.x, place.y, 0);
        xcb_flush(connection_.get());
    }
    void Collect(xcb_window_t parent, std::vector<XWindow>& windows) const {
        auto* connection = connection_.get();
        const Owned<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(connection, xcb_query_tree(connection, parent), nullptr));
        if (!tree) return;
        for (int at = 0; at < xcb_query_tree_children_length(tree.get()); ++at) {
            const auto window = xcb_query_tree_children(tree.get())[at];
            Describe(window, windows);
            Collect(window, windows);
        }
    }
    void Describe(xcb_window_t window, std::vector<XWindow>& windows) const {
        auto* connection = connection_.get();
        const Owned<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
            connection, xcb_get_window_attributes(connection, window), nullptr));
        const Owned<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
        if (!attributes || !geometry) return;
        const auto state = Property(window, Atom("WM_STATE"));
        windows.push_back(
            {window, Property(window, XCB_ATOM_WM_CLASS).c_str(), Property(window, XCB_ATOM_WM_NAME),
             attributes->map_state == XCB_MAP_STATE_VIEWABLE, !state.empty() && state[0] == kIconic,
             attributes->override_redirect != 0, geometry->width, geometry->height});
    }
    std::string Property(xcb_window_t window, xcb_atom_t name) const {
        const auto cookie =
            xcb_get_property(connection_.get(), 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, 64);
        const Owned<xcb_get_property_reply_t> reply(
            xcb_get_property_reply(connection_.get(), cookie, nullptr));
        if (!reply) return {};
        return {static_cast<const char*>(xcb_get_property_value(reply.get())),
                static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
    }
    static constexpr char kIconic = 3;
    Owned<xcb_connection_t> connection_{xcb_connect(nullptr, nullptr)};
    xcb_window_t root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data->root;
    xcb_timestamp_t time_ = 1000;
};

}  // namespace pellago::test
