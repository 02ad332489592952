#pragma once

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "platform/data/connection.h"
#include "support/documents.h"
#include "support/http_server.h"
#include "support/support.h"
#include "support/wait_until.h"

namespace pellago::test {

/// A server, a cache folder, and documents of sessions.
class ASession : public testing::Test {
protected:
    /// The outcome (test::Load) in a session of its own, as the next run would have it.
    std::string LoadAnew(const std::string& path) {
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
    std::string File() const { return folder / "pellago/http-2.sqlite"; }

    TempDir folder;
    EnvVar cache_home{"XDG_CACHE_HOME", folder.Path().string()};
    HttpServer server;
};

}  // namespace pellago::test
