#pragma once

#include <string>

#include "platform/windows/window_placement.h"

namespace pellago {

class CAppSettings;

/// Keeps the placement of forms in the settings: nine values in a section of the form's own, below the
/// section `KeyName`. Errors: RunTimeError 0x80040000 + 17561 … 17564.
class CFormRestore final {
public:
    /// Null until one was given; not owned.
    CAppSettings* AppSettings() const { return settings_; }
    void AppSettings(CAppSettings* settings);
    /// Whether a form of which nothing is stored goes to the middle of the screen.
    bool CenteredByDefault() const { return centered_by_default_; }
    void CenteredByDefault(bool centered) { centered_by_default_ = centered; }
    const std::string& KeyName() const { return key_name_; }
    void KeyName(const std::string& name);
    /// Whether a form that was left minimised comes back in its normal state.
    bool NeverStartMinimized() const { return never_start_minimized_; }
    void NeverStartMinimized(bool never) { never_start_minimized_ = never; }

    void Init(CAppSettings* settings, bool centered_by_default);

    /// To be called while the form loads.
    void GetPosition(PlacedForm& form) const;
    /// To be called while the form unloads. A form that cannot tell its placement leaves the stored one.
    void SavePosition(const PlacedForm& form) const;

private:
    void Restore(PlacedForm& form, std::int32_t stored_command) const;
    static void Center(PlacedForm& form);
    std::int32_t Number(const PlacedForm& form, const std::string& value_name) const;
    std::string SectionOf(const PlacedForm& form) const;

    CAppSettings* settings_ = nullptr;
    bool centered_by_default_ = true;
    bool never_start_minimized_ = false;
    std::string key_name_ = "Windows settings";
};

}  // namespace pellago
