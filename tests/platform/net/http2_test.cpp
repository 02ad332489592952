#include <gmock/gmock.h>

#include "support/documents.h"
#include "support/support.h"
#include "support/tls_server.h"

namespace pellago::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Http2 = TlsServer::Http2;

class AnHttp2Server : public testing::Test {
protected:
    /// The document's text, empty for the right one.
    static std::string Load(const std::string& address) {
        HttpSession session({.cache = false});
        return test::Load(session, address);
    }

    EnvVar trusted_{"SSL_CERT_FILE", CertificateFile()};
};

TEST_F(AnHttp2Server, IsAskedInHttp2OverOneConnection) {
    const TlsServer server(Http2::kSpoken, "<a/>");
    for (int time = 0; time < 3; ++time) EXPECT_EQ(Load(server.Url()), "");
    EXPECT_THAT(server.Requests(), ElementsAre("h2", "h2", "h2"));
    EXPECT_EQ(server.Connections(), 1U);
}

TEST_F(AnHttp2Server, ThatDoesItWrongIsAskedOnceMoreInHttp1) {
    for (const auto wrong : {Http2::kBroken, Http2::kStreamEnded, Http2::kGoneAway}) {
        SCOPED_TRACE(static_cast<int>(wrong));
        const TlsServer server(wrong, "<a/>");
        EXPECT_EQ(Load(server.Url()), "");
        const auto requests = server.Requests();
        // Newer versions of libcurl repeat some of them in HTTP/2 by themselves.
        ASSERT_GE(requests.size(), 2U);
        EXPECT_EQ(requests.front(), "h2");
        EXPECT_EQ(requests.back(), "http/1.1");
    }
}

TEST_F(AnHttp2Server, WhoseCertificateIsForAnotherNameIsNotAsked) {
    const TlsServer server(Http2::kSpoken, "<a/>");
    EXPECT_NE(Load(server.Url("127.0.0.2")), "");
    EXPECT_THAT(server.Requests(), IsEmpty());
}

}  // namespace
}  // namespace pellago::test
