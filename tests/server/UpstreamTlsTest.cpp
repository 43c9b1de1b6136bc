#include "server/TemporaryFolder.h"
#include "server/upstream/UpstreamTransport.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/write.hpp>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <cstdlib>
#include <thread>

namespace lumivane::service {

namespace asio = boost::asio;
namespace ssl = asio::ssl;
using namespace std::chrono_literals;
using Outcome = UpstreamReply::Outcome;

namespace {

// A certificate that vouches for itself, and its key, in one file.
void writeCertificate(const std::string& path, const char* alternativeName) {
    EVP_PKEY* key = EVP_RSA_gen(2048);
    X509* certificate = X509_new();
    X509_set_version(certificate, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate), -60);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 3600);
    X509_set_pubkey(certificate, key);
    X509_NAME* name = X509_get_subject_name(certificate);
    const auto* text = reinterpret_cast<const unsigned char*>("test");
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, text, -1, -1, 0);
    X509_set_issuer_name(certificate, name);
    X509_EXTENSION* extension =
        X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, alternativeName);
    X509_add_ext(certificate, extension, -1);
    X509_sign(certificate, key, EVP_sha256());
    FILE* file = std::fopen(path.c_str(), "w");
    PEM_write_X509(file, certificate);
    PEM_write_PrivateKey(file, key, nullptr, nullptr, 0, nullptr, nullptr);
    std::fclose(file);
    X509_EXTENSION_free(extension);
    X509_free(certificate);
    EVP_PKEY_free(key);
}

} // namespace

// A server with TLS that answers one client, which has to trust its certificate first.
class UpstreamTlsTest : public testing::Test {
protected:
    UpstreamReply exchange(const char* alternativeName, const std::string& trusted) {
        writeCertificate(file("server.pem"), alternativeName);
        ::setenv("SSL_CERT_FILE", file(trusted).c_str(), 1);
        ::setenv("SSL_CERT_DIR", folder.path().c_str(), 1);
        asio::io_context serverContext;
        asio::ip::tcp::acceptor acceptor(serverContext,
                                         {asio::ip::make_address("127.0.0.1"), std::uint16_t{0}});
        std::thread server([&] { serveOne(serverContext, acceptor); });
        UpstreamRequest request;
        request.url = {true, "127.0.0.1", acceptor.local_endpoint().port(), "/c"};
        const auto transport = makeHttpUpstreamTransport();
        asio::io_context context;
        UpstreamReply reply;
        auto done = [&reply](const std::exception_ptr&, UpstreamReply given) {
            reply = std::move(given);
        };
        asio::co_spawn(context, transport->send(std::move(request), monotonicNow() + 10s), done);
        context.run();
        server.join();
        ::unsetenv("SSL_CERT_FILE");
        ::unsetenv("SSL_CERT_DIR");
        return reply;
    }

    std::string file(const std::string& name) const { return (folder.path() / name).string(); }

    std::atomic<bool> wasAsked = false;
    std::string answer = "HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nfine";
    bool takesLeave = false; // with the closing handshake

private:
    void serveOne(asio::io_context& context, asio::ip::tcp::acceptor& acceptor) {
        ssl::context tls(ssl::context::tls_server);
        tls.use_certificate_chain_file(file("server.pem"));
        tls.use_private_key_file(file("server.pem"), ssl::context::pem);
        ssl::stream<asio::ip::tcp::socket> stream(context, tls);
        boost::system::error_code error;
        acceptor.accept(stream.next_layer(), error);
        stream.handshake(ssl::stream_base::server, error);
        std::array<char, 4096> bytes{};
        if (!error && stream.read_some(asio::buffer(bytes), error) > 0) {
            wasAsked = true;
            asio::write(stream, asio::buffer(answer), error);
        }
        if (takesLeave) {
            stream.shutdown(error);
        }
    }

    test::TemporaryFolder folder;
};

TEST_F(UpstreamTlsTest, TalksToAServerWithATrustedCertificate) {
    const UpstreamReply reply = exchange("IP:127.0.0.1", "server.pem");
    EXPECT_EQ(reply.outcome, Outcome::answered);
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body, "fine");
}

TEST_F(UpstreamTlsTest, ABodyWithoutALengthEndsWithTheClosingHandshake) {
    answer = "HTTP/1.0 200 OK\r\n\r\nfine";
    takesLeave = true;
    const UpstreamReply reply = exchange("IP:127.0.0.1", "server.pem");
    EXPECT_EQ(reply.outcome, Outcome::answered);
    EXPECT_EQ(reply.body, "fine");
}

// Whoever cuts a connection must not decide where an answer ends.
TEST_F(UpstreamTlsTest, ABodyWithoutALengthThatIsCutOffIsNone) {
    answer = "HTTP/1.0 200 OK\r\n\r\nfine";
    EXPECT_EQ(exchange("IP:127.0.0.1", "server.pem").outcome, Outcome::unreachable);
}

TEST_F(UpstreamTlsTest, SendsNothingToAServerThatNobodyVouchesFor) {
    EXPECT_EQ(exchange("IP:127.0.0.1", "none.pem").outcome, Outcome::untrusted);
    EXPECT_FALSE(wasAsked);
}

TEST_F(UpstreamTlsTest, SendsNothingToAServerWithAnotherName) {
    EXPECT_EQ(exchange("DNS:models.example.org", "server.pem").outcome, Outcome::untrusted);
    EXPECT_FALSE(wasAsked);
}

} // namespace lumivane::service
