#include "app/catcher/link_handler.h"

#include <map>
#include <utility>

#include "platform/values/run_time_error.h"

namespace pellago {
namespace {

using Factory = std::function<std::unique_ptr<LinkHandler>()>;

std::map<std::string, Factory>& Classes() {
    static std::map<std::string, Factory> classes;
    return classes;
}

}  // namespace

void RegisterLinkHandler(const std::string& class_id, std::function<std::unique_ptr<LinkHandler>()> make) {
    if (make)
        Classes()[class_id] = std::move(make);
    else
        Classes().erase(class_id);
}

std::unique_ptr<LinkHandler> CreateLinkHandler(const std::string& class_id) {
    const auto known = Classes().find(class_id);
    if (known == Classes().end())
        throw RunTimeError(kCannotCreateObject, "CreateLinkHandler", "There is no class " + class_id);
    return known->second();
}

}  // namespace pellago
