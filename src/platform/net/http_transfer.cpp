#include "platform/net/http_transfer.h"

#include <utility>

#include "http_ahead.h"
#include "http_exchange.h"

namespace pellago {

HttpTransfer::HttpTransfer(const std::string& url, HttpEvents events, HttpSession* session)
    : exchange_(session ? session->ahead_->Take(url)
                        : std::make_shared<HttpExchange>(url, nullptr, std::weak_ptr<ExchangeObserver>())) {
    exchange_->Attach(std::move(events));
    if (session) session->ahead_->Pump();
}
HttpTransfer::~HttpTransfer() { Abort(); }

void HttpTransfer::Abort() { exchange_->Abort(); }

std::chrono::milliseconds HttpTransfer::TimeSpent() const { return exchange_->TimeSpent(); }

void HttpTransfer::Keep() { exchange_->Keep(); }

}  // namespace pellago
