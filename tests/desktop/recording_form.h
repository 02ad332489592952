#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "desktop/form.h"

namespace pellago::test {

/// A form that tells what happens to it.
class RecordingForm final : public Form {
public:
    explicit RecordingForm(BorderStyle border = BorderStyle::kSizable) : Form("frmRecording", border) {
        resize(300, 200);
    }

    std::vector<std::string> Told() { return std::exchange(told_, {}); }
    std::function<void()> on_load;
    std::function<void()> on_resize;
    std::function<void(bool& cancel)> on_query;
    std::function<void()> on_unload;
    std::function<void()> on_activate;
    bool tell_resize = false;

private:
    void Form_Load() override {
        told_.emplace_back("load");
        if (on_load) on_load();
    }
    void Form_Activate() override {
        told_.emplace_back("activate");
        if (on_activate) on_activate();
    }
    void Form_Resize() override {
        if (tell_resize)
            told_.emplace_back(WindowState() == FormWindowState::kMinimized ? "minimized" : "resize");
        if (on_resize) on_resize();
    }
    void Form_QueryUnload(bool& cancel, UnloadMode mode) override {
        told_.push_back("query " + std::to_string(static_cast<int>(mode)));
        if (on_query) on_query(cancel);
    }
    void Form_Unload() override {
        told_.emplace_back("unload");
        if (on_unload) on_unload();
    }
    std::int32_t WindowProcedure(std::int32_t hwnd, std::int32_t message, std::int32_t w_param,
                                 std::int32_t l_param) override {
        return hwnd == hWnd() ? message + w_param + l_param : -1;
    }

    std::vector<std::string> told_;
};

}  // namespace pellago::test
