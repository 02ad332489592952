#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/data/command.h"
#include "platform/data/connection.h"
#include "platform/data/recordset.h"

namespace pellago {

/// The data environment: one connection to the news database and its named commands, each with a recordset
/// named "rs" plus the command's name.
class DE1 final {
public:
    /// On the database that setting "RSSDS" names, by default the program folder's RSS.MDB, which is made
    /// when it is not there.
    DE1();
    /// On the file `database` alone, which must exist; no setting is read or written.
    explicit DE1(const std::string& database);
    ~DE1();
    DE1(const DE1&) = delete;
    DE1& operator=(const DE1&) = delete;

    const std::shared_ptr<Connection>& CnnRSS() const { return connection_; }

    /// A command by its declared name ("cmdAddItem"). Throws RunTimeError data_error::kNoSuchItem.
    std::shared_ptr<Command> Commands(const std::string& name) const;
    /// A recordset by its name ("rsAllProviders"), closed when first asked for, the same object each time;
    /// for commands without parameters. Throws RunTimeError data_error::kNoSuchItem.
    std::shared_ptr<Recordset> Recordsets(const std::string& name) const;

private:
    void CnnRSS_WillConnect();

    std::shared_ptr<Connection> connection_;
    std::map<std::string, std::shared_ptr<Command>> commands_;
    std::map<std::string, std::shared_ptr<Recordset>> recordsets_;
};

/// Where the news database is when no setting names one.
std::string DefaultDatabase();
/// Where the news database is: what setting "RSSDS" says, by default DefaultDatabase().
std::string ChosenDatabase();

}  // namespace pellago
