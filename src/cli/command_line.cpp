#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <utility>

#include "cli/verbs.h"
#include "platform/files/program.h"

namespace pellago::cli {
namespace {

constexpr const char* kStatusHelp =
    "Exit status: 0 all well, 1 some channels failed, 64 wrong usage, 65 unreadable list or database,\n"
    "66 input missing, 75 the database stayed locked, 77 not writable, 78 database of a newer schema,\n"
    "130 stopped by Ctrl-C.";

/// The arguments of all verbs; each verb takes a few of them.
struct Arguments {
    std::string path, name, home_page, address, key, value;
    std::int32_t owner = 0;
    std::vector<std::int32_t> ids;
    UpdateOptions update;
    ListingOptions listing;
};

// CLI11 alone would also take "0x10", and "010" for eight.
std::string CheckPositive(std::string& text) {
    text.erase(0, std::min(text.find_first_not_of('0'), text.size()));
    std::int32_t number = 0;
    const auto* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec == std::errc() && result.ptr == end && number > 0) return {};
    return "not a whole number from 1 to 2147483647";
}

std::string CheckNotEmpty(std::string& text) {
    return text.find_first_not_of(' ') == std::string::npos ? "it is empty" : std::string();
}

CLI::Validator Positive() { return {CheckPositive, "NUMBER"}; }
CLI::Validator NotEmpty() { return {CheckNotEmpty, ""}; }

class Grammar final {
public:
    explicit Grammar(CommandLine& command_line) : command_line_(command_line) {
        app_.require_subcommand(1);
        app_.fallthrough();
        app_.footer(kStatusHelp);
        app_.get_formatter()->label("SUBCOMMAND", "VERB");
        app_.get_formatter()->label("Subcommands", "Verbs");
        app_.set_version_flag("--version", "pellago " + ProgramVersionText());
        app_.add_option("--database", command_line_.database,
                        "The news database; otherwise the one that setting RSSDS names")
            ->type_name("FILE")
            ->check(NotEmpty());
        app_.add_flag("--errors-to-file", command_line_.errors_to_file,
                      "Log feed dates that cannot be read and errors of a run in ErrorsLog.txt");
        app_.add_flag("--trace", command_line_.trace, "Log every routine in Tracing Log.txt");
        AddDatabaseVerbs();
        AddProviderVerbs();
        AddChannelVerbs();
        AddRunVerbs();
        AddSettingsVerbs();
    }

    CLI::App& App() { return app_; }

    /// What is wrong when the first word that was not understood stands for a verb. CLI11 itself says only
    /// that a verb is missing.
    std::optional<std::string> UnknownVerb() const {
        const auto unknown = app_.remaining(true);
        const auto reached = app_.get_subcommands();
        const bool lacks_verb = reached.empty() || (!reached.front()->get_subcommands({}).empty() &&
                                                    reached.front()->get_subcommands().empty());
        if (unknown.empty() || !lacks_verb) return std::nullopt;
        return (unknown.front().starts_with('-') ? "there is no option " : "there is no verb ") +
               unknown.front();
    }

private:
    template <class Run>
    CLI::App& AddVerb(CLI::App& parent, const char* name, const char* what_it_does, Run run) {
        auto* verb = parent.add_subcommand(name, what_it_does);
        verb->callback([this, run] {
            command_line_.verb = [arguments = arguments_, run](const Context& context) {
                return run(context, arguments);
            };
        });
        return *verb;
    }

    CLI::App& AddGroup(const char* name, const char* what_it_is) {
        auto* group = app_.add_subcommand(name, what_it_is);
        group->require_subcommand(1);
        return *group;
    }

    static CLI::Option* AddText(CLI::App& verb, const char* name, std::string& value, const char* what,
                                const char* type) {
        return verb.add_option(name, value, what)->type_name(type)->check(NotEmpty());
    }

    static CLI::Option* AddId(CLI::App& verb, const char* name, std::optional<std::int32_t>& value,
                              const char* what) {
        return verb.add_option(name, value, what)->transform(Positive())->type_name("ID");
    }

    void AddIds(CLI::App& verb) {
        verb.add_option("ID", arguments_.ids, "As the list shows them")
            ->required()
            ->transform(Positive())
            ->type_name("");
    }

    void AddDatabaseVerbs() {
        AddVerb(app_, "init", "Make an empty database; one that is there is not touched",
                [](const Context& context, const Arguments&) { return InitDatabase(context); });
        auto& import = AddVerb(
            app_, "import", "Add the folders of an OPML file as providers, its feeds as channels",
            [](const Context& context, const Arguments& given) { return ImportList(context, given.path); });
        AddText(import, "LIST", arguments_.path, "The OPML file", "")->required();
        auto& export_verb = AddVerb(
            app_, "export", "Write all providers and channels to an OPML file",
            [](const Context& context, const Arguments& given) { return ExportList(context, given.path); });
        AddText(export_verb, "LIST", arguments_.path, "The OPML file; - for standard output", "")->required();
    }

