#pragma once

#include <libxml/parser.h>

#include <memory>
#include <string>
#include <string_view>

#include "platform/xml/xml_document.h"
#include "xml_tree.h"

namespace pellago {

struct XmlParserDeleter {
    void operator()(xmlParserCtxt* context) const;
};

/// Builds the tree of one document from its bytes as they arrive. Strict, and safe with hostile documents:
/// nothing outside the document is read, and depth, sizes and counts are bounded.
class XmlParser final {
public:
    /// `charset` is what the transfer says about the encoding, empty when it says nothing. A byte-order mark
    /// outranks it, and it outranks the XML declaration; one that nobody knows is ignored.
    explicit XmlParser(std::string charset);

    /// False when the document cannot be well-formed any more; Error() then says why.
    bool Feed(std::string_view bytes);

    /// Closes the document and gives it away; null when it is not well-formed.
    XmlTree Finish();

    const XmlParseError& Error() const { return error_; }

    // For the callbacks of the library:
    /// Counts nodes about to be made; false ends the parse.
    bool TakeNodes(std::size_t count);
    /// Counts an attribute declaration with a default value; ends the parse when there are too many.
    void TakeDefault();
    /// Ends the parse with that error; false.
    bool Refuse(const char* reason);

private:
    bool Start(std::string_view bytes);
    bool Push(std::string_view bytes);
    bool CheckUnparsed(std::string_view bytes);
    bool Fail(const char* own_reason = nullptr);
    bool Check(int result);

    std::unique_ptr<xmlParserCtxt, XmlParserDeleter> context_;
    std::string charset_;
    std::string first_bytes_;  ///< kept until there are enough of them to tell the encoding
    bool started_ = false;
    std::size_t equal_signs_ = 0;
    std::size_t nodes_ = 0;
    std::size_t defaults_ = 0;
    XmlParseError error_;
};

}  // namespace pellago
