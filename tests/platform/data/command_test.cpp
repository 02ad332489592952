#include "platform/data/command.h"

#include "data_fixture.h"

namespace pellago::test {
namespace {

Parameter Text(const std::string& name) { return {name, ParameterType::kText, 5, {}}; }
Parameter Integer(const std::string& name) { return {name, ParameterType::kInteger, 0, {}}; }

class ACommand : public ADatabase {
protected:
    Command Make(const std::string& text, std::vector<Parameter> parameters = {}) const {
        return Command(connection, "test", text, std::move(parameters));
    }
};

TEST_F(ACommand, FindsItsParametersInTheText) {
    const std::pair<const char*, const char*> cases[] = {
        {"SELECT ID FROM Cars WHERE Name = @wanted AND '@Wanted' <> `Name`", "@Wanted"},
        {"SELECT ID FROM Cars WHERE [Name]=Wanted", "Wanted"},
        {"SELECT ID FROM Cars -- @Other\n WHERE Name = @Name /* @Other */ AND Sold = False", "Name"},
    };
    for (const auto& [text, parameter] : cases) {
        auto command = Make(text, {Text(parameter)});
        command[parameter].value = std::string("Bee");
        const auto found = command.Execute();
        ASSERT_EQ(found->RecordCount(), 1) << text;
        EXPECT_EQ(found->Value("ID"), Variant(2)) << text;
    }
    EXPECT_EQ(ThrownBy([&] { Make("SELECT @Other"); }).number, data_error::kNoSuchItem);
    EXPECT_EQ(ThrownBy([&] { Make("SELECT 'open"); }).number, data_error::kStatementFailed);
}

TEST_F(ACommand, StoresEveryTypeAsItReads) {
    auto add = Make("INSERT INTO Cars (Name, Built, Sold, Maker) VALUES (@Name, @Built, True, @Maker)",
                    {Text("Name"), {"Built", ParameterType::kDate, 0, {}}, Integer("Maker")});
    // Longer than its declared size: whoever writes it has cut it.
    add["Name"].value = std::string("much longer \0 than 5", 20);
    add["Built"].value = ComposeDate(100, 1, 1, 23, 59, 59);
    add["Maker"].value = std::string("12");
    EXPECT_TRUE(add.Execute()->Eof());

    const auto stored = Make("SELECT * FROM Cars WHERE ID = 4").Execute();
    EXPECT_EQ(stored->Value("Name"), add["Name"].value);
    EXPECT_EQ(stored->Value("Built"), add["Built"].value);
    EXPECT_EQ(stored->Value("Sold"), Variant(true));
    EXPECT_EQ(stored->Value("Maker"), Variant(12));
    add["Maker"].value = std::string("twelve");
    EXPECT_EQ(ThrownBy([&] { add.Execute(); }).number, error_number::kTypeMismatch);
}

TEST_F(ACommand, IsUsableAfterAFailureAndAfterItsConnectionWasClosed) {
    auto add = Make("INSERT INTO Cars (Name, Sold) VALUES ('Eel', @Sold)", {Integer("Sold")});
    add["Sold"].value = 2;
    EXPECT_EQ(ThrownBy([&] { add.Execute(); }).number, data_error::kConstraint);
    const auto before = Make("SELECT Name FROM Cars").Execute();
    connection->Close();
    EXPECT_EQ(before->Value("Name"), Variant("Ant"));
    add["Sold"].value = 1;
    add.Execute();
    EXPECT_EQ(connection->Scalar("SELECT COUNT(*) FROM Cars WHERE Name = 'Eel'"), Variant(1));
}

}  // namespace
}  // namespace pellago::test
