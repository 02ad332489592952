#include "listing.h"

namespace pellago::cli {
namespace {

bool IsNoDate(const Variant& value) { return IsNull(value) || CDate(value) == DateTime(); }

}  // namespace

std::string DateText(const Variant& value) { return IsNoDate(value) ? "-" : ColumnText(CDate(value)); }

Json JsonDate(const Variant& value) { return IsNoDate(value) ? Json() : Json(ColumnText(CDate(value))); }
Json JsonNumber(const Variant& value) { return IsNull(value) ? Json() : Json(CLng(value)); }
Json JsonString(const Variant& value) { return IsNull(value) ? Json() : Json(CStr(value)); }

ExitStatus PrintRows(const Context& context, Recordset& rows,
                     void (*print)(const Context& context, Recordset& row)) {
    for (; context.out && !rows.Eof(); rows.MoveNext()) print(context, rows);
    return ExitStatus::kAllWell;
}

ExitStatus PrintDocument(const Context& context, const char* name, Recordset& rows,
                         Json (*json_of)(Recordset& row)) {
    auto listed = Json::array();
    for (; !rows.Eof(); rows.MoveNext()) listed.push_back(json_of(rows));
    context.out << JsonText({{"schema", 1}, {name, std::move(listed)}});
    return ExitStatus::kAllWell;
}

}  // namespace pellago::cli
