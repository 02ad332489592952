#pragma once

#include "app/catcher/link_handler.h"

namespace pellago {

class DE1;

/// Makes the address that a link is a channel that the next run fetches; nothing where it is no address on
/// the web (WebAddress). A channel that is there is switched on, with its provider; a new one belongs to the
/// provider named after the address's host, made when there is none, and until a download brings its title it
/// is called by its address.
class ChannelSubscriber final : public LinkHandler {
public:
    explicit ChannelSubscriber(const DE1& database) : database_(database) {}

    /// Throws RunTimeError when the database cannot be written; then nothing is added.
    void HandleLink(const Variant& link) override;

private:
    const DE1& database_;
};

}  // namespace pellago
