#include "cli/verbs.h"
#include "database.h"
#include "infra/process_objects.h"
#include "infra/setting_names.h"
#include "platform/values/text.h"

namespace pellago::cli {
namespace {

constexpr std::int32_t kNoSuchSection = error_number::kObjectErrorBase + 17027;

// The section is not there before its first setting is saved.
std::vector<std::string> AllKeys() {
    try {
        return gAppSettings->GetAllKeys(kSettingsSection);
    } catch (const RunTimeError& error) {
        if (error.Number() != kNoSuchSection) throw;
        return {};
    }
}

}  // namespace

ExitStatus ListSettings(const Context& context) {
    for (const auto& key : AllKeys())
        PrintRow(context, {key, TextOf(gAppSettings->GetSetting(kSettingsSection, key, Null()))});
    return ExitStatus::kAllWell;
}

ExitStatus GetSetting(const Context& context, const std::string& key) {
    const auto value = gAppSettings->GetSetting(kSettingsSection, key, Null());
    if (IsNull(value)) throw Failure(ExitStatus::kInputMissing, "there is no setting " + key);
    PrintRow(context, {CStr(value)});
    return ExitStatus::kAllWell;
}

ExitStatus SetSetting(const Context&, const std::string& key, const std::string& value) {
    const bool is_boolean = EqualNoCase(value, "True") || EqualNoCase(value, "False");
    gAppSettings->SaveSetting(kSettingsSection, key,
                              is_boolean ? Variant(BooleanFromText(value)) : Variant(value));
    return ExitStatus::kAllWell;
}

}  // namespace pellago::cli
