#pragma once

#include <QMenu>
#include <QPointF>
#include <cstdint>
#include <functional>
#include <optional>

#include "desktop/form.h"

class QDropEvent;

namespace pellago {

/// The small, partly transparent window that links are dropped on; each link goes to a new object of class
/// kLinkHandlerClass. The person moves the window by its body and sets it up in its context menu; its owner
/// opens and closes it.
class frmRSSLinkCatcher final : public Form {
public:
    /// `close` is the owner's routine that closes the catcher. Called from the message loop.
    explicit frmRSSLinkCatcher(std::function<void()> close);

private:
    void Form_Load() override;
    void Form_QueryUnload(bool& cancel, UnloadMode mode) override;
    void Form_Unload() override;

    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

    void MakeMenu();
    QAction& Entry(std::int32_t command) const;
    void ShowMenuByKey();
    void Choose(std::int32_t command);
    void Topmost(std::int32_t topmost);
    void Opacity(std::int32_t step);

    std::function<void()> close_;
    QMenu menu_;
    std::optional<QPointF> grab_point_;  ///< while the window is being moved
    std::int32_t opacity_step_;
    std::int32_t topmost_;
};

}  // namespace pellago
