#include "infra/app_settings.h"

#include <utility>

#include "infra/component_errors.h"
#include "infra/guarded_routine.h"
#include "platform/registry/registry.h"

namespace pellago {
namespace {

constexpr ComponentErrors kErrors("CAppSettings", 17021, 17028);

// Errors of DeleteSetting, GetAllKeys and SaveSetting name their source in the singular.
constexpr const char* kOperationSource = "CAppSetting";

constexpr std::int32_t kInvalidAppName = 17021;
constexpr std::int32_t kInvalidCompanyName = 17022;
constexpr std::int32_t kInvalidMainBranch = 17023;
constexpr std::int32_t kInvalidRootKey = 17024;
constexpr std::int32_t kFailedSaving = 17025;
constexpr std::int32_t kFailedDeleting = 17026;
constexpr std::int32_t kFailedGettingAllKeys = 17027;

RegistryValue ToRegistry(const Variant& setting) {
    if (const auto* boolean = std::get_if<bool>(&setting))
        return RegistryValue::FromNumber(*boolean ? -1 : 0);
    return RegistryValue::FromText(CStr(setting));
}

}  // namespace

void CAppSettings::AppName(const std::string& name) {
    if (name.empty()) kErrors.Raise(kInvalidAppName, "Invalid AppName value");
    app_name_ = name;
}

void CAppSettings::CompanyName(const std::string& name) {
    if (name.empty()) kErrors.Raise(kInvalidCompanyName, "Invalid CompanyName value");
    company_name_ = name;
}

void CAppSettings::MainBranch(const std::string& branch) {
    if (branch.empty()) kErrors.Raise(kInvalidMainBranch, "Invalid MainBranch value");
    main_branch_ = branch;
}

void CAppSettings::RootKey(std::int32_t root) {
    if (root != HKEY_CURRENT_USER && root != HKEY_LOCAL_MACHINE)
        kErrors.Raise(kInvalidRootKey, "Invalid root key value");
    root_key_ = root;
}

void CAppSettings::Init(const std::string& company_name, const std::string& app_name) {
    CompanyName(company_name);
    AppName(app_name);
}

void CAppSettings::DeleteSetting(const std::string& section, const std::string& key_name) {
    kErrors.Run([&] {
        const auto result = key_name.empty() ? RegDeleteKey(root_key_, KeyPath(section))
                                             : RegDeleteValue(root_key_, KeyPath(section), key_name);
        if (result != RegResult::kSuccess)
            kErrors.Raise(kFailedDeleting, "Failed deleting the application setting", kOperationSource);
    });
}

std::vector<std::string> CAppSettings::GetAllKeys(const std::string& section) const {
    return kErrors.Run([&] {
        auto names = RegEnumValues(root_key_, KeyPath(section));
        if (!names)
            kErrors.Raise(kFailedGettingAllKeys, "Failed getting all the application keys", kOperationSource);
        return *std::move(names);
    });
}

Variant CAppSettings::GetSetting(const std::string& section, const std::string& key_name,
                                 const Variant& default_value) const {
    Variant result = default_value;
    Try([&] {
        const auto value = RegQueryValueEx(root_key_, KeyPath(section), key_name);
        if (!value) return;
        if (auto text = value->Text())
            result = *std::move(text);
        else if (const auto number = value->Number())
            result = *number;
    });
    return result;
}

void CAppSettings::SaveSetting(const std::string& section, const std::string& key_name,
                               const Variant& setting) {
    kErrors.Run([&] {
        const auto path = KeyPath(section);
        auto result = RegCreateKeyEx(root_key_, path);
        if (result == RegResult::kSuccess)
            result = RegSetValueEx(root_key_, path, key_name, ToRegistry(setting));
        if (result != RegResult::kSuccess)
            kErrors.Raise(kFailedSaving, "Failed saving the application setting", kOperationSource);
    });
}

std::string CAppSettings::KeyPath(const std::string& section) const {
    return main_branch_ + "\\" + company_name_ + "\\" + app_name_ + "\\" + section;
}

}  // namespace pellago
