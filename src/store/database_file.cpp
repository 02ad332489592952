#include "store/database_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "schema_steps.h"

namespace pellago {
namespace {

[[noreturn]] void RaiseNotMade(const std::string& path, int error) {
    if (error == EEXIST) throw RunTimeError(kFileExists, "DE1", "The file \"" + path + "\" exists already.");
    throw RunTimeError(
        data_error::kNotWritable, "DE1",
        "The database \"" + path + "\" cannot be made: " + std::generic_category().message(error) + ".");
}

/// An empty file beside `path`, gone with the object.
class DraftFile final {
public:
    explicit DraftFile(const std::string& path) : path_(path + ".XXXXXX") {
        const int file = mkostemp(path_.data(), O_CLOEXEC);
        if (file < 0) RaiseNotMade(path, errno);
        fchmod(file, 0666 & ~Mask());
        close(file);
    }
    ~DraftFile() {
        std::error_code ignored;
        for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(path_ + suffix, ignored);
    }
    DraftFile(const DraftFile&) = delete;
    DraftFile& operator=(const DraftFile&) = delete;

    const std::string& Path() const { return path_; }

private:
    static mode_t Mask() {
        const auto mask = umask(0);
        umask(mask);
        return mask;
    }

    std::string path_;
};

}  // namespace

void CreateDatabase(const std::string& path) {
    std::error_code unknown;
    if (std::filesystem::exists(path, unknown)) RaiseNotMade(path, EEXIST);
    const DraftFile draft(path);
    Connection connection;
    connection.DataSource(draft.Path());
    TakeSchemaSteps(connection);
    connection.Close();
    // A file that was made at `path` meanwhile is never overwritten.
    if (renameat2(AT_FDCWD, draft.Path().c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) != 0)
        RaiseNotMade(path, errno);
}

}  // namespace pellago
