#include "cli/verbs.h"
#include "database.h"
#include "store/all_or_nothing.h"
#include "store/subscriptions.h"

namespace pellago::cli {
namespace {

void PrintProvider(const Context& context, Recordset& row) {
    PrintRow(context, {TextOf(row.Value("ID")), OnOrOff(row.Value("Active")),
                       TextOf(row.Value("Provider"), "<no name>"), TextOf(row.Value("HomePage"))});
}

}  // namespace

ExitStatus ListProviders(const Context& context) {
    const auto database = OpenDatabase(context);
    const auto rows = database->Recordsets("rsAllProviders");
    rows->Open();
    rows->Sort("ID");
    for (; context.out && !rows->Eof(); rows->MoveNext()) PrintProvider(context, *rows);
    return ExitStatus::kAllWell;
}

ExitStatus AddProvider(const Context& context, const std::string& name, const std::string& home_page) {
    const auto database = OpenDatabase(context);
    Subscriptions subscriptions(*database);
    AllOrNothing writes(*database->CnnRSS());
    auto id = subscriptions.FindProvider(name);
    if (id)
        Complain(context, "there is a provider " + name + " already; it is left alone");
    else
        id = subscriptions.AddProvider({name, home_page, true, {}});
    writes.Keep();
    const auto rows = OpenedAt(*database, "rsAllProviders", *id);
    PrintProvider(context, *rows);
    return ExitStatus::kAllWell;
}

ExitStatus SetProvidersActive(const Context& context, const std::vector<std::int32_t>& ids, bool active) {
    return SetActive(context, "rsAllProviders", "provider", ids, active);
}

}  // namespace pellago::cli
