#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/registry/registry.h"
#include "platform/values/variant.h"

namespace pellago {

/// Named values in the registry, below one application's branch: root, main branch, company and application
/// name. Errors: RunTimeError 0x80040000 + 17021 … 17028.
class CAppSettings final {
public:
    const std::string& AppName() const { return app_name_; }
    void AppName(const std::string& name);
    const std::string& CompanyName() const { return company_name_; }
    void CompanyName(const std::string& name);
    const std::string& MainBranch() const { return main_branch_; }
    void MainBranch(const std::string& branch);
    std::int32_t RootKey() const { return root_key_; }
    void RootKey(std::int32_t root);

    void Init(const std::string& company_name, const std::string& app_name);

    /// Deletes the value `key_name`, or, with an empty `key_name`, the section, which must have no
    /// subsections.
    void DeleteSetting(const std::string& section, const std::string& key_name);
    /// The names of all values of a section, in the registry's order.
    std::vector<std::string> GetAllKeys(const std::string& section) const;
    /// A text or a 32-bit integer; `default_value` when there is no such value or it has another type.
    Variant GetSetting(const std::string& section, const std::string& key_name,
                       const Variant& default_value) const;
    /// Booleans are kept as 32-bit integers (-1 and 0), all others as text.
    void SaveSetting(const std::string& section, const std::string& key_name, const Variant& setting);

private:
    std::string KeyPath(const std::string& section) const;

    std::int32_t root_key_ = HKEY_CURRENT_USER;
    std::string main_branch_ = "Software";
    std::string company_name_ = "MyCompany";
    std::string app_name_ = "MyApplication";
};

}  // namespace pellago
