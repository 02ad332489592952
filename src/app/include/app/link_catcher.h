#pragma once

#include <functional>

#include "desktop/form.h"

namespace pellago {

/// The small window that stays above the others for links to be dropped on. Its owner opens and closes it.
class frmRSSLinkCatcher final : public Form {
public:
    /// `close` is what closes the catcher: its owner's way, which may destroy it.
    explicit frmRSSLinkCatcher(std::function<void()> close);

private:
    void Form_Load() override;
    void Form_QueryUnload(bool& Cancel, UnloadMode mode) override;
    void Form_Unload() override;

    std::function<void()> close_;
};

}  // namespace pellago
