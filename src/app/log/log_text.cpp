#include "log_text.h"

#include <QDate>
#include <QLocale>

#include "platform/values/text.h"

namespace pellago {
namespace {

constexpr const char* kNoName = "<no name>";

QString Number(std::size_t number) { return QLocale().toString(static_cast<qulonglong>(number)); }

/// A day of the groups by time; a null one for what is no date.
QDate Day(const Variant& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text ? QDate::fromString(QString::fromStdString(*text), Qt::ISODate) : QDate();
}

/// A value as filters write it.
std::string Literal(const Variant& value) {
    if (IsNull(value)) return "Null";
    if (const auto* text = std::get_if<std::string>(&value)) return "'" + Replace(*text, "'", "''") + "'";
    return CStr(value);
}

}  // namespace

const std::vector<LogColumn>& LogColumns() {
    static const std::vector<LogColumn> columns = {{"Time", "EventTime"},       {"Channel", "Channel"},
                                                   {"Message", "Message"},      {"New", "NewItems"},
                                                   {"Updated", "UpdatedItems"}, {"Error", "Error"}};
    return columns;
}

QString LogCellText(int column, const Variant& value) {
    if (IsNull(value)) return column == 1 ? QLatin1String(kNoName) : QString();
    const auto* date = std::get_if<DateTime>(&value);
    return QString::fromStdString(date ? DefaultText(*date) : CStr(value));
}

std::string LogGroupFilter(int column, const Variant& value) {
    const std::string field =
        std::string("[") + LogColumns()[static_cast<std::size_t>(column)].data_field + "]";
    const auto day = Day(value);
    if (column != 0 || !day.isValid()) return field + " = " + Literal(value);
    const auto next = day.addDays(1).toString(Qt::ISODate).toStdString();
    return field + " >= " + Literal(value) + " AND " + field + " < '" + next + "'";
}

QString LogGroupCaption(int column, const Variant& value, std::size_t count) {
    const auto day = Day(value);
    const auto text = column == 0 && day.isValid() ? QLocale().toString(day, QLocale::ShortFormat)
                      : column == kLogErrorColumn && !IsNull(value)
                          ? QLatin1String(CBool(value) ? "True" : "False")
                          : LogCellText(column, value);
    return QLatin1String(LogColumns()[static_cast<std::size_t>(column)].caption) + QLatin1String(": ") +
           text.simplified() + QLatin1String(" (") + Number(count) + QLatin1Char(')');
}

QString CountedText(std::size_t number, const char* one, const char* many) {
    return Number(number) + QLatin1Char(' ') + QLatin1String(number == 1 ? one : many);
}

}  // namespace pellago
