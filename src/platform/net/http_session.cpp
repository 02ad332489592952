#include "platform/net/http_session.h"

#include "read_ahead.h"

namespace pellago {

HttpSession::HttpSession(const Settings& settings) : read_ahead_(std::make_shared<ReadAhead>(settings)) {}
HttpSession::~HttpSession() { Cancel(); }

void HttpSession::Expect(const std::vector<std::string>& addresses) { read_ahead_->Expect(addresses); }

std::shared_ptr<DocumentSource> HttpSession::Open(const std::string& url) {
    return read_ahead_->TakeOver(url);
}

void HttpSession::Cancel() { read_ahead_->Cancel(); }

}  // namespace pellago
