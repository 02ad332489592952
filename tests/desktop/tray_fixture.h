#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <string_view>
#include <vector>

#include "desktop/icons.h"
#include "desktop/notify_icon.h"
#include "platform/windows/window_messages.h"
#include "support/wait_until.h"

namespace pellago::test {

/// An icon in the desktop's own notification area, and the codes that its window hears.
struct ATray : testing::Test {
    ATray() {
        window = CreateWindowHandle([this](std::int32_t, std::int32_t, std::int32_t, std::int32_t code) {
            codes.push_back(code);
            if (on_code) on_code(code);
            return 0;
        });
    }
    ~ATray() override {
        Shell_NotifyIconW(NIM_DELETE, data);
        OnNotificationAreaChange(nullptr);
        DestroyWindowHandle(window);
        PumpFor(std::chrono::milliseconds(20));
    }

    bool Add(std::u16string_view tip) {
        data = {};
        data.cbSize = sizeof(data);
        data.hWnd = window;
        data.uID = 9;
        data.uFlags = NIF_MESSAGE | NIF_ICON | NIF_TIP;
        data.uCallbackMessage = 0x200;
        data.hIcon = LoadIcon("pellago");
        std::copy(tip.begin(), tip.end(), data.szTip);
        return Shell_NotifyIconW(NIM_ADD, data);
    }

    void Balloon(std::u16string_view title, std::u16string_view text, std::uint32_t kind = NIIF_INFO) {
        auto balloon = data;
        balloon.uFlags = NIF_INFO;
        std::copy(title.begin(), title.end(), balloon.szInfoTitle);
        std::copy(text.begin(), text.end(), balloon.szInfo);
        balloon.dwInfoFlags = kind;
        balloon.uTimeout = 5000;
        Shell_NotifyIconW(NIM_MODIFY, balloon);
    }

    bool Delete() const { return Shell_NotifyIconW(NIM_DELETE, data); }

    /// Waits for the codes and forgets them.
    testing::AssertionResult Hears(const std::vector<std::int32_t>& expected) {
        const bool heard =
            WaitUntil([&] { return codes.size() >= expected.size(); }, std::chrono::seconds(10));
        const auto got = std::exchange(codes, {});
        if (heard && got == expected) return testing::AssertionSuccess();
        return testing::AssertionFailure() << testing::PrintToString(got);
    }

    NOTIFYICONDATAW data{};
    std::int32_t window = 0;
    std::vector<std::int32_t> codes;
    std::function<void(std::int32_t)> on_code;
};

}  // namespace pellago::test
