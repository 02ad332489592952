#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace pellago::test {

/// A folder of its own for one test, gone with it.
class TempDir final {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    std::string operator/(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

/// An environment variable, for as long as the object lives; no value takes the variable away.
class EnvVar final {
public:
    EnvVar(std::string name, const std::optional<std::string>& value);
    ~EnvVar();
    EnvVar(const EnvVar&) = delete;
    EnvVar& operator=(const EnvVar&) = delete;

private:
    std::string name_;
    std::optional<std::string> before_;
};

std::string ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, const std::string& bytes);

/// `bytes` as the gzip program packs them.
std::string Gzip(const std::string& bytes);

}  // namespace pellago::test
