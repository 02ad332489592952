#include "app/log/log_viewer.h"

#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTableView>
#include <QTest>

#include "app/shared/globals.h"
#include "grid/data_grid.h"
#include "support/a_run.h"
#include "support/wait_until.h"

namespace pellago::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kDone = "The items were stored.";
const std::string kDead = "The feed could not be loaded.";

/// The viewer over three channels, one of them without a name.
class ALogViewer : public ARun {
protected:
    ALogViewer() {
        database->CnnRSS()->Execute(
            "INSERT INTO Channels (ID, Channel) VALUES (1, 'bbc world'), (2, 'O''Reilly'), (3, NULL)");
        AddRow(1, 5, "2020-05-01 10:00:00", 3);
        AddRow(2, 3, "2020-05-01 23:59:59", 0);
        AddRow(0, 7, "2020-05-02 00:00:00", 0);
        AddRow(1, 3, "2020-05-02 00:00:00", 0);
        AddRow(3, 5, "2020-05-02 10:00:00", 12);
    }
    ~ALogViewer() override {
        form.reset();
        CloseDataEnvironment();
    }

    void AddRow(int channel, int result, const std::string& time, int count) {
        database->CnnRSS()->Execute(
            "INSERT INTO DownloadLog (Channel, Result, Error, EventTime, NewItems, UpdatedItems) VALUES (" +
            std::to_string(channel) + ", " + std::to_string(result) + ", " + (result == 3 ? "1" : "0") +
            ", '" + time + "', " + std::to_string(count) + ", 0)");
    }
    void Open() {
        form = std::make_unique<frmLog>();
        form->Load();
        form->Show();
        Settle();
    }
    void Settle() {
        ASSERT_TRUE(WaitUntil([&] { return !Status().contains(QStringLiteral("…")); }));
        PumpFor(std::chrono::milliseconds(1));
    }
    QString Status() const { return form->findChild<QLabel*>("lblStatus")->text(); }
    DataGrid& Grid() const { return *static_cast<DataGrid*>(form->findChild<QWidget*>("dgLogs")); }
    QAbstractItemModel& Model() const { return *Grid().Table().model(); }
    QLineEdit& Cell(int column) const {
        return *form->findChild<QLineEdit*>("filter" + QString::number(column));
    }
    static std::shared_ptr<Recordset> Rows() { return DataEnvironment().Recordsets("rsViewLog"); }

    void Type(int column, const char* text) {
        Cell(column).setFocus();
        QTest::keyClicks(&Cell(column), text);
        PumpFor(std::chrono::milliseconds(1));
        Settle();
    }
    void Clear(int column) {
        Cell(column).selectAll();
        QTest::keyClick(&Cell(column), Qt::Key_Backspace);
        PumpFor(std::chrono::milliseconds(1));
        Settle();
    }
    void GroupBy(int column) {
        Grid().Table().setCurrentIndex(Model().index(0, column));
        QTest::keyClick(&Grid().Table(), Qt::Key_F10, Qt::ShiftModifier);
        auto* menu = form->findChild<QMenu*>("groupMenu");
        ASSERT_TRUE(menu);
        menu->actions().constFirst()->trigger();
        delete menu;
        PumpFor(std::chrono::milliseconds(1));
        Settle();
    }
    void Unfold(int row, bool unfolded = true) {
        Model().setData(Model().index(row, 0), unfolded, kUnfoldedRole);
        const auto rows = Model().rowCount();
        if (unfolded) WaitUntil([&] { return Model().rowCount() > rows; }, std::chrono::seconds(10));
    }

