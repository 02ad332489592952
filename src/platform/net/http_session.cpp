#include "platform/net/http_session.h"

#include "request_scheduler.h"

namespace pellago {

HttpSession::HttpSession(const Settings& settings)
    : scheduler_(std::make_shared<RequestScheduler>(settings)) {}
HttpSession::~HttpSession() { Cancel(); }

void HttpSession::Expect(const std::vector<std::string>& addresses) { scheduler_->Expect(addresses); }

std::shared_ptr<DocumentSource> HttpSession::Open(const std::string& url) {
    return scheduler_->TakeOver(url);
}

void HttpSession::Cancel() { scheduler_->Cancel(); }

}  // namespace pellago
