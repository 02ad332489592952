#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/values/variant.h"

namespace pellago {

/// A component that does something with links, known to those who use it by its class identity alone.
class LinkHandler {
public:
    LinkHandler() = default;
    virtual ~LinkHandler() = default;
    LinkHandler(const LinkHandler&) = delete;
    LinkHandler& operator=(const LinkHandler&) = delete;

    /// `link` is a text as it was dropped. May throw.
    virtual void HandleLink(const Variant& link) = 0;
};

/// The class that dropped links are handed to.
inline constexpr const char* kLinkHandlerClass = "Corvane.LinkHandler";

/// Number of the error "nobody has registered the class of the object that is to be made".
inline constexpr std::int32_t kCannotCreateObject = 429;

/// From now on objects of that class are made by `make`; an empty function takes the class back.
void RegisterLinkHandler(const std::string& class_id, std::function<std::unique_ptr<LinkHandler>()> make);

/// A new object of that class. Throws RunTimeError kCannotCreateObject.
std::unique_ptr<LinkHandler> CreateLinkHandler(const std::string& class_id);

}  // namespace pellago
