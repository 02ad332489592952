#include "platform/system/message_box.h"

#include <array>
#include <cstddef>
#include <iostream>
#include <utility>

#include "platform/values/terminal_text.h"

namespace pellago {
namespace {

std::function<MessageBoxAnswer(const MessageBoxRequest&)>& Shower() {
    static std::function<MessageBoxAnswer(const MessageBoxRequest&)> shower;
    return shower;
}

MessageBoxAnswer FirstButton(MessageBoxButtons buttons) {
    static constexpr std::array<MessageBoxAnswer, 6> kFirst = {
        MessageBoxAnswer::kOk,  MessageBoxAnswer::kOk,  MessageBoxAnswer::kAbort,
        MessageBoxAnswer::kYes, MessageBoxAnswer::kYes, MessageBoxAnswer::kRetry};
    return kFirst.at(static_cast<std::size_t>(buttons));
}

}  // namespace

MessageBoxAnswer ShowMessageBox(const MessageBoxRequest& request) {
    return Shower() ? Shower()(request) : PrintMessageBox(request);
}

MessageBoxAnswer PrintMessageBox(const MessageBoxRequest& request) {
    std::cerr << TerminalText(request.caption) << ": " << TerminalText(request.text) << '\n' << std::flush;
    return FirstButton(request.buttons);
}

void UseMessageBox(std::function<MessageBoxAnswer(const MessageBoxRequest&)> show) {
    Shower() = std::move(show);
}

}  // namespace pellago
