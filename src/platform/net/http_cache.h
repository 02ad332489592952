#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "body_packing.h"
#include "platform/data/sqlite_database.h"

namespace pellago {

/// What an answer says of its body's version (RFC 9110, 8.8), byte for byte; sent back, always both of one
/// answer.
struct HttpValidators {
    std::string etag;
    std::string last_modified;

    bool IsEmpty() const { return etag.empty() && last_modified.empty(); }
    bool operator==(const HttpValidators&) const = default;
};

/// What is known of the last whole answer to an address.
struct CachedAnswer {
    HttpValidators validators;
    std::string url;           ///< that answered, after redirects
    std::string content_type;  ///< as sent
    std::int64_t fetched = 0;  ///< when, in seconds of Unix time
    std::int64_t used = 0;     ///< when it was last known to be asked for, to a day

    /// Whether there is something to ask with, and nothing that cannot stand in a line of a request.
    bool IsUsable() const;
};

/// What is kept of servers' answers from run to run: whole bodies with their validators, and times before
/// which an address is not to be asked for. A SQLite file in a folder that may be deleted at any time;
/// several processes may use it at once. Whatever fails here is as if nothing were kept, and nothing here is
/// waited for.
class HttpStore final {
public:
    /// `limit` bounds the bodies together, in bytes; those that nobody asked for for the longest time go.
    /// Without `caches` there are times alone.
    HttpStore(std::string folder, bool caches, std::uint64_t limit);
    HttpStore(const HttpStore&) = delete;
    HttpStore& operator=(const HttpStore&) = delete;

    bool Caches() const { return caches_; }
    std::optional<CachedAnswer> Find(const std::string& address);
    /// The packed body of exactly this answer; nothing when another has taken its place.
    std::optional<std::string> PackedBody(const std::string& address, const CachedAnswer& answer);
    void Keep(const std::string& address, const CachedAnswer& answer, const std::string& packed_body);
    /// The server has said that `answer` still holds; `validators` are what it said with that.
    void Confirm(const std::string& address, const CachedAnswer& answer, const HttpValidators& validators);
    void Forget(const std::string& address);

    /// When the server has asked to be asked again (Retry-After, RFC 9110, 10.2.3), in seconds of Unix time;
    /// nothing when the address may be asked for.
    std::optional<std::int64_t> NotBefore(const std::string& address);
    /// At most a week is believed.
    void AskLater(const std::string& address, std::int64_t seconds_from_now);

    /// One is enough: documents are read one after the other.
    std::unique_ptr<BodyPacker> idle_packer;
    std::unique_ptr<BodyUnpacker> idle_unpacker;

private:
    using Rows = std::vector<data::Row>;
    Rows Read(const std::string& sql, const std::vector<Variant>& values);
    void Write(const std::string& sql, const std::vector<Variant>& values);
    Rows Run(const std::string& sql, const std::vector<Variant>& values);
    void Open();
    void Abandon(std::int32_t error_number);
    void MakeRoom(std::size_t for_bytes);
    double Sum(const std::string& sql);

    std::string folder_;
    bool caches_;
    std::uint64_t limit_;
    std::unique_ptr<data::Database> database_;
    bool usable_ = true;
    bool writable_ = true;
    std::chrono::steady_clock::time_point deadline_;
    std::optional<double> size_;  ///< of all bodies, once it is needed; an estimate where others write too
};

}  // namespace pellago
