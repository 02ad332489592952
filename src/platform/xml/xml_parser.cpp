#include "xml_parser.h"

#include <libxml/SAX2.h>
#include <libxml/encoding.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "platform/values/run_time_error.h"
#include "platform/values/text.h"
#include "platform/xml/document_source.h"

namespace pellago {
namespace {

// No NOENT, DTDLOAD or HUGE: entities stay references, nothing is fetched, and the library's own bounds hold
// (256 levels, 10 MB for one text, the depth of entities).
constexpr int kOptions =
    XML_PARSE_NONET | XML_PARSE_NOCDATA | XML_PARSE_COMPACT | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

// What a feed of 64 MiB never needs and a bomb of 64 KB would otherwise take: memory by the gigabyte, or
// minutes inside one call of the library.
constexpr std::size_t kMaxNodes = 3'000'000;
constexpr std::size_t kMaxNames = std::size_t{1} << 20U;             // bytes of different names
constexpr std::size_t kMaxInternalSubset = std::size_t{256} << 10U;  // bytes
constexpr std::size_t kLongTag = std::size_t{64} << 10U;             // bytes
constexpr std::size_t kMaxAttributes = 10'000;                       // of a long tag
constexpr std::size_t kMaxDefaults = 256;  // attributes that the internal subset declares
constexpr int kMaxNamespaces = 256;        // in force at one place
constexpr std::size_t kPiece = 16384;      // bytes a call

constexpr std::size_t kSignatureLength = 4;

XmlParser& Parser(void* context) {
    return *static_cast<XmlParser*>(static_cast<xmlParserCtxt*>(context)->_private);
}

void OnStartElement(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri,
                    int namespace_count, const xmlChar** namespaces, int attribute_count, int defaulted,
                    const xmlChar** attributes) {
    // The library looks each prefix up from the last declaration to the first, two entries each.
    if (static_cast<xmlParserCtxt*>(context)->nsNr > 2 * kMaxNamespaces) {
        Parser(context).Refuse("The document has too many namespaces");
        return;
    }
    auto nodes =
        1 + static_cast<std::size_t>(namespace_count) + 2 * static_cast<std::size_t>(attribute_count);
    for (int index = 0; index < attribute_count; ++index) {
        const auto* value = attributes + std::ptrdiff_t{5} * index + 3;  // where it begins, where it ends
        nodes += static_cast<std::size_t>(std::count(value[0], value[1], xmlChar{'&'}));
    }
    if (Parser(context).TakeNodes(nodes))
        xmlSAX2StartElementNs(context, name, prefix, uri, namespace_count, namespaces, attribute_count,
                              defaulted, attributes);
}

// For every start tag the library compares all its defaults with each other.
void OnAttributeDeclaration(void* context, const xmlChar* element, const xmlChar* name, int type, int use,
                            const xmlChar* value, xmlEnumeration* values) {
    if (value) Parser(context).TakeDefault();
    xmlSAX2AttributeDecl(context, element, name, type, use, value, values);
}

void OnReference(void* context, const xmlChar* name) {
    if (Parser(context).TakeNodes(1)) xmlSAX2Reference(context, name);
}

xmlSAXHandler MakeHandler() {
    xmlSAXHandler handler{};
    xmlSAXVersion(&handler, 2);
    handler.startElementNs = OnStartElement;
    handler.attributeDecl = OnAttributeDeclaration;
    handler.reference = OnReference;
    handler.comment = nullptr;
    handler.processingInstruction = nullptr;
    return handler;
}

// The library would print what it cannot assign to a document.
void Silence(void*, const char*, ...) {}

xmlSAXHandler* Handler() {
    static xmlSAXHandler handler = [] {
        xmlInitParser();
        xmlSetExternalEntityLoader(
            [](const char*, const char*, xmlParserCtxt*) -> xmlParserInput* { return nullptr; });
        xmlSetGenericErrorFunc(nullptr, Silence);
        return MakeHandler();
    }();
    return &handler;
}

struct Encoding {
    std::string name;      ///< empty: as the document declares it
    std::size_t mark = 0;  ///< bytes of the byte-order mark
};

/// Byte-order marks, and the form of "<" without one in encodings of more than one byte.
Encoding EncodingBySignature(std::string_view bytes) {
    using namespace std::string_view_literals;
    struct Signature {
        std::string_view bytes;
        const char* name;
        std::size_t mark;
    };
    static constexpr std::array<Signature, 9> kSignatures{{
        {"\xEF\xBB\xBF"sv, "UTF-8", 3},
        {"\xFF\xFE\0\0"sv, "UTF-32LE", 4},
        {"\0\0\xFE\xFF"sv, "UTF-32BE", 4},
        {"<\0\0\0"sv, "UTF-32LE", 0},
        {"\0\0\0<"sv, "UTF-32BE", 0},
        {"\xFF\xFE"sv, "UTF-16LE", 2},
        {"\xFE\xFF"sv, "UTF-16BE", 2},
        {"<\0"sv, "UTF-16LE", 0},
        {"\0<"sv, "UTF-16BE", 0},
    }};
    for (const auto& signature : kSignatures)
        if (bytes.starts_with(signature.bytes)) return {signature.name, signature.mark};
    return {};
}

/// False when nobody knows the name.
bool SwitchEncoding(xmlParserCtxt* context, const std::string& name) {
    if (EqualNoCase(name, "UTF-8") || EqualNoCase(name, "UTF8"))
        return xmlSwitchEncoding(context, XML_CHAR_ENCODING_UTF8) == 0;
    // A slash would begin an instruction to the converter, as in "latin1//IGNORE".
    if (name.empty() || name.find('/') != std::string::npos) return false;
    auto* handler = xmlFindCharEncodingHandler(name.c_str());
    return handler && xmlSwitchToEncoding(context, handler) == 0;
}

}  // namespace

void XmlParserDeleter::operator()(xmlParserCtxt* context) const {
    xmlFreeDoc(context->myDoc);
    xmlFreeParserCtxt(context);
}

XmlParser::XmlParser(std::string charset)
    : context_(xmlCreatePushParserCtxt(Handler(), nullptr, nullptr, 0, nullptr)),
      charset_(std::move(charset)) {
    if (!context_) throw RunTimeError(error_number::kInternalError, "", "The XML parser cannot be made");
    context_->_private = this;
    xmlCtxtUseOptions(context_.get(), kOptions);
    xmlDictSetLimit(context_->dict, kMaxNames);
}

bool XmlParser::Feed(std::string_view bytes) {
    if (error_.error_code != 0) return false;
    if (started_) return Push(bytes);
    if (first_bytes_.empty() && bytes.size() >= kSignatureLength) return Start(bytes);
    first_bytes_.append(bytes);
    return first_bytes_.size() < kSignatureLength || Start(std::exchange(first_bytes_, {}));
}

XmlTree XmlParser::Finish() {
    if (error_.error_code != 0 || (!started_ && !Start(first_bytes_))) return nullptr;
    if (!Check(xmlParseChunk(context_.get(), nullptr, 0, 1))) return nullptr;
    if (ExpandedEntitySize(*context_->myDoc) > kMaxDocument) {
        Fail("The document's entities stand for more than 64 MiB of text");
        return nullptr;
    }
    return XmlTree(std::exchange(context_->myDoc, nullptr));
}

bool XmlParser::TakeNodes(std::size_t count) {
    nodes_ += count;
    return nodes_ <= kMaxNodes || Refuse("The document has too many elements");
}

void XmlParser::TakeDefault() {
    if (++defaults_ > kMaxDefaults) Refuse("The document type declares too many attributes");
}

bool XmlParser::Refuse(const char* reason) {
    xmlStopParser(context_.get());
    return Fail(reason);
}

bool XmlParser::Start(std::string_view bytes) {
    started_ = true;
    if (bytes.empty()) return Fail("The document is empty");
    const auto [name, mark] = EncodingBySignature(bytes);
    if (SwitchEncoding(context_.get(), name.empty() ? charset_ : name))
        xmlCtxtUseOptions(context_.get(), kOptions | XML_PARSE_IGNORE_ENC);
    return Push(bytes.substr(mark));
}

bool XmlParser::Push(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto piece = bytes.substr(0, kPiece);
        bytes.remove_prefix(piece.size());
        if (!CheckUnparsed(piece)) return false;
        if (!Check(xmlParseChunk(context_.get(), piece.data(), static_cast<int>(piece.size()), 0)))
            return false;
    }
    return true;
}

