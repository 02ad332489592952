#pragma once

#include <QAction>
#include <QMenu>
#include <QPointer>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "desktop/notify_icon.h"
#include "platform/loop/message_loop.h"
#include "platform/windows/window_messages.h"

namespace pellago::test {

/// Stands in for the desktop's notification area as long as it lives, and takes and refuses what that does.
class FakeNotificationShell final : public NotificationShell {
public:
    struct Call {
        std::uint32_t message;
        NotificationRecord record;
    };
    /// An icon as it is to be seen now.
    struct Icon {
        NotificationRecord record;
        QPointer<QMenu> menu;
    };

    FakeNotificationShell() { UseNotificationShell(this); }
    ~FakeNotificationShell() override { UseNotificationShell(nullptr); }
    FakeNotificationShell(const FakeNotificationShell&) = delete;
    FakeNotificationShell& operator=(const FakeNotificationShell&) = delete;

    /// Every call, also those that were refused.
    const std::vector<Call>& Calls() const { return calls_; }
    std::vector<std::uint32_t> Messages() const {
        std::vector<std::uint32_t> messages;
        for (const auto& call : calls_) messages.push_back(call.message);
        return messages;
    }
    void ForgetCalls() { calls_.clear(); }

    std::size_t IconCount() const { return icons_.size(); }
    /// Null when there is none.
    const Icon* FirstIcon() const { return icons_.empty() ? nullptr : &icons_.begin()->second; }

    /// Tells the first icon's window.
    void Send(std::int32_t code) const {
        const auto icon = icons_.begin()->second.record;
        SendMessage(icon.hwnd, icon.callback_message, icon.id, code);
    }
    /// What the first icon's menu shows: "--", or a caption with "*" behind the default, "!" a disabled and
    /// "+" a checked item.
    std::vector<std::string> Menu() const {
        const QPointer<QMenu> menu = icons_.begin()->second.menu;
        std::vector<std::string> items;
        for (const auto* item : menu ? menu->actions() : QList<QAction*>()) {
            if (!item->isVisible()) continue;
            auto text = (item->isSeparator() ? "--" : "") + item->text().toStdString();
            if (item == menu->defaultAction()) text += "*";
            if (!item->isEnabled()) text += "!";
            if (item->isChecked()) text += "+";
            items.push_back(text);
        }
        return items;
    }
    /// Chooses what the first icon's menu shows by this caption; false where that cannot be chosen.
    bool Choose(const std::string& caption) const {
        const QPointer<QMenu> menu = icons_.begin()->second.menu;
        for (auto* item : menu ? menu->actions() : QList<QAction*>()) {
            if (item->text().toStdString() != caption || !item->isVisible() || !item->isEnabled()) continue;
            item->trigger();
            DoEvents();
            return true;
        }
        return false;
    }

    /// A panel with a place for icons comes or goes.
    void ChangeArea(bool available) {
        available_ = available;
        NotificationAreaChanged();
    }

    /// Called first thing for each call, and may throw.
    std::function<void(const Call&)> before_call;

    bool Notify(std::uint32_t message, const NotificationRecord& record) override {
        if (before_call) before_call({message, record});
        calls_.push_back({message, record});
        const std::pair key(record.hwnd, record.id);
        if (icons_.contains(key) == (message == NIM_ADD)) return false;
        if (message == NIM_DELETE) return icons_.erase(key) == 1;
        auto& shown = icons_[key].record;
        if (message == NIM_ADD) shown = record;
        if (record.flags & NIF_ICON) shown.icon = record.icon;
        if (record.flags & NIF_TIP) shown.tip = record.tip;
        return true;
    }
    bool SetMenu(std::int32_t hwnd, std::int32_t id, QMenu* menu) override {
        const auto found = icons_.find({hwnd, id});
        if (found == icons_.end()) return false;
        found->second.menu = menu;
        return true;
    }
    bool AreaAvailable() override { return available_; }

private:
    std::vector<Call> calls_;
    std::map<std::pair<std::int32_t, std::int32_t>, Icon> icons_;
    bool available_ = true;
};

}  // namespace pellago::test
