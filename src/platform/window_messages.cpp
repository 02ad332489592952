#include "platform/window_messages.h"

#include <exception>
#include <map>
#include <memory>
#include <utility>

#include "platform/run_time_error.h"

namespace pellago {
namespace {

constexpr std::int32_t kWindows = 511;

/// The windows of this process. A procedure may destroy its window, or be replaced, while it runs.
std::map<std::int32_t, std::shared_ptr<const WindowProcedure>>& Table() {
    static std::map<std::int32_t, std::shared_ptr<const WindowProcedure>> table;
    return table;
}

}  // namespace

std::int32_t CreateWindowHandle(WindowProcedure procedure) {
    static std::int32_t last = 0;
    auto& table = Table();
    if (table.size() >= kWindows) throw RunTimeError(error_number::kInternalError, "", "Too many windows");
    do last = last % kWindows + 1;
    while (table.contains(last));
    table[last] = std::make_shared<const WindowProcedure>(std::move(procedure));
    return last;
}

bool DestroyWindowHandle(std::int32_t hwnd) { return Table().erase(hwnd) > 0; }

WindowProcedure SetWindowProcedure(std::int32_t hwnd, WindowProcedure procedure) {
    const auto found = Table().find(hwnd);
    if (found == Table().end()) return nullptr;
    const auto before = found->second;
    found->second = std::make_shared<const WindowProcedure>(std::move(procedure));
    return *before;
}

std::int32_t SendMessage(std::int32_t hwnd, std::int32_t uMsg, std::int32_t wParam, std::int32_t lParam) {
    const auto found = Table().find(hwnd);
    if (found == Table().end()) return 0;
    const auto procedure = found->second;
    try {
        return (*procedure)(hwnd, uMsg, wParam, lParam);
    } catch (const std::exception&) {
        return 0;
    }
}

}  // namespace pellago
