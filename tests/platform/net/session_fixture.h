#pragma once

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "platform/data/connection.h"
#include "platform/net/http_session.h"
#include "platform/xml/xml_document.h"
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

    /// Runs a statement on what is kept.
    Variant Kept(const std::string& sql) const {
        Connection kept;
        kept.DataSource(File());
        return kept.Scalar(sql);
    }
    int KeptAnswers() const {
        return std::filesystem::exists(File()) ? CLng(Kept("SELECT count(*) FROM Answers")) : 0;
    }
    std::string File() const { return folder / "pellago/http-1.sqlite"; }

    TempDir folder;
    EnvVar cache_home{"XDG_CACHE_HOME", folder.Path().string()};
    HttpServer server;
};

}  // namespace pellago::test