// The library handles a start tag and an internal subset as a whole, once its end has come, in time that
// grows with the square of the number of attributes. Only before that can it be told to leave it.
bool XmlParser::CheckUnparsed(std::string_view bytes) {
    const auto unparsed = static_cast<std::size_t>(context_->input->end - context_->input->cur);
    if (context_->instate == XML_PARSER_DTD && unparsed > kMaxInternalSubset)
        return Fail("The document type is too large");
    if (context_->instate != XML_PARSER_START_TAG || unparsed < kLongTag) {
        equal_signs_ = 0;
        return true;
    }
    equal_signs_ += static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), '='));
    return equal_signs_ <= kMaxAttributes || Fail("An element has too many attributes");
}

bool XmlParser::Check(int result) {
    if (error_.error_code != 0) return false;
    // Where a bound of the library is exceeded it stops without calling the document not well-formed.
    if (result == 0 && context_->wellFormed && !context_->disableSAX) return true;
    return Fail();
}

bool XmlParser::Fail(const char* own_reason) {
    if (error_.error_code != 0) return false;
    const auto* error = own_reason ? nullptr : xmlCtxtGetLastError(context_.get());
    if (error && error->message) {
        error_ = {error->code, ValidUtf8(error->message)};
        error_.reason = error_.reason.substr(0, error_.reason.find_last_not_of('\n') + 1);
        if (error->line > 0) error_.reason += " (line " + std::to_string(error->line) + ")";
    } else {
        error_ = {XML_ERR_INTERNAL_ERROR,
                  own_reason ? own_reason : "The document has bytes that are not valid in its encoding"};
    }
    return false;
}

}  // namespace pellago
