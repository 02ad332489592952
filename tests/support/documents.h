#pragma once

#include <chrono>
#include <string>

#include "platform/net/http_session.h"
#include "platform/xml/document_source.h"
#include "platform/xml/xml_document.h"
#include "support/wait_until.h"

namespace pellago::test {

/// For documents that are opened through a session.
inline XmlDocument::WebOpener By(HttpSession& session) {
    return [&session](const std::string& url) { return session.Open(url); };
}

inline bool IsComplete(const XmlDocument& document) { return document.ReadyState() == ReadyState::kComplete; }

/// Loads a document and waits for it: the text of its root element, or "!" and the reason of the failure.
inline std::string Load(XmlDocument& document, const std::string& address) {
    document.Load(address);
    if (!WaitUntil([&] { return IsComplete(document); })) return "!did not end";
    const auto root = document.DocumentElement();
    return root ? root->Text() : "!" + document.ParseError().reason;
}
inline std::string Load(HttpSession& session, const std::string& address) {
    XmlDocument document(By(session));
    return Load(document, address);
}

}  // namespace pellago::test
