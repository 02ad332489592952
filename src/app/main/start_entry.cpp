#include "app/main/start_entry.h"

#include <utility>

#include "infra/guarded_routine.h"
#include "infra/process_objects.h"
#include "platform/files/program.h"
#include "platform/registry/autostart.h"
#include "platform/registry/registry.h"

namespace pellago {
namespace {

constexpr const char* kRunKey = R"(Software\Microsoft\Windows\CurrentVersion\Run)";
constexpr std::int32_t kUnsupportedType = 1001;

std::string WithoutLeadingBlanks(std::string text) { return text.erase(0, text.find_first_not_of(' ')); }

RegistryValue RegistryValueOf(const Variant& value) {
    if (const auto* text = std::get_if<std::string>(&value)) return RegistryValue::FromText(*text);
    if (const auto* number = std::get_if<std::int32_t>(&value)) return RegistryValue::FromNumber(*number);
    if (const auto* bytes = std::get_if<Bytes>(&value)) return {REG_BINARY, *bytes};
    throw RunTimeError(kUnsupportedType, "", "Unsupported value type");
}

bool IsKey(std::int32_t root, const std::string& subkey) { return RegEnumValues(root, subkey).has_value(); }

/// Makes the key where the user, who is new here, has none.
void AddToKey(const std::string& key, const std::string& name, const std::string& command) {
    RegCreateKeyEx(HKEY_CURRENT_USER, key);
    SetRegistryValue(HKEY_CURRENT_USER, key, name, command);
}

/// Copies the Run key's value to the autostart folder, also where the key could not be changed.
void MirrorToAutostart(const std::string& name) {
    const auto value = RegQueryValueEx(HKEY_CURRENT_USER, kRunKey, name);
    if (const auto command = value ? value->Text() : std::nullopt)
        AddToAutostart(name, *command);
    else
        RemoveFromAutostart(name);
}

}  // namespace

void RunAtStartUp(StartEntryMode mode, std::string name, std::string command) {
    Guarded("Corvane.modAddtoStartUp.RunAtStartUp", [&](Statements& run) {
        run([&] {
            name = WithoutLeadingBlanks(std::move(name));
            if (name.empty()) name = gAppTitle;
        });
        run([&] {
            command = WithoutLeadingBlanks(std::move(command));
            if (command.empty()) command = ProgramPath();
        });
        run([&] {
            switch (mode) {
                case StartEntryMode::kDelete:
                    DeleteRegistryValue(HKEY_CURRENT_USER, kRunKey, name);
                    return MirrorToAutostart(name);
                case StartEntryMode::kOnce:
                    return AddToKey(std::string(kRunKey) + "Once", name, command);
                default:
                    AddToKey(kRunKey, name, command);
                    return MirrorToAutostart(name);
            }
        });
    });
}

bool SetRegistryValue(std::int32_t root, const std::string& subkey, const std::string& value_name,
                      const Variant& value) {
    bool written = false;
    Guarded("Corvane.modAddtoStartUp.SetRegistryValue", [&](Statements& run) {
        run([&] {
            written = IsKey(root, subkey) &&
                      RegSetValueEx(root, subkey, value_name, RegistryValueOf(value)) == RegResult::kSuccess;
        });
    });
    return written;
}

bool DeleteRegistryValue(std::int32_t root, const std::string& subkey, const std::string& value_name) {
    bool deleted = false;
    Guarded("Corvane.modAddtoStartUp.DeleteRegistryValue", [&](Statements& run) {
        run([&] { deleted = RegDeleteValue(root, subkey, value_name) == RegResult::kSuccess; });
    });
    return deleted;
}

}  // namespace pellago
