#pragma once

#include <gmock/gmock.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "cli/program.h"
#include "infra/process_objects.h"
#include "platform/data/connection.h"
#include "support/support.h"

namespace pellago::test {

/// Folders of its own for the program's files and settings, and the program run in this process.
class ACommandLine : public testing::Test {
protected:
    struct Outcome {
        int status;
        std::string out;
        std::string err;
    };

    ACommandLine() { CreateProcessObjects(); }

    Outcome Run(const std::vector<std::string>& arguments) const {
        std::ostringstream out;
        std::ostringstream err;
        const auto status = cli::RunProgram(arguments, {out, err, false, {}});
        return {static_cast<int>(status), out.str(), err.str()};
    }

    /// Writes `text` beside the database and returns its path.
    std::string File(const std::string& name, const std::string& text) const {
        WriteFile(folder_ / name, text);
        return folder_ / name;
    }

    std::string Database() const { return folder_ / "home/RSS.MDB"; }

    /// First value of the first row, "" for Null.
    std::string Ask(const std::string& sql) const {
        Connection connection;
        connection.DataSource(Database());
        const auto value = connection.Scalar(sql);
        return IsNull(value) ? "" : CStr(value);
    }

    void Change(const std::string& sql) const {
        Connection connection;
        connection.DataSource(Database());
        connection.Execute(sql);
    }

    TempDir folder_;

private:
    EnvVar home_{"PELLAGO_HOME", folder_ / "home"};
    EnvVar config_{"XDG_CONFIG_HOME", folder_ / "config"};
    EnvVar cache_{"XDG_CACHE_HOME", folder_ / "cache"};
};

inline std::string Opml(const std::string& outlines) {
    return "<opml version=\"2.0\"><head/><body>" + outlines + "</body></opml>";
}

/// A feed of `count` items whose links begin with `link`.
inline std::string Feed(const std::string& title, const std::string& link, int count) {
    std::string text = "<rss version=\"2.0\"><channel><title>" + title + "</title>";
    for (int item = 1; item <= count; ++item)
        text += "<item><title>" + title + " " + std::to_string(item) + "</title><link>" + link +
                std::to_string(item) + "</link></item>";
    return text + "</channel></rss>";
}

}  // namespace pellago::test
