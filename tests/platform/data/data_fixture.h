#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "platform/data/command.h"
#include "platform/data/connection.h"
#include "platform/data/recordset.h"
#include "support/support.h"
#include "support/thrown.h"

namespace pellago::test {

/// A database file of its own and a connection to it.
class ADatabase : public testing::Test {
protected:
    ADatabase() {
        WriteFile(path, "");
        connection->Execute(
            "CREATE TABLE Cars (ID INTEGER PRIMARY KEY, Name TEXT, Built DATETIME, Sold BOOLEAN DEFAULT 0"
            " CHECK (Sold IN (0, 1)), Maker INTEGER, Note TEXT DEFAULT 'none');"
            "CREATE INDEX CarsMaker ON Cars (Maker);"
            "INSERT INTO Cars (Name, Built, Sold, Maker) VALUES"
            " ('Ant', '2001-02-03 04:05:06', 1, 7), ('Bee', NULL, 0, 7), ('Cat', 'soon', 1, 8)");
    }

    std::shared_ptr<Connection> Connect() const {
        auto made = std::make_shared<Connection>();
        made->DataSource(path);
        return made;
    }

    TempDir folder;
    const std::string path = folder / "cars.db";
    const std::shared_ptr<Connection> connection = Connect();
};

}  // namespace pellago::test
