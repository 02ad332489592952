#include "app/errors/channel_errors.h"

#include <gmock/gmock.h>

#include <QHeaderView>
#include <QPushButton>
#include <QTableWidget>
#include <memory>

#include "support/main_window_fixture.h"
#include "support/stand_in_opener.h"

namespace pellago {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

class AChannelErrorsDialog : public test::AMainWindow {
protected:
    AChannelErrorsDialog() {
        UseMessageBox([this](const MessageBoxRequest& request) {
            said.push_back(request.caption + ": " + request.text);
            EXPECT_EQ(request.icon, MessageBoxIcon::kInformation);
            EXPECT_FALSE(DataEnvironment().CnnRSS()->HoldsWrites() && !lock_may_be_held);
            if (during_box) during_box();
            return MessageBoxAnswer::kOk;
        });
    }

    void Open(const Lines& entries) {
        dialog = std::make_unique<frmChannelErrors>();
        dialog->Load();
        dialog->FillChannels(entries);
        dialog->SupportMail("help@example.org");
        dialog->Show();
    }
    void Press(const char* name) { dialog->findChild<QPushButton*>(name)->click(); }
    Lines Row(int row) {
        Lines cells;
        for (int column = 0; column < 4; ++column)
            cells.push_back(Grid()->item(row, column)->text().toStdString());
        return cells;
    }
    QTableWidget* Grid() { return dialog->findChild<QTableWidget*>("fgChannelErrors"); }
    Lines Active() { return Column("SELECT ID FROM Channels WHERE Active ORDER BY ID"); }

