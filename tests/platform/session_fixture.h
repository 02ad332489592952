#pragma once

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/http_session.h"
#include "platform/xml_document.h"
#include "support/http_server.h"
#include "support/support.h"
#include "support/wait_until.h"

namespace pellago::test {

/// A server, a cache folder, and documents of sessions.
class ASession : public testing::Test {
protected:
    /// The document's text, or "!" and the reason of its failure.
    std::string Load(HttpSession& session, const std::string& address) {
        XmlDocument document(&session);
        document.Load(address);
        if (!WaitUntil([&] { return document.ReadyState() == 4; })) return "did not end";
        const auto& error = document.ParseError();
        return error.error_code == 0 ? document.DocumentElement()->Text() : "!" + error.reason;
    }
    /// The same in a session of its own, as the next run would.
    std::string Load(const std::string& path) {
        HttpSession session({});
        return Load(session, server.Url(path));
    }

    /// The files that are kept of addresses.
    std::vector<std::filesystem::path> Kept() const {
        std::vector<std::filesystem::path> files;
        const std::filesystem::path cache = folder / "pellago";
        if (std::filesystem::exists(cache))
            for (const auto& entry : std::filesystem::directory_iterator(cache))
                files.push_back(entry.path());
        return files;
    }

    TempDir folder;
    EnvVar cache_home{"XDG_CACHE_HOME", folder.Path().string()};
    HttpServer server;
};

}  // namespace pellago::test
