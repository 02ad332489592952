// bare_run DATABASE: what a run does, with libcurl, libxml2 and prepared statements and nothing of ours
// between them. All channels of the database are fetched, 64 at once and 6 of one host, parsed while they
// arrive, and stored in one transaction each: the items that are not there yet, two log rows, the channel's
// own row. Left out: dates (they are stored as the feeds write them), the order of items, limits of texts and
// bodies, other formats than RSS 2.0, events, cancelling, and a cache.

#include <curl/curl.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstring>
#include <deque>
#include <initializer_list>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int kAtOnce = 64;
constexpr int kAtOnceOfHost = 6;
constexpr long kMostConnections = 256;
constexpr long kLimitMs = 60'000;

template <auto Free>
struct Freed {
    template <class T>
    void operator()(T* object) const {
        Free(object);
    }
};
using Curl = std::unique_ptr<CURL, Freed<curl_easy_cleanup>>;
using Multi = std::unique_ptr<CURLM, Freed<curl_multi_cleanup>>;
using Database = std::unique_ptr<sqlite3, Freed<sqlite3_close>>;
using Statement = std::unique_ptr<sqlite3_stmt, Freed<sqlite3_finalize>>;
using Parser = std::unique_ptr<xmlParserCtxt, Freed<xmlFreeParserCtxt>>;
using Document = std::unique_ptr<xmlDoc, Freed<xmlFreeDoc>>;
using XmlText = std::unique_ptr<xmlChar, Freed<[](void* text) { xmlFree(text); }>>;

bool IsElement(const xmlNode* node, const char* name) {
    return node->type == XML_ELEMENT_NODE &&
           std::strcmp(reinterpret_cast<const char*>(node->name), name) == 0;
}

const xmlNode* Child(const xmlNode* parent, const char* name) {
    const auto* node = parent ? parent->children : nullptr;
    while (node && !IsElement(node, name)) node = node->next;
    return node;
}

/// The News, DownloadLog and Channels tables.
class Store final {
public:
    explicit Store(const char* path) {
        sqlite3* opened = nullptr;
        const bool open = sqlite3_open_v2(path, &opened, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK;
        database_.reset(opened);
        if (!open) throw std::runtime_error(sqlite3_errmsg(opened));
        Execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL");
        find_ = Prepare("SELECT ID FROM News WHERE Channel = ? AND Link = ?");
        add_ = Prepare(
            "INSERT INTO News (Channel, Link, Title, Description, guid, pubDate) VALUES (?, ?, ?, ?, ?, ?)");
        log_ = Prepare(
            "INSERT INTO DownloadLog (Session, Channel, Result, Error, EventTime, NewItems, UpdatedItems)"
            " VALUES (1, ?, ?, ?, datetime('now', 'localtime'), ?, 0)");
        refresh_ = Prepare(
            "UPDATE Channels SET Channel = ?, Link = ?, Description = ?, Copyright = ?, lastBuildDate = ? "
            "WHERE ID = ?");
    }

    std::vector<std::pair<int, std::string>> Channels() {
        std::vector<std::pair<int, std::string>> channels;
        const auto all = Prepare("SELECT ID, httpRSSFile FROM Channels ORDER BY Provider, ID");
        while (sqlite3_step(all.get()) == SQLITE_ROW)
            channels.emplace_back(sqlite3_column_int(all.get(), 0),
                                  reinterpret_cast<const char*>(sqlite3_column_text(all.get(), 1)));
        return channels;
    }

    /// A null `document` is that of a channel which could not be loaded.
    void Keep(int channel, xmlDoc* document) {
        Execute("BEGIN IMMEDIATE");
        const auto* feed = Child(document ? xmlDocGetRootElement(document) : nullptr, "channel");
        if (feed) {
            Log(channel, 4, 0);
            int added = 0;
            for (const auto* item = feed->children; item; item = item->next)
                if (IsElement(item, "item") && AddIfNew(channel, item)) ++added;
            Log(channel, 5, added);
            Bind(refresh_, feed, {"title", "link", "description", "copyright", "lastBuildDate"}, 1);
            sqlite3_bind_int(refresh_.get(), 6, channel);
            Step(refresh_);
        } else {
            Log(channel, 3, 0);
        }
        Execute("COMMIT");
    }

private:
    void Execute(const char* sql) {
        if (sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) Fail();
    }
    Statement Prepare(const char* sql) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(database_.get(), sql, -1, &statement, nullptr) != SQLITE_OK) Fail();
        return Statement(statement);
    }
    bool Step(const Statement& statement) {
        const int result = sqlite3_step(statement.get());
        if (result != SQLITE_ROW && result != SQLITE_DONE) Fail();
        sqlite3_reset(statement.get());
        return result == SQLITE_ROW;
    }
    [[noreturn]] void Fail() { throw std::runtime_error(sqlite3_errmsg(database_.get())); }

    static void Bind(const Statement& statement, const xmlNode* parent,
                     std::initializer_list<const char*> names, int index) {
        for (const auto* name : names) {
            const auto* node = Child(parent, name);
            const XmlText text(node ? xmlNodeGetContent(node) : nullptr);
            sqlite3_bind_text(statement.get(), index++, reinterpret_cast<const char*>(text.get()), -1,
                              SQLITE_TRANSIENT);
        }
    }

    bool AddIfNew(int channel, const xmlNode* item) {
        sqlite3_bind_int(find_.get(), 1, channel);
        Bind(find_, item, {"link"}, 2);
        if (Step(find_)) return false;
        sqlite3_bind_int(add_.get(), 1, channel);
        Bind(add_, item, {"link", "title", "description", "guid", "pubDate"}, 2);
        Step(add_);
        return true;
    }

    void Log(int channel, int result, int added) {
        sqlite3_bind_int(log_.get(), 1, channel);
        sqlite3_bind_int(log_.get(), 2, result);
        sqlite3_bind_int(log_.get(), 3, result == 3 ? 1 : 0);
        sqlite3_bind_int(log_.get(), 4, added);
        Step(log_);
    }

    Database database_;
    Statement find_, add_, log_, refresh_;
};

