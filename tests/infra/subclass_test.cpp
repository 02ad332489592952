#include "infra/subclass.h"

#include <gmock/gmock.h>

#include <optional>

#include "platform/windows/window_messages.h"
#include "support/support.h"

namespace pellago {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using show_message::kAfter;
using show_message::kBefore;

using Seen = std::vector<std::string>;

std::string Text(const std::string& who, std::int32_t message, std::int32_t w_param) {
    return who + " " + std::to_string(message) + ":" + std::to_string(w_param);
}

struct Owner : iSubclass {
    explicit Owner(Seen& seen_by) : seen(seen_by) {}
    void iSubclass_Before(bool& handled, std::int32_t& answer, std::int32_t&, std::int32_t& message,
                          std::int32_t& w_param, std::int32_t&) override {
        seen.push_back(Text("before", message, w_param));
        if (before) before(handled, answer, w_param);
    }
    void iSubclass_After(std::int32_t& answer, std::int32_t, std::int32_t message, std::int32_t w_param,
                         std::int32_t) override {
        seen.push_back(Text("after", message, w_param));
        if (after) after(answer);
    }
    Seen& seen;
    std::function<void(bool&, std::int32_t&, std::int32_t&)> before;
    std::function<void(std::int32_t&)> after;
};

/// A window that answers with a hundred times wParam.
class ASubclassedWindow : public testing::Test {
protected:
    ASubclassedWindow() { subclass_->Subclass(window_, *owner_); }
    ~ASubclassedWindow() override { DestroyWindowHandle(window_); }

    /// What is seen of message 5 with wParam 7.
    Seen Sent(std::int32_t message = 5) {
        seen_.clear();
        answer_ = SendMessage(window_, message, 7, 0);
        return seen_;
    }

