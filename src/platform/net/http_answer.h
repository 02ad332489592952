#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "cached_body.h"
#include "platform/xml/document_source.h"
#include "unread_body.h"

namespace pellago {

/// What has come of an answer, from the wire or from the cache, and its reader, who is told of it. Filled
/// also before there is a reader.
class HttpAnswer final {
public:
    /// `address` is what the answer is kept under.
    HttpAnswer(std::string address, std::shared_ptr<HttpCache> cache, std::shared_ptr<UnreadTotal> unread);

    // What comes:
    bool HasHead() const { return !std::holds_alternative<Nothing>(body_); }
    /// `to_keep` is the answer as the cache may keep it, if it may.
    void Head(DocumentHead head, std::optional<CachedAnswer> to_keep);
    void Body(std::string_view piece) { unread_.Add(piece); }
    /// The answer is `cached`, as the server has said, with validators that may be new. Its body is read when
    /// somebody wants it: of many answers that wait for that, it would fill the memory.
    void BodyFromCache(const CachedAnswer& cached, HttpValidators confirmed);
    /// No more comes over the wire. An empty error means that all has.
    void End(std::string error) { end_ = std::move(error); }
    /// The answer begins anew.
    void StartOver();

    // Who reads it:
    void ReadBy(DocumentEvents reader) { reader_ = std::move(reader); }
    bool HasReader() const { return reader_.has_value(); }
    std::size_t Unread() const { return unread_.Size(); }
    enum class TellResult { kDone, kCacheFailed };
    /// Tells the reader all that it was not told yet; inside one of its events, nothing. kCacheFailed: the
    /// body is not in the cache as it should be, and must be asked for.
    TellResult Tell();
    /// The reader is told nothing more.
    void Silence();
    bool IsOver() const { return stage_ > Stage::kHead; }
    /// Whether the reader was told of the end of a whole body that came over the wire.
    bool IsWholeFromWire() const {
        return stage_ == Stage::kWhole && std::holds_alternative<FromWire>(body_);
    }
    /// Puts the whole body into the cache; false when it may not be kept.
    bool Keep();

private:
    /// What the reader was told last.
    enum class Stage { kNothing, kHead, kWhole, kFailed, kSilenced };
    struct Nothing {};
    struct FromWire {
        std::optional<CachedAnswer> to_keep;
        std::unique_ptr<CachedBodyWriter> writer{};  ///< while it is read, if it may be kept
    };
    struct FromCache {
        CachedAnswer answer;
        HttpValidators confirmed;
        std::unique_ptr<CachedBodyReader> reader{};  ///< while it is read
    };

    void TellHead();
    void TellUnread();
    /// False when the cache has not what it should.
    bool TellCached(FromCache& body);
    bool OpenCached(FromCache& body);
    void TellEnd(const std::string& error);

    std::string address_;
    std::shared_ptr<HttpCache> cache_;
    std::optional<DocumentEvents> reader_;
    std::variant<Nothing, FromWire, FromCache> body_;
    DocumentHead head_;               ///< of that body
    UnreadBody unread_;               ///< from the wire
    std::optional<std::string> end_;  ///< of what comes from the wire
    Stage stage_ = Stage::kNothing;
    bool is_telling_ = false;
};

}  // namespace pellago
