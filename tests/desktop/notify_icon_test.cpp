#include "desktop/notify_icon.h"

#include <gmock/gmock.h>

#include <QMenu>

#include "desktop/icons.h"
#include "support/wait_until.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;

/// Keeps what it was sent.
struct StandInShell final : NotificationShell {
    StandInShell() { UseNotificationShell(this); }
    ~StandInShell() override { UseNotificationShell(nullptr); }

    bool Notify(std::uint32_t message, const NotificationRecord& record) override {
        messages.push_back(message);
        last = record;
        return answer;
    }
    bool SetMenu(std::int32_t, std::int32_t, QMenu* given) override {
        menu = given;
        return answer;
    }
    bool AreaAvailable() override { return answer; }

    bool answer = true;
    std::vector<std::uint32_t> messages;
    NotificationRecord last;
    QMenu* menu = nullptr;
};

template <class Record, class Text>
Record Filled(const Text& tip) {
    Record record{};
    record.cbSize = sizeof(record);
    record.hWnd = 7;
    record.uID = 3;
    record.uFlags = NIF_MESSAGE | NIF_ICON | NIF_TIP | NIF_INFO;
    record.uCallbackMessage = 0x200;
    record.hIcon = 5;
    std::copy(tip.begin(), tip.end(), record.szTip);
    record.szInfo[0] = 'i';
    record.szInfoTitle[0] = 't';
    record.uTimeout = 5000;
    record.dwInfoFlags = NIIF_WARNING;
    return record;
}

TEST(NotifyIcon, SendsBothFormsAsOne) {
    StandInShell shell;
    auto wide = Filled<NOTIFYICONDATAW>(std::u16string_view(u"Überblick"));
    auto narrow = Filled<NOTIFYICONDATAA>(std::string_view("Überblick"));
    const auto check = [&](const char* form) {
        const auto& last = shell.last;
        EXPECT_EQ(last.tip + last.info + last.info_title, "Überblickit") << form;
        EXPECT_EQ(last.hwnd * 10 + last.id, 73) << form;
        EXPECT_EQ(last.callback_message, 0x200) << form;
        EXPECT_EQ(last.icon, 5) << form;
        EXPECT_EQ(last.timeout_or_version, 5000U) << form;
        EXPECT_EQ(last.info_flags, NIIF_WARNING) << form;
    };
    EXPECT_TRUE(Shell_NotifyIconW(NIM_ADD, wide));
    check("wide");
    EXPECT_TRUE(Shell_NotifyIconA(NIM_MODIFY, narrow));
    check("8-bit");
    shell.answer = false;
    EXPECT_FALSE(Shell_NotifyIconW(NIM_DELETE, wide));
    EXPECT_FALSE(NotificationAreaAvailable());
    EXPECT_EQ(shell.messages, (std::vector<std::uint32_t>{NIM_ADD, NIM_MODIFY, NIM_DELETE}));
    QMenu menu;
    SetNotifyIconMenu(7, 3, &menu);
    EXPECT_EQ(shell.menu, &menu);
}

// Fields without a NUL end with the field, and a record that is said to be short is not read beyond its end.
TEST(NotifyIcon, ReadsNoMoreThanTheSizeSays) {
    StandInShell shell;
    auto wide = Filled<NOTIFYICONDATAW>(std::u16string(128, u'w'));
    Shell_NotifyIconW(NIM_ADD, wide);
    EXPECT_EQ(shell.last.tip, std::string(128, 'w'));
    wide.cbSize = kOldNotifyIconSizeW;
    Shell_NotifyIconW(NIM_MODIFY, wide);
    EXPECT_EQ(shell.last.tip, std::string(64, 'w'));
    EXPECT_EQ(shell.last.flags, NIF_MESSAGE | NIF_ICON | NIF_TIP);
    EXPECT_EQ(shell.last.info + shell.last.info_title, "");

    // The cut goes through a character of two bytes, or of two units.
    auto narrow = Filled<NOTIFYICONDATAA>(std::string(63, 'n') + "ü");
    narrow.cbSize = kOldNotifyIconSizeA;
    Shell_NotifyIconA(NIM_MODIFY, narrow);
    EXPECT_EQ(shell.last.tip, std::string(63, 'n'));
    Shell_NotifyIconW(NIM_MODIFY, Filled<NOTIFYICONDATAW>(std::u16string(127, u'w') + u'\xD83D'));
    EXPECT_EQ(shell.last.tip, std::string(127, 'w'));

    shell.messages.clear();
    for (const std::uint32_t size : {0U, 88U, 151U, 488U, 937U}) {
        wide.cbSize = size;
        EXPECT_FALSE(Shell_NotifyIconW(NIM_MODIFY, wide)) << size;
    }
    EXPECT_TRUE(shell.messages.empty());
}

TEST(NotifyIcon, AnswersAsTheClassicShellAlsoWithoutATray) {
    testing::internal::CaptureStderr();
    auto data = Filled<NOTIFYICONDATAW>(std::u16string_view(u"tip"));
    data.hIcon = LoadIcon("pellago");
    auto other = data;
    other.uID = 4;
    QMenu menu;
    EXPECT_FALSE(Shell_NotifyIconW(NIM_MODIFY, data));
    EXPECT_FALSE(Shell_NotifyIconW(NIM_DELETE, data));
    EXPECT_FALSE(SetNotifyIconMenu(7, 3, &menu));
    EXPECT_TRUE(Shell_NotifyIconW(NIM_ADD, data));
    EXPECT_FALSE(Shell_NotifyIconW(NIM_ADD, data));
    EXPECT_TRUE(Shell_NotifyIconW(NIM_ADD, other));
    EXPECT_TRUE(SetNotifyIconMenu(7, 3, &menu));
    for (const std::uint32_t version : {3U, 4U}) {
        data.uVersion = version;
        EXPECT_EQ(Shell_NotifyIconW(NIM_SETVERSION, data), version == 3) << version;
    }
    EXPECT_FALSE(Shell_NotifyIconW(3, data));
    test::PumpFor(50ms);
    EXPECT_TRUE(Shell_NotifyIconW(NIM_MODIFY, data));
    EXPECT_TRUE(Shell_NotifyIconW(NIM_DELETE, data));
    EXPECT_FALSE(Shell_NotifyIconW(NIM_DELETE, data));
    EXPECT_TRUE(Shell_NotifyIconW(NIM_DELETE, other));
    EXPECT_FALSE(NotificationAreaAvailable());
    test::PumpFor(50ms);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace pellago