    const test::TempDir folder_;
    const test::EnvVar runtime_folder_{"XDG_RUNTIME_DIR", folder_.Path().string()};
    Seen seen_;
    const std::int32_t window_ =
        CreateWindowHandle([this](std::int32_t, std::int32_t message, std::int32_t w_param, std::int32_t) {
            seen_.push_back(Text("window", message, w_param));
            return w_param * 100;
        });
    std::int32_t answer_ = 0;
    std::optional<Owner> owner_{seen_};
    std::optional<cSubclass> subclass_{std::in_place};
};

TEST_F(ASubclassedWindow, ShowsItsOwnerTheListedMessagesAloneAndLetsItChangeThem) {
    EXPECT_THAT(Sent(), ElementsAre("window 5:7"));
    subclass_->AddMsg(5, kBefore);
    subclass_->AddMsg(5, 3);
    owner_->before = [](bool&, std::int32_t&, std::int32_t& w_param) { ++w_param; };
    owner_->after = [](std::int32_t& answer) { ++answer; };
    EXPECT_THAT(Sent(), ElementsAre("before 5:7", "window 5:8", "after 5:8"));
    EXPECT_EQ(answer_, 801);
    EXPECT_THAT(Sent(6), ElementsAre("window 6:7"));

    owner_->before = [](bool& handled, std::int32_t& answer, std::int32_t&) {
        handled = true;
        answer = 1;
    };
    EXPECT_THAT(Sent(), ElementsAre("before 5:7"));
    EXPECT_EQ(answer_, 1);
    EXPECT_EQ(subclass_->CallOrigWndProc(window_, 5, 2, 0), 200);
    subclass_->UnSubclass();
    EXPECT_EQ(subclass_->CallOrigWndProc(window_, 5, 2, 0), 0);
    EXPECT_THAT(Sent(), ElementsAre("window 5:7"));
}

// The count is set by every message, by none, and by a list that grows: not by the slots in between.
TEST_F(ASubclassedWindow, ListsAMessageOnceAndCountsItsListAnewOnlyWhenItGrows) {
    subclass_->AddMsg(5, kBefore);
    subclass_->AddMsg(5, kBefore);
    subclass_->DelMsg(5, kBefore);
    subclass_->DelMsg(99, kBefore);
    EXPECT_THAT(Sent(), ElementsAre("window 5:7"));
    EXPECT_THAT(Sent(-1), ElementsAre("window -1:7")) << "no message of a free slot";
    subclass_->AddMsg(6, kBefore);
    EXPECT_THAT(Sent(6), ElementsAre("before 6:7", "window 6:7"));
    subclass_->DelMsg(6, kBefore);
    subclass_->AddMsg(5, kAfter);
    subclass_->AddMsg(kEveryMessage, kAfter);
    subclass_->AddMsg(5, kAfter);
    EXPECT_THAT(Sent(6), ElementsAre("window 6:7", "after 6:7"));
    subclass_->DelMsg(kEveryMessage, kAfter);
    subclass_->AddMsg(5, kAfter);
    EXPECT_THAT(Sent(), ElementsAre("window 5:7")) << "listed, and none are shown";
    subclass_->AddMsg(8, kAfter);
    EXPECT_THAT(Sent(), ElementsAre("window 5:7", "after 5:7"));
    subclass_->AddMsg(kEveryMessage, kAfter);
    subclass_->AddMsg(9, kAfter);
    EXPECT_THAT(Sent(6), ElementsAre("window 6:7")) << "a list that has grown is no longer every message";
}

TEST_F(ASubclassedWindow, GetsItsProcedureBackWhenItsOwnerIsGone) {
    subclass_->AddMsg(5, kBefore);
    subclass_->AddMsg(8, kAfter);
    owner_.reset();
    EXPECT_THAT(Sent(6), ElementsAre("window 6:7"));
    EXPECT_THAT(Sent(8), ElementsAre("window 8:7"));
    EXPECT_EQ(answer_, 0);
    EXPECT_THAT(Sent(8), ElementsAre("window 8:7"));
    EXPECT_EQ(answer_, 700);
    owner_.emplace(seen_);
    subclass_->Subclass(window_, *owner_);
    owner_.reset();
    EXPECT_THAT(Sent(), IsEmpty());
    EXPECT_EQ(answer_, 0);
    EXPECT_THAT(Sent(), ElementsAre("window 5:7"));
}

TEST_F(ASubclassedWindow, SurvivesWhatItsOwnerDoesInsideAMessage) {
    subclass_->AddMsg(kEveryMessage, kBefore);
    subclass_->AddMsg(kEveryMessage, kAfter);
    owner_->before = [this](bool&, std::int32_t&, std::int32_t& w_param) {
        if (w_param > 0) SendMessage(window_, 6, w_param - 7, 0);
    };
    EXPECT_THAT(Sent(), ElementsAre("before 5:7", "before 6:0", "window 6:0", "after 6:0", "window 5:7",
                                    "after 5:7"));
    owner_->before = [this](bool&, std::int32_t&, std::int32_t&) {
        subclass_.reset();
        owner_.reset();
    };
    EXPECT_THAT(Sent(), ElementsAre("before 5:7", "window 5:7"));
    EXPECT_EQ(answer_, 700);
    EXPECT_THAT(Sent(), ElementsAre("window 5:7"));

    owner_.emplace(seen_);
    subclass_.emplace();
    subclass_->Subclass(window_, *owner_);
    subclass_->AddMsg(kEveryMessage, kAfter);
    owner_->after = [this](std::int32_t& answer) {
        subclass_.reset();
        DestroyWindowHandle(window_);
        answer = 3;
    };
    Sent();
    EXPECT_EQ(answer_, 3);
}

TEST_F(ASubclassedWindow, IsReplacedByAnotherAndLeavesInAnyOrder) {
    subclass_->AddMsg(5, kBefore);
    subclass_->Subclass(window_, *owner_);
    EXPECT_THAT(Sent(), ElementsAre("before 5:7", "window 5:7"))
        << "its own procedure is not its previous one";
    const auto other = CreateWindowHandle(nullptr);
    DestroyWindowHandle(other);
    subclass_->Subclass(other, *owner_);
    EXPECT_THAT(Sent(), ElementsAre("before 5:7", "window 5:7"));

    const auto second = CreateWindowHandle(nullptr);
    subclass_->Subclass(second, *owner_);
    EXPECT_THAT(Sent(), ElementsAre("window 5:7"));
    SendMessage(second, 5, 1, 0);
    EXPECT_THAT(seen_, ElementsAre("window 5:7", "before 5:1"));
    DestroyWindowHandle(second);

    // The one below ends first: the one above is off the window then, and hands on to what is left.
    subclass_->Subclass(window_, *owner_);
    cSubclass above;
    above.Subclass(window_, *owner_);
    subclass_->UnSubclass();
    above.UnSubclass();
    subclass_->AddMsg(kEveryMessage, kBefore);
    EXPECT_THAT(Sent(), ElementsAre("window 5:7"));
}

}  // namespace
}  // namespace pellago