    /// Each row's texts, as deep as it stands: of a group its caption, of a log row message and new items.
    std::vector<std::string> Shown() const {
        std::vector<std::string> rows;
        for (int row = 0; row < Model().rowCount(); ++row) {
            const auto cell = [&](int column, int role = Qt::DisplayRole) {
                return Model().index(row, column).data(role);
            };
            const std::string indent(static_cast<std::size_t>(cell(0, kIndentRole).toInt()) * 2, ' ');
            const auto text = cell(0, kGroupLevelRole).isValid()
                                  ? cell(0).toString()
                                  : cell(1).toString() + "|" + cell(2).toString() + "|" + cell(3).toString();
            rows.push_back(indent + text.toStdString());
        }
        return rows;
    }

    std::unique_ptr<frmLog> form;
};

TEST_F(ALogViewer, ShowsTheNewestRowsOnTopEachTimeItComesUp) {
    Open();
    const std::vector<std::string> all = {"<no name>|" + kDone + "|12", "bbc world|" + kDead + "|0",
                                          "O'Reilly|" + kDead + "|0", "bbc world|" + kDone + "|3"};
    EXPECT_EQ(Shown(), all);
    EXPECT_EQ(Status(), "4 rows");
    const auto cell = [&](int row, int column, int role) { return Model().index(row, column).data(role); };
    EXPECT_EQ(cell(0, 0, Qt::DisplayRole).toString().toStdString(),
              DefaultText(ComposeDate(2020, 5, 2, 10, 0, 0)));
    EXPECT_FALSE(cell(0, 5, Qt::DecorationRole).isValid());
    for (const int failed : {1, 2}) {
        EXPECT_EQ(cell(failed, 5, Qt::DisplayRole).toString(), "True");
        EXPECT_FALSE(cell(failed, 5, Qt::DecorationRole).value<QIcon>().isNull());
        EXPECT_TRUE(cell(failed, 1, Qt::FontRole).value<QFont>().bold());
    }

    Type(1, "bbc");
    GroupBy(2);
    form->findChild<QPushButton*>("btnClose")->click();
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->IsLoaded());
    AddRow(1, 5, "2020-05-03 00:00:00", 99);
    form->Show();
    Settle();
    auto longer = all;
    longer.insert(longer.begin(), "bbc world|" + kDone + "|99");
    EXPECT_EQ(Shown(), longer);
    EXPECT_EQ(Rows()->Filter() + Rows()->Sort() + Cell(1).text().toStdString(), "");
    EXPECT_THAT(Grid().GroupColumns(), IsEmpty());
}

TEST_F(ALogViewer, FiltersByWhatIsTyped) {
    Open();
    struct Case {
        int column;
        const char* text;
        std::string filter;
        std::size_t rows;
    };
    const std::vector<Case> cases = {{1, "BBC", "Channel LIKE 'BBC*'", 2},
                                     {1, "*world", "Channel LIKE '*world*'", 2},
                                     {2, "The feed c", "Message LIKE 'The feed c*'", 2},
                                     {3, "1", "NewItems LIKE '1*'", 1},
                                     {4, " 0", "UpdatedItems LIKE ' 0*'", 0},
                                     {5, "true", "Error = True", 2},
                                     {5, " 1 ", "Error = True", 2},
                                     {5, "0", "Error = False", 2},
                                     {5, "x", "Error = False", 2},
                                     {0, "2020", "", 4},
                                     {1, "  ", "", 4}};
    for (const auto& row : cases) {
        Type(row.column, row.text);
        EXPECT_EQ(Rows()->Filter(), row.filter) << row.text;
        EXPECT_EQ(Shown().size(), row.rows) << row.text;
        EXPECT_EQ(Cell(row.column).text(), row.column == 0 ? "" : row.text);
        EXPECT_TRUE(Cell(row.column).hasFocus()) << row.text;
        EXPECT_EQ(Grid().Col(), row.column);
        if (!Cell(row.column).text().isEmpty()) Clear(row.column);
    }
}

