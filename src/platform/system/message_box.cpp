#include "platform/system/message_box.h"

#include <array>
#include <cstddef>
#include <iostream>
#include <utility>

#include "platform/values/replaceable.h"
#include "platform/values/terminal_text.h"

namespace pellago {
namespace {

MessageBoxAnswer FirstButton(MessageBoxButtons buttons) {
    static constexpr std::array<MessageBoxAnswer, 6> kFirst = {
        MessageBoxAnswer::kOk,  MessageBoxAnswer::kOk,  MessageBoxAnswer::kAbort,
        MessageBoxAnswer::kYes, MessageBoxAnswer::kYes, MessageBoxAnswer::kRetry};
    return kFirst.at(static_cast<std::size_t>(buttons));
}

Replaceable message_box(PrintMessageBox);

}  // namespace

MessageBoxAnswer ShowMessageBox(const MessageBoxRequest& request) { return message_box(request); }

MessageBoxAnswer PrintMessageBox(const MessageBoxRequest& request) {
    std::cerr << TerminalText(request.caption) << ": " << TerminalText(request.text) << '\n' << std::flush;
    return FirstButton(request.buttons);
}

void UseMessageBox(std::function<MessageBoxAnswer(const MessageBoxRequest&)> show) {
    message_box.Replace(std::move(show));
}

}  // namespace pellago
