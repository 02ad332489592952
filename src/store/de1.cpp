#include "store/de1.h"

#include <filesystem>

#include "commands.h"
#include "infra/guarded_routine.h"
#include "infra/process_objects.h"
#include "infra/setting_names.h"
#include "platform/files/program.h"
#include "store/database_file.h"
#include "store/schema.h"

namespace pellago {
namespace {

constexpr const char* kErrorSource = "DE1";

bool Exists(const std::string& path) {
    std::error_code unknown;
    return std::filesystem::exists(path, unknown) || unknown;
}

// Another program of ours may make the file after this one has looked for it.
void MakeUnlessThere(const std::string& path) {
    if (Exists(path)) return;
    try {
        CreateDatabase(path);
    } catch (const RunTimeError&) {
        if (!Exists(path)) throw;
    }
}

[[noreturn]] void RaiseNoSuchItem(const std::string& what) {
    throw RunTimeError(data_error::kNoSuchItem, kErrorSource, "The data environment has no " + what + ".");
}

}  // namespace

DE1::DE1() : DE1(DefaultDatabase()) {
    connection_->OnWillConnect([this] {
        CnnRSS_WillConnect();
        const auto& database = connection_->DataSource();
        if (database == DefaultDatabase()) return MakeUnlessThere(database);
        if (!Exists(database))
            throw RunTimeError(
                data_error::kFileMissing, kErrorSource,
                "The database \"" + database + "\", which setting \"RSSDS\" names, does not exist.");
    });
}

DE1::DE1(const std::string& database) : connection_(std::make_shared<Connection>()) {
    connection_->DataSource(database);
    connection_->OnConnected([connection = connection_.get()] { UpgradeSchema(*connection); });
    for (const auto& command : DeclaredCommands())
        commands_[command.name] =
            std::make_shared<Command>(connection_, command.name, command.text, command.parameters);
    for (const auto& command : DeclaredCommands())
        if (command.has_recordset && command.parameters.empty())
            recordsets_[std::string("rs") + command.name] =
                std::make_shared<Recordset>(connection_, command.text);
}

// The connection may outlive the environment, whose routine it must not call then.
DE1::~DE1() { connection_->OnWillConnect({}); }

std::shared_ptr<Command> DE1::Commands(const std::string& name) const {
    const auto command = commands_.find(name);
    if (command == commands_.end()) RaiseNoSuchItem("command \"" + name + "\"");
    return command->second;
}

std::shared_ptr<Recordset> DE1::Recordsets(const std::string& name) const {
    const auto recordset = recordsets_.find(name);
    if (recordset == recordsets_.end()) RaiseNoSuchItem("recordset \"" + name + "\"");
    return recordset->second;
}

void DE1::CnnRSS_WillConnect() {
    Guarded("Corvane.DE1.CnnRSS_WillConnect", [&](Statements& run) {
        run([&] { connection_->DataSource(ChosenDatabase()); });
        run([&] {
            gAppSettings->SaveSetting(kSettingsSection, setting_name::kDatabase,
                                      Variant(connection_->DataSource()));
        });
    });
}

std::string ChosenDatabase() {
    return CStr(
        gAppSettings->GetSetting(kSettingsSection, setting_name::kDatabase, Variant(DefaultDatabase())));
}

std::string DefaultDatabase() { return JoinPath(ProgramFolder(), "RSS.MDB"); }

}  // namespace pellago