    std::unique_ptr<frmChannelErrors> dialog;
    Lines said;
    bool lock_may_be_held = false;
};

constexpr const char* kSaid = "Pellago: Channels deactivated!";

TEST_F(AChannelErrorsDialog, ShowsTheChannelsAsPlainTextWithoutTheirIds) {
    Open({"http://h/?a=1&b=2\t7\t<b>News</b>\tDownload error", "http://only", "", "a\t1\tb\tc\td"});
    EXPECT_EQ(dialog->windowTitle(), "News download errors");
    EXPECT_EQ(Grid()->rowCount(), 4);
    EXPECT_THAT(Row(0), ElementsAre("7", "http://h/?a=1&b=2", "<b>News</b>", "Download error"));
    EXPECT_THAT(Row(1), ElementsAre("", "http://only", "", ""));
    EXPECT_THAT(Row(3), ElementsAre("1", "a", "b", "c"));
    EXPECT_TRUE(Grid()->isColumnHidden(0));
    EXPECT_EQ(Grid()->item(0, 2)->toolTip(), "<qt>&lt;b&gt;News&lt;/b&gt;</qt>");
    Press("btnClose");
    EXPECT_FALSE(dialog->IsLoaded());
}

TEST_F(AChannelErrorsDialog, SwitchesOffTheChannelsThatItListsAndNoOthers) {
    Subscribe({"/1", "/2", "/3", "/4"});
    Open({"a\tx\tb\tc", "a", "a\t1 AND Active = True\tb\tc", "a\t99999999999\tb\tc", "a\t99\tb\tc",
          "a\t2\tb\tc", "a\t4\tb\tc"});
    Grid()->selectRow(0);
    // Another process could write while the box is up.
    during_box = [&] {
        database->CnnRSS()->BeginWrites();
        database->CnnRSS()->RollbackWrites();
    };
    Press("btnDeactivate");
    EXPECT_THAT(Active(), ElementsAre("1", "3"));
    during_box = [&] { dialog.reset(); };
    Press("btnDeactivate");
    EXPECT_THAT(Active(), ElementsAre("1", "3"));
    EXPECT_THAT(said, ElementsAre(kSaid, kSaid));
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(AChannelErrorsDialog, TriesALockedDatabaseOnceAndGivesUpWhatItCannotCommit) {
    Subscribe({"/1", "/2"});
    Open({"a\t1\tb\tc", "a\t2\tb\tc"});
    Press("btnDeactivate");
    const auto connection = DataEnvironment().CnnRSS();
    connection->Execute("UPDATE Channels SET Active = 1");
    for (const std::string failing : {"BEGIN IMMEDIATE", "COMMIT"}) {
        Lines statements;
        connection->OnStatement([&](std::string_view sql) {
            statements.emplace_back(sql);
            if (sql == failing) throw std::runtime_error("locked");
        });
        Press("btnDeactivate");
        connection->OnStatement(nullptr);
        EXPECT_EQ(std::count(statements.begin(), statements.end(), failing), 1);
        EXPECT_EQ(statements.size() == 1, failing == "BEGIN IMMEDIATE") << "rows were read without the lock";
        EXPECT_THAT(Active(), ElementsAre("1", "2")) << failing;
        EXPECT_NO_THROW(connection->CommitWrites()) << failing;
    }
    EXPECT_THAT(said, ElementsAre(kSaid, kSaid, kSaid));
}

// A run lets events in between its items, while it holds the lock.
TEST_F(AChannelErrorsDialog, LeavesTheWritesOfARunToTheRun) {
    Subscribe({"/1", "/2"});
    Open({"a\t1\tb\tc"});
    const auto connection = DataEnvironment().CnnRSS();
    connection->BeginWrites();
    connection->Execute("UPDATE Channels SET Channel = 'of the run' WHERE ID = 2");
    lock_may_be_held = true;  // for the rest of the 100 ms that the run may hold it
    Press("btnDeactivate");
    EXPECT_THAT(Active(), ElementsAre("1", "2"));
    EXPECT_NO_THROW(connection->CommitWrites());
    EXPECT_THAT(Column("SELECT Channel || Active FROM Channels ORDER BY ID"),
                ElementsAre("c10", "of the run1"));
}

TEST_F(AChannelErrorsDialog, LeavesARunInProgressUndisturbed) {
    Feeds({"one", "slow", "three"});
    Show();
    DuringFeed("slow", [&] {
        Open({"a\t1\tb\tc", "a\t2\tb\tc", "a\t3\tb\tc"});
        Press("btnDeactivate");
        EXPECT_THAT(Active(), IsEmpty());
    });
    Click("cmdUpdate");
    ASSERT_TRUE(RunEnds());
    EXPECT_THAT(Titles(), ElementsAre("one", "slow", "three"));
    EXPECT_THAT(Active(), IsEmpty());
    EXPECT_THAT(said, ElementsAre(kSaid));
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(AChannelErrorsDialog, IsSentAsAMailLinkOfAnyLengthWithoutHarm) {
    const test::StandInOpener opener;
    Open({"http://h/f?a=1&b=%20\t7\tNews: a\tno 404", "x\t8\ty\tz"});
    Press("btnSend");
    const std::string dashes(20, '-');
    const auto around = [&](const std::string& text) {
        return "mailto:help@example.org?subject=News%20Download%20Error&body=%0A%0A" + dashes + "%0A" + text +
               "%0A" + dashes;
    };
    EXPECT_THAT(opener.TakeArguments(),
                ElementsAre(around(
                    "%0A7%09http%3A%2F%2Fh%2Ff%3Fa%3D1%26b%3D%20%09News%3A a%09no 404%0A8%09x%09y%09z")));
    dialog->FillChannels({});
    Press("btnSend");
    EXPECT_THAT(opener.TakeArguments(), ElementsAre(around("")));
    dialog->FillChannels(Lines(200, "http://host/path\t1\tname\terror"));
    Press("btnSend");
    EXPECT_THAT(opener.TakeArguments(), testing::SizeIs(1)) << "several thousand characters";
    dialog->FillChannels(Lines(10000, "http://host/path\t1\tname\terror"));
    Press("btnSend");
    opener.EndsWith("exit 4");
    dialog->FillChannels({"x\t8\ty\tz"});
    Press("btnSend");
    EXPECT_THAT(said, IsEmpty());
    EXPECT_THAT(reports, IsEmpty());
    EXPECT_TRUE(dialog->isVisible());
}

TEST_F(AChannelErrorsDialog, ComesBackWhereItWas) {
    Open({"x\t8\ty\tz"});
    dialog->resize(555, 333);
    test::PumpFor(std::chrono::milliseconds(50));
    Press("btnClose");
    Open({"x\t8\ty\tz"});
    EXPECT_EQ(dialog->size(), QSize(555, 333));
}

}  // namespace
}  // namespace pellago
