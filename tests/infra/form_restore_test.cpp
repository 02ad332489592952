#include "infra/form_restore.h"

#include <gmock/gmock.h>

#include "infra/app_settings.h"
#include "platform/files/program.h"
#include "platform/values/run_time_error.h"
#include "support/support.h"
#include "support/thrown.h"

namespace pellago {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A form without a window: what it was told, and what it tells.
struct ToldForm final : PlacedForm {
    std::string Name() const override { return "frmTold"; }
    BorderStyle Border() const override { return BorderStyle::kSizable; }
    bool Visible() const override { return visible; }
    void WindowState(FormWindowState state) override { states.push_back(state); }
    std::optional<WindowPlacement> Placement() const override { return current; }
    void Placement(const WindowPlacement& placement) override { placements.push_back(placement); }
    ScreenRectangle Desktop() const override { return {0, 0, 1001, 700}; }

    bool visible = false;
    std::optional<WindowPlacement> current = WindowPlacement{1, {}, {}, {10, 20, 210, 121}};
    std::vector<FormWindowState> states;
    std::vector<WindowPlacement> placements;
};

class AFormRestore : public testing::Test {
protected:
    AFormRestore() {
        settings_.Init("Quenlith", "Test");
        restore_.Init(&settings_, true);
    }

    static test::Thrown Failure(std::int32_t code, const std::string& text) {
        return {error_number::kObjectErrorBase + code, text, ProgramName() + ".CFormRestore"};
    }

    test::TempDir folder_;
    test::EnvVar config_{"XDG_CONFIG_HOME", folder_.Path().string()};
    CAppSettings settings_;
    CFormRestore restore_;
};

TEST_F(AFormRestore, KeepsNineValuesInASectionOfTheForm) {
    ToldForm form;
    form.current = WindowPlacement{3, {-1, -2}, {4, 5}, {-60, 70, 800, 900}};
    restore_.KeyName("Places");
    restore_.SavePosition(form);
    EXPECT_THAT(settings_.GetAllKeys("Places\\frmTold"),
                ElementsAre("WindowState", "MinPosX", "MinPosY", "MaxPosX", "MaxPosY", "NormalPosLeft",
                            "NormalPosTop", "NormalPosRight", "NormalPosBottom"));
    EXPECT_EQ(settings_.GetSetting("Places\\frmTold", "NormalPosLeft", Null{}), Variant("-60"));
    restore_.GetPosition(form);
    EXPECT_THAT(form.placements, ElementsAre(*form.current));
    form.current.reset();
    restore_.SavePosition(form);
    EXPECT_EQ(settings_.GetSetting("Places\\frmTold", "WindowState", Null{}), Variant("3"));
}

TEST_F(AFormRestore, CentresAFormOfWhichNothingIsStored) {
    ToldForm form;
    restore_.GetPosition(form);
    form.visible = true;
    restore_.GetPosition(form);
    // Halves go to even: 400.5 is 400, 299.5 is 300.
    const ScreenRectangle middle{400, 300, 600, 401};
    EXPECT_THAT(form.placements,
                ElementsAre(WindowPlacement{0, {}, {}, middle}, WindowPlacement{5, {}, {}, middle}));
    form.current->show_command = 3;
    restore_.GetPosition(form);
    EXPECT_EQ(form.placements.back(), (WindowPlacement{5, {}, {}, form.current->normal}));
    form.placements.clear();
    form.current.reset();
    restore_.GetPosition(form);
    restore_.CenteredByDefault(false);
    form.current = WindowPlacement{};
    restore_.GetPosition(form);
    EXPECT_THAT(form.placements, IsEmpty());
}

TEST_F(AFormRestore, GivesAFormTheStateItHadItselfUnlessItIsVisible) {
    using enum FormWindowState;
    using Case = std::tuple<std::string, bool, std::vector<FormWindowState>, std::int32_t>;
    for (const auto& [stored, never_minimized, states, command] :
         {Case{"0", false, {kNormal}, 0}, Case{"1", false, {kNormal}, 1}, Case{"2", false, {kMinimized}, 2},
          Case{"2", true, {kNormal}, 1}, Case{"3", true, {kMaximized}, 3}, Case{"4", false, {kNormal}, 4},
          Case{"6", false, {kMinimized}, 6}, Case{"7", true, {kNormal}, 1}, Case{"8", false, {}, 0},
          Case{"10", true, {}, 0}, Case{"9", false, {kNormal}, 9}, Case{"11", false, {kNormal}, 11},
          Case{"abc", false, {kNormal}, 0}, Case{"99999999999", false, {kNormal}, 0}}) {
        SCOPED_TRACE(stored);
        ToldForm form;
        settings_.SaveSetting("Windows settings\\frmTold", "WindowState", stored);
        restore_.NeverStartMinimized(never_minimized);
        restore_.GetPosition(form);
        EXPECT_EQ(form.states, states);
        EXPECT_THAT(form.placements, ElementsAre(WindowPlacement{command, {}, {}, {}}));
        form.visible = true;
        restore_.GetPosition(form);
        EXPECT_EQ(form.states, states);
        const auto hidden = command == 0;  // a state that only a visible form takes
        EXPECT_TRUE(hidden || form.placements.back().show_command == command);
    }
}

TEST_F(AFormRestore, RefusesWhatIsNotValidAndFailsWithTheSettings) {
    EXPECT_EQ(test::ThrownBy([&] { restore_.KeyName(""); }), Failure(17563, "Invalid KeyName value"));
    const auto no_settings = Failure(17562, "Invalid AppSettings object");
    EXPECT_EQ(test::ThrownBy([&] { restore_.AppSettings(nullptr); }), no_settings);
    EXPECT_EQ(test::ThrownBy([&] { restore_.Init(nullptr, false); }), no_settings);
    EXPECT_TRUE(restore_.CenteredByDefault());
    ToldForm form;
    const auto not_initialized = Failure(17561, "Object not properly initialized");
    EXPECT_EQ(test::ThrownBy([&] { CFormRestore().GetPosition(form); }), not_initialized);
    EXPECT_EQ(test::ThrownBy([&] { CFormRestore().SavePosition(form); }), not_initialized);
    test::WriteFile(folder_ / "quenlith", "no folder");
    EXPECT_EQ(test::ThrownBy([&] { restore_.SavePosition(form); }),
              Failure(17564, "CFormRestore component failure"));
}

}  // namespace
}  // namespace pellago