struct Host {
    std::deque<std::pair<int, std::string>> waiting;  // channel and address, in the order of the list
    int running = 0;
};

struct Transfer {
    Curl curl{curl_easy_init()};
    Parser parser;
    Host* host = nullptr;
    int channel = 0;
};

std::size_t Parse(char* data, std::size_t, std::size_t size, void* parser) {
    xmlParseChunk(static_cast<xmlParserCtxt*>(parser), data, static_cast<int>(size), 0);
    return size;
}

/// Fetches what the store lists, and hands it on.
class Fetcher final {
public:
    explicit Fetcher(Store& store) : store_(store), transfers_(kAtOnce) {
        curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, kMostConnections);
        for (auto& transfer : transfers_) idle_.push_back(&transfer);
        for (auto& [channel, address] : store.Channels()) {
            const auto begin = address.find("://") + 3;
            hosts_[address.substr(begin, address.find('/', begin) - begin)].waiting.emplace_back(
                channel, std::move(address));
        }
    }

    void Run() {
        for (;;) {
            while (StartNext()) continue;
            int running = 0;
            curl_multi_perform(multi_.get(), &running);
            int left = 0;
            while (const auto* message = curl_multi_info_read(multi_.get(), &left))
                if (message->msg == CURLMSG_DONE) Finish(message->easy_handle, message->data.result);
            if (idle_.size() == transfers_.size() && !NextHost()) return;
            if (running > 0) curl_multi_poll(multi_.get(), nullptr, 0, 1000, nullptr);
        }
    }

private:
    /// That of the first channel of the list which may be fetched now.
    Host* NextHost() {
        Host* next = nullptr;
        for (auto& [name, host] : hosts_)
            if (!host.waiting.empty() && host.running < kAtOnceOfHost &&
                (!next || host.waiting.front().first < next->waiting.front().first))
                next = &host;
        return next;
    }

    bool StartNext() {
        auto* host = idle_.empty() ? nullptr : NextHost();
        if (!host) return false;
        auto& transfer = *idle_.back();
        idle_.pop_back();
        auto& [channel, address] = host->waiting.front();
        transfer.channel = channel;
        transfer.host = host;
        transfer.parser.reset(xmlCreatePushParserCtxt(nullptr, nullptr, nullptr, 0, nullptr));
        xmlCtxtUseOptions(transfer.parser.get(),
                          XML_PARSE_NONET | XML_PARSE_COMPACT | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
        auto* curl = transfer.curl.get();
        curl_easy_setopt(curl, CURLOPT_URL, address.c_str());
        curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, "");
        curl_easy_setopt(curl, CURLOPT_FAILONERROR, 1L);
        curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, kLimitMs);
        curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Parse);
        curl_easy_setopt(curl, CURLOPT_WRITEDATA, transfer.parser.get());
        curl_easy_setopt(curl, CURLOPT_PRIVATE, &transfer);
        curl_multi_add_handle(multi_.get(), curl);
        host->waiting.pop_front();
        ++host->running;
        return true;
    }

    void Finish(CURL* curl, CURLcode result) {
        Transfer* transfer = nullptr;
        curl_easy_getinfo(curl, CURLINFO_PRIVATE, &transfer);
        curl_multi_remove_handle(multi_.get(), curl);
        xmlParseChunk(transfer->parser.get(), nullptr, 0, 1);
        const Document document(transfer->parser->myDoc);
        const bool whole = result == CURLE_OK && transfer->parser->wellFormed != 0;
        transfer->parser.reset();
        store_.Keep(transfer->channel, whole ? document.get() : nullptr);
        --transfer->host->running;
        idle_.push_back(transfer);
    }

    Store& store_;
    Multi multi_{curl_multi_init()};
    std::vector<Transfer> transfers_;
    std::vector<Transfer*> idle_;
    std::map<std::string, Host> hosts_;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: bare_run DATABASE\n");
        return 64;
    }
    try {
        Store store(argv[1]);
        Fetcher(store).Run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
