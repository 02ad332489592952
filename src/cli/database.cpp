#include "database.h"

#include <filesystem>

#include "cli/plain_text.h"
#include "cli/verbs.h"
#include "store/database_file.h"

namespace pellago::cli {

std::unique_ptr<DE1> OpenDatabase(const Context& context) {
    auto database = context.database ? std::make_unique<DE1>(*context.database) : std::make_unique<DE1>();
    database->CnnRSS()->Open();
    return database;
}

std::string TextOf(const Variant& value, std::string_view otherwise) {
    auto text = IsNull(value) ? std::string() : CStr(value);
    return text.empty() ? std::string(otherwise) : text;
}

std::string OnOrOff(const Variant& active) { return !IsNull(active) && CBool(active) ? "on" : "off"; }

void PrintRow(const Context& context, const std::vector<std::string>& fields) {
    const char* separator = "";
    for (const auto& field : fields) {
        context.out << separator << PlainLine(field);
        separator = "\t";
    }
    context.out << '\n';
}

std::shared_ptr<Recordset> OpenedAt(const DE1& database, const std::string& recordset, std::int32_t id) {
    auto rows = database.Recordsets(recordset);
    if (!rows->IsOpen()) rows->Open();
    rows->Filter("ID = " + std::to_string(id));
    return rows;
}

ExitStatus SetActive(const Context& context, const std::string& recordset, const std::string& kind,
                     const std::vector<std::int32_t>& ids, bool active) {
    const auto database = OpenDatabase(context);
    auto status = ExitStatus::kAllWell;
    database->CnnRSS()->BeginWrites();
    for (const auto id : ids) {
        const auto rows = OpenedAt(*database, recordset, id);
        if (rows->Eof()) {
            Complain(context, "there is no " + kind + " " + std::to_string(id));
            status = ExitStatus::kInputMissing;
            continue;
        }
        rows->Value("Active", active);
        rows->Update();
    }
    database->CnnRSS()->CommitWrites();
    return status;
}

void RequireRow(Connection& connection, const std::string& table, const std::string& kind, std::int32_t id) {
    if (IsNull(connection.Scalar("SELECT ID FROM " + table + " WHERE ID = " + std::to_string(id))))
        throw Failure(ExitStatus::kInputMissing, "there is no " + kind + " " + std::to_string(id));
}

ExitStatus InitDatabase(const Context& context) {
    const auto path = context.database ? *context.database : ChosenDatabase();
    std::error_code unknown;
    if (std::filesystem::exists(std::filesystem::symlink_status(path, unknown)))
        throw Failure(ExitStatus::kNotWritable, path + " is there already and is not touched");
    CreateDatabase(path);
    context.out << PlainLine(path) << '\n';
    return ExitStatus::kAllWell;
}

}  // namespace pellago::cli
