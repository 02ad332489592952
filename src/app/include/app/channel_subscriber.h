#pragma once

#include "app/link_handler.h"

namespace pellago {

class DE1;

/// Adds the address that a link is as a channel, so that the next run fetches it; nothing where it is one
/// already, or no address on the web (WebAddress). Its provider is the one named after the address's host,
/// made when there is none; until a download brings its title the channel is called by its address.
class ChannelSubscriber final : public LinkHandler {
public:
    explicit ChannelSubscriber(const DE1& database) : database_(database) {}

    /// Throws RunTimeError when the database cannot be written; then nothing is added.
    void HandleLink(const Variant& link) override;

private:
    const DE1& database_;
};

}  // namespace pellago