    void AddProviderVerbs() {
        auto& group = AddGroup("provider", "The news providers");
        AddVerb(group, "list", "Print id, on or off, name and home page of each",
                [](const Context& context, const Arguments&) { return ListProviders(context); });
        auto& add = AddVerb(group, "add", "Add one and print it as the list does",
                            [](const Context& context, const Arguments& given) {
                                return AddProvider(context, given.name, given.home_page);
                            });
        AddText(add, "NAME", arguments_.name, "The first 255 characters count", "")->required();
        AddText(add, "--home-page", arguments_.home_page, "Its home page", "URL");
        AddIds(AddVerb(group, "enable", "Take part in full runs",
                       [](const Context& context, const Arguments& given) {
                           return SetProvidersActive(context, given.ids, true);
                       }));
        AddIds(AddVerb(group, "disable", "Take no part in full runs",
                       [](const Context& context, const Arguments& given) {
                           return SetProvidersActive(context, given.ids, false);
                       }));
    }

    void AddChannelVerbs() {
        auto& group = AddGroup("channel", "The channels: one for each feed");
        auto& list = AddVerb(group, "list", "Print id, on or off, provider's id, name and address of each",
                             [](const Context& context, const Arguments& given) {
                                 return ListChannels(context, given.update.provider);
                             });
        AddId(list, "--provider", arguments_.update.provider, "Only this provider's");
        auto& add = AddVerb(group, "add", "Add one and print it as the list does",
                            [](const Context& context, const Arguments& given) {
                                return AddChannel(context, given.address, given.owner, given.name);
                            });
        AddText(add, "ADDRESS", arguments_.address, "The feed's http, https or file address, or its path", "")
            ->required();
        add.add_option("--provider", arguments_.owner, "The provider it belongs to")
            ->required()
            ->transform(Positive())
            ->type_name("ID");
        AddText(add, "--name", arguments_.name, "Until the first update, which takes the feed's own", "NAME");
        AddIds(AddVerb(group, "enable", "Take part in full runs",
                       [](const Context& context, const Arguments& given) {
                           return SetChannelsActive(context, given.ids, true);
                       }));
        AddIds(AddVerb(group, "disable", "Take no part in full runs",
                       [](const Context& context, const Arguments& given) {
                           return SetChannelsActive(context, given.ids, false);
                       }));
    }

    void AddRunVerbs() {
        auto& update = AddVerb(app_, "update", "Fetch the feeds and store what is new",
                               [](const Context& context, const Arguments& given) {
                                   return UpdateChannels(context, given.update);
                               });
        auto* provider =
            AddId(update, "--provider", arguments_.update.provider, "Only this provider's channels");
        AddId(update, "--channel", arguments_.update.channel, "Only this channel")->excludes(provider);
        update.add_flag("--json", arguments_.update.json, "Print one JSON document at the end");
        update.add_flag("--quiet", arguments_.update.quiet, "Print errors only");

        auto& news = AddVerb(
            app_, "news", "Print date, channel, title and link of stored news, newest first",
            [](const Context& context, const Arguments& given) { return ListNews(context, given.listing); });
        AddId(news, "--channel", arguments_.listing.channel, "Only this channel's");
        AddListingOptions(news);
        auto& log = AddVerb(
            app_, "log", "Print time, session, channel, outcome and new items, newest first",
            [](const Context& context, const Arguments& given) { return ListLog(context, given.listing); });
        AddListingOptions(log);
    }

    void AddListingOptions(CLI::App& verb) {
        verb.add_option("--limit", arguments_.listing.limit, "At most so many")
            ->transform(Positive())
            ->type_name("NUMBER")
            ->capture_default_str();
        verb.add_flag("--json", arguments_.listing.json, "Print one JSON document");
    }

    void AddSettingsVerbs() {
        auto& group = AddGroup("settings", "The settings in section \"Settings\"");
        AddVerb(group, "list", "Print all names and values",
                [](const Context& context, const Arguments&) { return ListSettings(context); });
        auto& get = AddVerb(
            group, "get", "Print a value",
            [](const Context& context, const Arguments& given) { return GetSetting(context, given.key); });
        AddText(get, "KEY", arguments_.key, "Case does not count", "")->required();
        auto& set = AddVerb(group, "set", "Keep a value; True and False as Booleans, all else as text",
                            [](const Context& context, const Arguments& given) {
                                return SetSetting(context, given.key, given.value);
                            });
        AddText(set, "KEY", arguments_.key, "Case does not count", "")->required();
        set.add_option("VALUE", arguments_.value, "May be empty")->required()->type_name("");
    }

    CommandLine& command_line_;
    Arguments arguments_;
    CLI::App app_{"Fills a local news database from RSS, RDF and Atom feeds.", "pellago"};
};

}  // namespace

std::variant<CommandLine, ExitStatus> ParseCommandLine(std::vector<std::string> arguments,
                                                       const Context& context) {
    CommandLine command_line;
    Grammar grammar(command_line);
    // CLI11 takes arguments from the back.
    std::reverse(arguments.begin(), arguments.end());
    try {
        grammar.App().parse(std::move(arguments));
    } catch (const CLI::Success& help_or_version) {
        grammar.App().exit(help_or_version, context.out, context.err);
        return ExitStatus::kAllWell;
    } catch (const CLI::ParseError& error) {
        Complain(context, grammar.UnknownVerb().value_or(error.what()));
        context.err << "Run pellago --help, or --help after a verb.\n";
        return ExitStatus::kUsage;
    }
    return command_line;
}

}  // namespace pellago::cli
