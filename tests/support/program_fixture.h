#pragma once

#include <sys/prctl.h>

#include <algorithm>
#include <initializer_list>
#include <optional>

#include "app/main/main_window.h"
#include "platform/windows/window_messages.h"
#include "support/a_run.h"
#include "support/child.h"
#include "support/wait_until.h"

namespace pellago::test {

/// The real program, in processes of its own, on the run's database and server.
class AProgram : public ARun {
protected:
    AProgram() {
        std::filesystem::create_directory(folder_ / "run");
        std::filesystem::permissions(folder_ / "run", std::filesystem::perms::owner_all);
        // The lowest priority, which is the default, starves in a busy machine.
        Setting("ProcessPriority", "3");
        Setting("AutoUpdate", "0");
    }

    static void Setting(const std::string& name, const std::string& value) {
        gAppSettings->SaveSetting("Settings", name, Variant(value));
    }

    /// What it prints goes to the files "out" and "err" in the test's folder.
    Child Start(std::vector<std::string> arguments = {}) const {
        return Child([&] {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            Redirect(STDOUT_FILENO, "out");
            Redirect(STDERR_FILENO, "err");
            arguments.insert(arguments.begin(), PELLAGOD);
            std::vector<char*> argv;
            for (auto& argument : arguments) argv.push_back(argument.data());
            argv.push_back(nullptr);
            execv(PELLAGOD, argv.data());
            _exit(127);
        });
    }

    /// Nothing for one that does not end in time.
    static std::optional<int> StatusOf(Child& child,
                                       std::chrono::milliseconds limit = std::chrono::seconds(20)) {
        return WaitUntil([&] { return child.HasEnded(); }, limit) ? std::optional(child.Wait())
                                                                  : std::nullopt;
    }
    std::optional<int> StatusOfStart(const std::vector<std::string>& arguments = {}) const {
        auto child = Start(arguments);
        return StatusOf(child);
    }

    /// Of the instance that has started, when that has stored it.
    static std::int32_t Window(std::int32_t before = 0) {
        std::int32_t window = before;
        EXPECT_TRUE(WaitUntil([&] {
            window = CLng(gAppSettings->GetSetting("Settings", "hWnd", Variant(before)));
            return window != before;
        }));
        return window;
    }

    /// Provider 1 has channel 1, provider 2 channels 2 and 3, whose feeds are /1, /2 and /3.
    void SubscribeToThree() {
        for (const auto* path : {"/1", "/2", "/3"}) server.Answer(path, {.body = Feed("")});
        AddProvider(1, "'p1'");
        AddProvider(2, "'p2'");
        AddChannel(1, 1, server.Url("/1"));
        AddChannel(2, 2, server.Url("/2"));
        AddChannel(3, 2, server.Url("/3"));
    }
    /// A feed whose server does not answer.
    void SubscribeToAStalledFeed() {
        server.Answer("/stalled", {.stall = true});
        Subscribe({"/stalled"});
    }
    bool IsAsked(const std::string& path, std::size_t requests = 1) const {
        return WaitUntil([&] { return server.Requests(path) == requests; });
    }
    std::vector<std::string> OpenSessions() {
        return Column("SELECT ID FROM DownloadSessions WHERE EndTime IS NULL");
    }

    EnvVar runtime_{"XDG_RUNTIME_DIR", folder_ / "run"};
    EnvVar connection_{"PELLAGO_CONNECTION", "lan"};

private:
    void Redirect(int descriptor, const char* file) const {
        dup2(open((folder_ / file).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), descriptor);
    }
};

}  // namespace pellago::test