TEST_F(ALogViewer, JoinsFiltersAndKeepsThemBeforeOneThatIsNotValid) {
    Open();
    Type(5, "true");
    Type(1, "O");
    EXPECT_EQ(Rows()->Filter(), "Channel LIKE 'O*' AND Error = True");
    Type(1, "'");
    EXPECT_EQ(Rows()->Filter(), "Channel LIKE 'O*' AND Error = True");
    EXPECT_THAT(Shown(), ElementsAre("O'Reilly|" + kDead + "|0"));
    EXPECT_THAT(Status().toStdString(), HasSubstr("not valid"));
    Type(1, "'Re");  // a doubled one stands for one
    EXPECT_EQ(Rows()->Filter(), "Channel LIKE 'O''Re*' AND Error = True");
    EXPECT_EQ(Status(), "1 row");
}

TEST_F(ALogViewer, GroupsRowsUnderTheirCounts) {
    Open();
    GroupBy(1);
    EXPECT_EQ(Rows()->Sort(), "[Channel]");
    EXPECT_EQ(Status(), "3 groups, 4 rows");
    EXPECT_THAT(Shown(),
                ElementsAre("Channel: <no name> (1)", "Channel: O'Reilly (1)", "Channel: bbc world (2)"));
    Unfold(1);
    Unfold(0);
    EXPECT_THAT(Shown(),
                ElementsAre("Channel: <no name> (1)", "  <no name>|" + kDone + "|12", "Channel: O'Reilly (1)",
                            "  O'Reilly|" + kDead + "|0", "Channel: bbc world (2)"));
    EXPECT_EQ(Model().index(3, 0).data(kGroupRowRole), 2);

    GroupBy(5);
    EXPECT_EQ(Rows()->Sort(), "[Channel], [Error]");
    Unfold(2);
    Unfold(4);
    const std::vector<std::string> nested = {"Channel: <no name> (1)", "Channel: O'Reilly (1)",
                                             "Channel: bbc world (2)", "  Error: False (1)",
                                             "  Error: True (1)",      "    bbc world|" + kDead + "|0"};
    EXPECT_EQ(Shown(), nested);
    EXPECT_EQ(Model().index(5, 0).data(kGroupRowRole), 4);
    EXPECT_EQ(Model().index(4, 0).data(kGroupRowRole), 2);
    Unfold(1);
    Unfold(1, false);
    EXPECT_EQ(Shown(), nested);
    Unfold(2, false);
    EXPECT_EQ(Shown().size(), 3U);
    Type(5, "true");
    EXPECT_THAT(Shown(), ElementsAre("Channel: O'Reilly (1)", "Channel: bbc world (1)"));
}

TEST_F(ALogViewer, GroupsTimesByDays) {
    database->CnnRSS()->Execute("INSERT INTO DownloadLog (Channel, Result) VALUES (1, 4)");
    Open();
    GroupBy(0);
    const auto day = [](int number) {
        return "Time: " + QLocale().toString(QDate(2020, 5, number), QLocale::ShortFormat).toStdString();
    };
    EXPECT_THAT(Shown(), ElementsAre("Time:  (1)", day(1) + " (2)", day(2) + " (2)"));
    Unfold(1);
    Unfold(0);
    EXPECT_THAT(Shown(),
                ElementsAre("Time:  (1)", "  bbc world|The feed was loaded.|", day(1) + " (2)",
                            "  O'Reilly|" + kDead + "|0", "  bbc world|" + kDone + "|3", day(2) + " (2)"));
}

TEST_F(ALogViewer, StaysEmptyWhenTheLogCannotBeRead) {
    database->CnnRSS()->Execute("ALTER TABLE DownloadLog RENAME TO Diary");
    Open();
    EXPECT_THAT(Shown(), IsEmpty());
    EXPECT_THAT(Status().toStdString(), HasSubstr("is not a news database"));
    Type(1, "b");
    EXPECT_THAT(Shown(), IsEmpty());
    database->CnnRSS()->Execute("ALTER TABLE Diary RENAME TO DownloadLog");
    form->Hide();
    form->Show();
    Settle();
    EXPECT_EQ(Shown().size(), 4U);
}

}  // namespace
}  // namespace pellago::test
