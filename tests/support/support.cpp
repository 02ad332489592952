#include "support/support.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace pellago::test {

TempDir::TempDir() {
    auto pattern = (std::filesystem::temp_directory_path() / "pellago-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

EnvVar::EnvVar(std::string name, const std::optional<std::string>& value) : name_(std::move(name)) {
    if (const char* before = std::getenv(name_.c_str())) before_ = before;
    value ? setenv(name_.c_str(), value->c_str(), 1) : unsetenv(name_.c_str());
}

EnvVar::~EnvVar() { before_ ? setenv(name_.c_str(), before_->c_str(), 1) : unsetenv(name_.c_str()); }

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path.string());
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

void WriteFile(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

std::string Gzip(const std::string& bytes) {
    const TempDir folder;
    WriteFile(folder / "bytes", bytes);
    if (std::system(("gzip -n " + (folder / "bytes")).c_str()) != 0) throw std::runtime_error("no gzip");
    return ReadFile(folder / "bytes.gz");
}

}  // namespace pellago::test
