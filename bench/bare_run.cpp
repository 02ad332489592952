#include "bare_run.h"

#include <curl/curl.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sqlite3.h>

#include <cstring>
#include <memory>
#include <stdexcept>

namespace pellago::bench {
namespace {

template <auto Free>
struct Freed {
    template <class T>
    void operator()(T* object) const {
        Free(object);
    }
};
using Curl = std::unique_ptr<CURL, Freed<curl_easy_cleanup>>;
using Database = std::unique_ptr<sqlite3, Freed<sqlite3_close>>;
using Statement = std::unique_ptr<sqlite3_stmt, Freed<sqlite3_finalize>>;
using Document = std::unique_ptr<xmlDoc, Freed<xmlFreeDoc>>;
using XmlText = std::unique_ptr<xmlChar, Freed<[](void* text) { xmlFree(text); }>>;

Document Fetch(CURL* curl, const std::string& address) {
    std::unique_ptr<xmlParserCtxt, Freed<xmlFreeParserCtxt>> parser(
        xmlCreatePushParserCtxt(nullptr, nullptr, nullptr, 0, nullptr));
    const auto write = +[](char* data, std::size_t, std::size_t size, void* to) -> std::size_t {
        xmlParseChunk(static_cast<xmlParserCtxtPtr>(to), data, static_cast<int>(size), 0);
        return size;
    };
    curl_easy_setopt(curl, CURLOPT_URL, address.c_str());
    curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, write);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, parser.get());
    if (curl_easy_perform(curl) != CURLE_OK) throw std::runtime_error("cannot fetch " + address);
    xmlParseChunk(parser.get(), nullptr, 0, 1);
    Document document(parser->myDoc);
    if (!parser->wellFormed) throw std::runtime_error("not well-formed: " + address);
    return document;
}

const xmlNode* Child(const xmlNode* parent, const char* name) {
    for (const auto* node = parent->children; node; node = node->next)
        if (node->type == XML_ELEMENT_NODE &&
            std::strcmp(reinterpret_cast<const char*>(node->name), name) == 0)
            return node;
    return nullptr;
}

void BindText(sqlite3_stmt* statement, int index, const xmlNode* item, const char* name) {
    const auto* node = Child(item, name);
    const XmlText text(node ? xmlNodeGetContent(node) : xmlStrdup(nullptr));
    sqlite3_bind_text(statement, index, reinterpret_cast<const char*>(text.get()), -1, SQLITE_TRANSIENT);
}

Statement Prepare(sqlite3* database, const char* sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, sql, -1, &statement, nullptr) != SQLITE_OK)
        throw std::runtime_error(sqlite3_errmsg(database));
    return Statement(statement);
}

bool Step(sqlite3_stmt* statement) {
    const bool row = sqlite3_step(statement) == SQLITE_ROW;
    sqlite3_reset(statement);
    return row;
}

}  // namespace

int BareRun(const std::string& path, const std::vector<std::string>& addresses) {
    sqlite3* opened = nullptr;
    sqlite3_open(path.c_str(), &opened);
    const Database database(opened);
    sqlite3_exec(opened, "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL", nullptr, nullptr, nullptr);
    const auto find = Prepare(opened, "SELECT ID FROM News WHERE Channel = ? AND Link = ?");
    const auto add = Prepare(
        opened,
        "INSERT INTO News (Channel, Link, Title, Description, guid, pubDate) VALUES (?, ?, ?, ?, ?, ?)");
    const Curl curl(curl_easy_init());
    int added = 0;
    int channel = 0;
    for (const auto& address : addresses) {
        ++channel;
        const auto document = Fetch(curl.get(), address);
        sqlite3_exec(opened, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
        const auto* parent = Child(xmlDocGetRootElement(document.get()), "channel");
        if (!parent) throw std::runtime_error("no channel in " + address);
        for (const auto* item = parent->children; item; item = item->next) {
            if (item->type != XML_ELEMENT_NODE ||
                std::strcmp(reinterpret_cast<const char*>(item->name), "item") != 0)
                continue;
            sqlite3_bind_int(find.get(), 1, channel);
            BindText(find.get(), 2, item, "link");
            if (Step(find.get())) continue;
            sqlite3_bind_int(add.get(), 1, channel);
            BindText(add.get(), 2, item, "link");
            BindText(add.get(), 3, item, "title");
            BindText(add.get(), 4, item, "description");
            BindText(add.get(), 5, item, "guid");
            BindText(add.get(), 6, item, "pubDate");
            Step(add.get());
            ++added;
        }
        sqlite3_exec(opened, "COMMIT", nullptr, nullptr, nullptr);
    }
    return added;
}

}  // namespace pellago::bench
