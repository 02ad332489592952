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
/// several processes may use it at once. Whatever fails here is as if nothing were kept; a lock of another
/// process, or a slow disk, is waited for 100 ms at most.
class HttpCache final {
public:
    /// `limit` bounds the bodies together, in bytes; those that nobody asked for for the longest time go.
    /// Without `keeps_bodies` there are times alone.
    HttpCache(std::string folder, bool keeps_bodies, std::uint64_t limit);
    HttpCache(const HttpCache&) = delete;
    HttpCache& operator=(const HttpCache&) = delete;

    bool KeepsBodies() const { return keeps_bodies_; }
    std::optional<CachedAnswer> Find(const std::string& address);
    /// The packed body of exactly this answer; nothing when another has taken its place.
    std::optional<Bytes> PackedBody(const std::string& address, const CachedAnswer& answer);
    void Keep(const std::string& address, const CachedAnswer& answer, Bytes packed_body);
    /// The server has said that `answer` still holds; `validators` are what it said with that.
    void Confirm(const std::string& address, const CachedAnswer& answer, const HttpValidators& validators);
    void Forget(const std::string& address);

    /// When the server has asked to be asked again (Retry-After, RFC 9110, 10.2.3), in seconds of Unix time;
    /// nothing when the address may be asked for.
    std::optional<std::int64_t> NotBefore(const std::string& address);
    /// At most a week is believed.
    void AskLater(const std::string& address, std::int64_t seconds_from_now);

    CodecLender<BodyPacker>& Packers() { return packers_; }
    CodecLender<BodyUnpacker>& Unpackers() { return unpackers_; }

private:
    using Rows = std::vector<data::Row>;
    enum class Use { kReadAndWrite, kReadOnly, kNone };

    Rows Read(const std::string& sql, const std::vector<Variant>& values);
    void Write(const std::string& sql, const std::vector<Variant>& values);
    Rows Run(const std::string& sql, const std::vector<Variant>& values);
    void Open();
    void Degrade(Use what_is_left, std::int32_t error_number);
    void MakeRoom(std::size_t for_bytes);
    std::int64_t Sum(const std::string& from);

    std::string folder_;
    bool keeps_bodies_;
    std::uint64_t limit_;
    std::unique_ptr<data::Database> database_;
    Use use_ = Use::kReadAndWrite;
    std::chrono::steady_clock::time_point deadline_;
    /// Bytes of all bodies, once somebody has asked; an estimate where other processes write too.
    std::optional<std::int64_t> size_;
    CodecLender<BodyPacker> packers_;
    CodecLender<BodyUnpacker> unpackers_;
};

}  // namespace pellago
