#include "sqlite_error.h"

#include <cerrno>
#include <system_error>

#include "platform/data/connection.h"

namespace pellago::data {
namespace {

RunTimeError Failure(std::int32_t number, const std::string& text) {
    return RunTimeError(number, kErrorSource, text);
}

}  // namespace

RunTimeError FileFailure(const std::string& path, int error) {
    if (error == ENOENT || error == ENOTDIR)
        return Failure(data_error::kFileMissing, "The database \"" + path + "\" does not exist.");
    return Failure(data_error::kNotWritable, "The database \"" + path + "\" cannot be opened: " +
                                                 std::generic_category().message(error) + ".");
}

RunTimeError StatementFailure(const std::string& path, sqlite3* database, int code) {
    const std::string database_name = "The database \"" + path + "\"";
    const std::string reason = database ? sqlite3_errmsg(database) : sqlite3_errstr(code);
    switch (code & 0xff) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
        case SQLITE_PROTOCOL:
            return Failure(data_error::kLocked, database_name + " is locked by another program.");
        case SQLITE_NOTADB:
            return Failure(data_error::kNotADatabase, "\"" + path + "\" is not a database.");
        case SQLITE_CORRUPT:
            return Failure(data_error::kDamaged, database_name + " is damaged: " + reason + ".");
        case SQLITE_READONLY:
        case SQLITE_PERM:
        case SQLITE_CANTOPEN:
        case SQLITE_FULL:
            return Failure(data_error::kNotWritable, database_name + " cannot be written: " + reason + ".");
        case SQLITE_CONSTRAINT:
            return Failure(data_error::kConstraint, reason);
        case SQLITE_IOERR:
            return Failure(data_error::kStatementFailed, database_name + " failed: " + reason + ".");
        default:
            return Failure(data_error::kStatementFailed, reason);
    }
}

}  // namespace pellago::data
