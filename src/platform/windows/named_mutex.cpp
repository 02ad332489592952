#include "platform/windows/named_mutex.h"

#include <cerrno>
#include <string_view>
#include <system_error>

#include "platform/files/file_lock.h"
#include "platform/files/program.h"
#include "platform/files/runtime_folder.h"
#include "platform/values/run_time_error.h"

namespace pellago {
namespace {

std::string FileOf(const std::string& name) {
    if (name.empty() || name.find_first_of(std::string_view("/\0", 2)) != std::string::npos)
        throw RunTimeError(error_number::kInvalidProcedureCall, "", "Invalid name of a mutex");
    return JoinPath(RuntimeFolder(), "mutex-" + name);
}

}  // namespace

NamedMutex::NamedMutex(const std::string& name) : lock_(std::make_unique<const FileLock>(FileOf(name))) {
    if (lock_->IsHeld()) return;
    if (lock_->Error() != EWOULDBLOCK)
        throw RunTimeError(
            error_number::kFileAccess, "",
            "The mutex \"" + name + "\" cannot be made: " + std::generic_category().message(lock_->Error()));
    lock_.reset();
}

NamedMutex::~NamedMutex() = default;

}  // namespace pellago
