#include <QAction>
#include <QCursor>
#include <QMenu>
#include <algorithm>

#include "app/tray/sys_tray.h"
#include "desktop/event_handler.h"
#include "infra/guarded_routine.h"
#include "platform/values/text.h"

namespace pellago {

void frmSysTray::AddItem() {
    auto* item = menu_->addAction(QString());
    item->setVisible(false);
    item->setObjectName(QStringLiteral("mnuSysTray%1").arg(items_.size()));
    connect(item, &QAction::triggered, this, [this, item] { mnuSysTray_Click(item); });
    items_.push_back(item);
}

std::int32_t frmSysTray::AddMenuItem(const std::string& caption, const std::string& key, bool is_default) {
    std::int32_t index = 0;
    Guarded("Corvane.frmSysTray.AddMenuItem", [&](Statements& run) {
        if (first_item_used_) run([&] { AddItem(); });
        run([&] { first_item_used_ = true; });
        run([&] { index = static_cast<std::int32_t>(items_.size()) - 1; });
        auto* item = Item(index);
        run([&] { item->setData(QString::fromStdString(key)); });
        // The text of a separator would be shown as the title of a section.
        run([&] { item->setSeparator(caption == "-"); });
        if (!item->isSeparator())
            run([&] { item->setText(QString::fromStdString(Replace(caption, "&", "&&"))); });
        run([&] { item->setVisible(true); });
        if (is_default) run([&] { DefaultMenuIndex(index); });
    });
    return index;
}

bool frmSysTray::ValidIndex(std::int32_t index) const {
    return index >= 0 && index < static_cast<std::int32_t>(items_.size());
}

void frmSysTray::EnableMenuItem(std::int32_t index, bool enabled) {
    Guarded("Corvane.frmSysTray.EnableMenuItem", [&](Statements& run) {
        if (ValidIndex(index)) run([&] { Item(index)->setEnabled(enabled); });
    });
}

void frmSysTray::CheckMenuItem(std::int32_t index, bool checked) {
    Guarded("Corvane.frmSysTray.CheckMenuItem", [&](Statements& run) {
        if (!ValidIndex(index)) return;
        run([&] { Item(index)->setCheckable(checked); });
        run([&] { Item(index)->setChecked(checked); });
    });
}

bool frmSysTray::IsMenuItemChecked(std::int32_t index) const {
    return ValidIndex(index) && Item(index)->isChecked();
}

void frmSysTray::RemoveMenuItem(std::int32_t index) {
    Guarded("Corvane.frmSysTray.RemoveMenuItem", [&](Statements& run) {
        if (!ValidIndex(index) || items_.size() == 1) return;
        run([&] {
            auto* item = Item(index);
            items_.erase(items_.begin() + index);
            delete item;
        });
        run([&] {
            for (std::size_t at = 0; at < items_.size(); ++at)
                items_[at]->setObjectName(QStringLiteral("mnuSysTray%1").arg(at));
        });
        run([&] { DefaultMenuIndex(default_index_); });
    });
}

void frmSysTray::DefaultMenuIndex(std::int32_t index) {
    Guarded("Corvane.frmSysTray.DefaultMenuIndex", [&](Statements& run) {
        run([&] { default_index_ = ValidIndex(index) ? index : 0; });
        run([&] { menu_->setDefaultAction(Item(default_index_)); });
    });
}

void frmSysTray::ShowMenu() {
    Guarded("Corvane.frmSysTray.ShowMenu", [&](Statements& run) {
        // Not exec, whose loop would last as long as the menu is open.
        run([&] { menu_->popup(QCursor::pos()); });
    });
}

void frmSysTray::mnuSysTray_Click(QAction* item) {
    // Qt changes the mark of a checkable item by itself; here only the program changes it.
    if (item->isCheckable()) item->setChecked(true);
    const auto found = std::find(items_.begin(), items_.end(), item);
    const auto tell = [this, index = static_cast<std::int32_t>(found - items_.begin()),
                       key = item->data().toString().toStdString()] {
        if (IsLoaded()) RunHandler([&] { events_.MenuClick(index, key); });
    };
    // Not from inside the menu: the owner may start a long run, or destroy the menu and the form.
    QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
}

}  // namespace pellago
