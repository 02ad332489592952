#include "infra/form_restore.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "infra/app_settings.h"
#include "infra/component_errors.h"
#include "infra/guarded_routine.h"
#include "platform/values/text.h"
#include "platform/values/variant.h"

namespace pellago {
namespace {

constexpr ComponentErrors kErrors("CFormRestore", 17561, 17564);
constexpr std::int32_t kNotInitialized = 17561;
constexpr std::int32_t kInvalidAppSettings = 17562;
constexpr std::int32_t kInvalidKeyName = 17563;

constexpr const char* kWindowState = "WindowState";
constexpr std::int32_t kNothingStored = -1;

void CheckSettings(const CAppSettings* settings) {
    if (!settings) kErrors.Raise(kInvalidAppSettings, "Invalid AppSettings object");
}

void CheckInitialized(const CAppSettings* settings) {
    if (!settings) kErrors.Raise(kNotInitialized, "Object not properly initialized");
}

bool IsMinimized(std::int32_t command) {
    return command == show_command::kShowMinimized || command == show_command::kMinimize ||
           command == show_command::kShowMinNoActive;
}

bool IsSizable(const PlacedForm& form) {
    return form.Border() == BorderStyle::kSizable || form.Border() == BorderStyle::kSizableToolWindow;
}

/// Text that is no number counts as 0.
std::int32_t ToNumber(const Variant& value) {
    return Try([&] { return CLng(value); });
}

/// Half of a number, halves to even.
std::int64_t Half(std::int64_t number) { return LongFromDouble(static_cast<double>(number) / 2); }

/// Stored numbers may be anything; a sum of two must not wrap.
std::int32_t Coordinate(std::int64_t number) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(
        number, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

/// Gives a form that is not visible yet the state it had, and returns the show command to apply.
std::int32_t GiveWindowState(PlacedForm& form, std::int32_t command) {
    switch (command) {
        case show_command::kShowNa:
        case show_command::kShowDefault:
            return show_command::kHide;
        case show_command::kShowMaximized:
            form.WindowState(FormWindowState::kMaximized);
            return command;
        default:
            form.WindowState(IsMinimized(command) ? FormWindowState::kMinimized : FormWindowState::kNormal);
            return command;
    }
}

}  // namespace

void CFormRestore::AppSettings(CAppSettings* settings) {
    CheckSettings(settings);
    settings_ = settings;
}

void CFormRestore::KeyName(const std::string& name) {
    if (name.empty()) kErrors.Raise(kInvalidKeyName, "Invalid KeyName value");
    key_name_ = name;
}

void CFormRestore::Init(CAppSettings* settings, bool centered_by_default) {
    AppSettings(settings);
    CenteredByDefault(centered_by_default);
}

void CFormRestore::GetPosition(PlacedForm& form) const {
    kErrors.Run([&] {
        CheckInitialized(settings_);
        const auto stored = settings_->GetSetting(SectionOf(form), kWindowState, kNothingStored);
        const auto command = ToNumber(stored);
        if (command >= 0)
            Restore(form, command);
        else if (centered_by_default_)
            Center(form);
    });
}

void CFormRestore::SavePosition(const PlacedForm& form) const {
    kErrors.Run([&] {
        CheckInitialized(settings_);
        const auto placement = form.Placement();
        if (!placement) return;
        const auto section = SectionOf(form);
        for (const auto& [name, number] : {std::pair{kWindowState, placement->show_command},
                                           {"MinPosX", placement->minimized.x},
                                           {"MinPosY", placement->minimized.y},
                                           {"MaxPosX", placement->maximized.x},
                                           {"MaxPosY", placement->maximized.y},
                                           {"NormalPosLeft", placement->normal.left},
                                           {"NormalPosTop", placement->normal.top},
                                           {"NormalPosRight", placement->normal.right},
                                           {"NormalPosBottom", placement->normal.bottom}})
            settings_->SaveSetting(section, name, number);
    });
}

void CFormRestore::Restore(PlacedForm& form, std::int32_t stored_command) const {
    WindowPlacement placement;
    placement.show_command = stored_command;
    if (never_start_minimized_ && IsMinimized(stored_command))
        placement.show_command = show_command::kShowNormal;
    if (!form.Visible()) placement.show_command = GiveWindowState(form, placement.show_command);
    placement.minimized = {Number(form, "MinPosX"), Number(form, "MinPosY")};
    placement.maximized = {Number(form, "MaxPosX"), Number(form, "MaxPosY")};
    auto& normal = placement.normal;
    normal.left = Number(form, "NormalPosLeft");
    normal.top = Number(form, "NormalPosTop");
    if (IsSizable(form)) {
        normal.right = Number(form, "NormalPosRight");
        normal.bottom = Number(form, "NormalPosBottom");
    } else if (const auto current = form.Placement()) {
        normal.right = Coordinate(normal.left + current->normal.Width());
        normal.bottom = Coordinate(normal.top + current->normal.Height());
    }
    form.Placement(placement);
}

void CFormRestore::Center(PlacedForm& form) {
    auto placement = form.Placement();
    if (!placement) return;
    if (placement->show_command == show_command::kShowNormal) {
        const auto desktop = form.Desktop();
        const auto width = placement->normal.Width();
        const auto height = placement->normal.Height();
        auto& normal = placement->normal;
        normal.left = Coordinate(desktop.left + Half(desktop.Width() - width));
        normal.top = Coordinate(desktop.top + Half(desktop.Height() - height));
        normal.right = Coordinate(normal.left + width);
        normal.bottom = Coordinate(normal.top + height);
    }
    placement->show_command = form.Visible() ? show_command::kShow : show_command::kHide;
    form.Placement(*placement);
}

std::int32_t CFormRestore::Number(const PlacedForm& form, const std::string& value_name) const {
    return ToNumber(settings_->GetSetting(SectionOf(form), value_name, 0));
}

std::string CFormRestore::SectionOf(const PlacedForm& form) const { return key_name_ + "\\" + form.Name(); }

}  // namespace pellago
