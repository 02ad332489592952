#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "cli/exit_status.h"
#include "platform/loop/message_loop.h"
#include "platform/values/addresses.h"
#include "platform/values/text.h"
#include "platform/xml/xml_document.h"
#include "subscription_list.h"

namespace pellago::cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* kNoHost = "Local files";

std::string Attribute(const XmlNode& outline, const std::string& name) {
    const auto attribute = outline.SelectSingleNode("@" + name);
    return attribute ? attribute->Text() : std::string();
}

std::string FirstAttribute(const XmlNode& outline, std::initializer_list<const char*> names) {
    for (const char* name : names)
        if (auto text = Attribute(outline, name); !text.empty()) return text;
    return {};
}

std::string AddressOf(const XmlNode& outline) {
    auto address = FirstAttribute(outline, {"xmlUrl", "xmlurl", "xmlURL"});
    if (address.empty() && EqualNoCase(Attribute(outline, "type"), "rss"))
        address = FirstAttribute(outline, {"url", "URL"});
    return address;
}

std::string NameOf(const XmlNode& outline) { return FirstAttribute(outline, {"title", "text"}); }

std::string PageOf(const XmlNode& outline) { return FirstAttribute(outline, {"htmlUrl", "htmlurl"}); }

bool IsActive(const XmlNode& outline) { return !EqualNoCase(Attribute(outline, "isComment"), "true"); }

class ListReader final {
public:
    explicit ListReader(fs::path folder) : folder_(std::move(folder)) {}

    /// `provider` is what feeds directly below `parent` belong to; where it has no name each belongs to its
    /// host.
    void ReadOutlines(const XmlNode& parent, const ListedProvider& provider) {
        for (const auto& outline : parent.SelectNodes("outline")) {
            if (const auto address = AddressOf(outline); !address.empty()) {
                ReadFeed(outline, address, provider);
                ReadOutlines(outline, provider);
            } else {
                ReadFolder(outline, provider);
            }
        }
    }

    SubscriptionList Take() { return std::move(list_); }

private:
    void ReadFolder(const XmlNode& outline, const ListedProvider& around) {
        ListedProvider folder{NameOf(outline), PageOf(outline), IsActive(outline), {}};
        const auto type = Attribute(outline, "type");
        const bool is_feed_without_address =
            !type.empty() && !EqualNoCase(type, "folder") && !outline.SelectSingleNode("outline");
        if (folder.name.empty() || is_feed_without_address) return ReadOutlines(outline, around);
        if (!outline.SelectSingleNode("outline")) ProviderLike(folder);
        ReadOutlines(outline, folder);
    }

    void ReadFeed(const XmlNode& outline, const std::string& address, const ListedProvider& provider) {
        ListedFeed feed{NameOf(outline), FeedAddress(address, folder_), PageOf(outline), IsActive(outline)};
        if (!provider.name.empty()) {
            ProviderLike(provider).feeds.push_back(std::move(feed));
            return;
        }
        auto host = HostOf(feed.address);
        if (host.empty()) host = kNoHost;
        ProviderLike({host, "", true, {}}).feeds.push_back(std::move(feed));
    }

    ListedProvider& ProviderLike(const ListedProvider& provider) {
        const auto [place, is_new] = places_.try_emplace(provider.name, list_.size());
        if (is_new) list_.push_back(provider);
        return list_[place->second];
    }

    fs::path folder_;
    SubscriptionList list_;
    std::map<std::string, std::size_t> places_;
};

void RequireReadableFile(const fs::path& path) {
    std::error_code failure;
    if (!fs::exists(path, failure))
        throw Failure(ExitStatus::kInputMissing, "there is no file " + path.string());
    if (!fs::is_regular_file(path, failure))
        throw Failure(ExitStatus::kInputMissing, path.string() + " is not a file");
}

[[noreturn]] void RejectList(const fs::path& path, const std::string& reason) {
    throw Failure(ExitStatus::kUnreadable, path.string() + " is not a list of subscriptions: " + reason);
}

}  // namespace

SubscriptionList ReadSubscriptionList(const fs::path& path) {
    const auto whole_path = fs::absolute(path);
    RequireReadableFile(whole_path);
    XmlDocument document;
    document.Load(whole_path.string());
    while (document.ReadyState() != ReadyState::kComplete) WaitForEvents();
    const auto root = document.DocumentElement();
    if (!root) RejectList(path, document.ParseError().reason);
    if (root->NodeName() != "opml") RejectList(path, "its root element is <" + root->NodeName() + ">");
    const auto body = root->SelectSingleNode("body");
    if (!body) RejectList(path, "it has no <body>");
    ListReader reader(whole_path.parent_path());
    reader.ReadOutlines(*body, {});
    return reader.Take();
}

}  // namespace pellago::cli
