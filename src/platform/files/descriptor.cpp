#include "platform/files/descriptor.h"

#include <pthread.h>

#include <utility>

namespace pellago {

constinit UnsharedDescriptor* UnsharedDescriptor::first = nullptr;

UnsharedDescriptor::UnsharedDescriptor(int descriptor) : next_(first), descriptor_(descriptor) {
    [[maybe_unused]] static const int registered = pthread_atfork(nullptr, nullptr, CloseAll);
    if (first) first->before_ = this;
    first = this;
}

UnsharedDescriptor::~UnsharedDescriptor() {
    Close();
    (before_ ? before_->next_ : first) = next_;
    if (next_) next_->before_ = before_;
}

void UnsharedDescriptor::Close() {
    if (IsOpen()) close(std::exchange(descriptor_, -1));
}

void UnsharedDescriptor::CloseAll() {
    for (auto* each = first; each; each = each->next_) each->Close();
}

}  // namespace pellago
