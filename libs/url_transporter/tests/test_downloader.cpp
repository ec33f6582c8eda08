#include "url_transporter/downloader.h"

#include "local_http_server.h"

#include <gtest/gtest.h>

using transporter::Downloader;
using transporter::DownloaderReqInfo;

namespace {

class DownloaderTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_server.listening()); }

    DownloaderReqInfo request(const char* path) { return DownloaderReqInfo(m_server.url(QString::fromLatin1(path))); }

    LocalHttpServer m_server;
};

}  // namespace

TEST_F(DownloaderTest, ReturnsBodyOfSuccessfulReplyAndSendsTheRequestedHeaders)
{
    m_server.respond("/setting/app", 200, "{\"success\":true,\"data\":{\"a\":\"\xE5\xAE\xAB\"}}");
    DownloaderReqInfo info = request("/setting/app");
    info.headers << QStringLiteral("X-Ksid: k-9");
    QString error = QStringLiteral("stale");
    EXPECT_EQ(Downloader::downloadFileContent(info, &error), QString::fromUtf8("{\"success\":true,\"data\":{\"a\":\"宫\"}}"));
    EXPECT_TRUE(error.isEmpty());
    ASSERT_EQ(m_server.requests().size(), 1);
    EXPECT_TRUE(m_server.requests().first().startsWith("GET /setting/app HTTP/1.1\r\n"));
    EXPECT_TRUE(m_server.requests().first().contains("\r\nX-Ksid: k-9\r\n"));
}

TEST_F(DownloaderTest, ErrorStatusOrReplyOverTheLimitGivesEmptyTextAndSaysWhy)
{
    m_server.respond("/broken", 500, "{\"success\":true}");
    m_server.respond("/big", 200, QByteArray(4096, 'x'));
    DownloaderReqInfo big = request("/big");
    big.maxBytes = 1000;
    const std::pair<DownloaderReqInfo, QString> cases[] = {{request("/missing"), "HTTP status 404"},
                                                           {request("/broken"), "HTTP status 500"},
                                                           {big, "reply longer than 1000 bytes"}};
    for (const auto& [info, expected] : cases) {
        QString error;
        EXPECT_TRUE(Downloader::downloadFileContent(info, &error).isEmpty()) << expected.toStdString();
        EXPECT_EQ(error, expected);
    }
}

// A silent server and a closed port both end within the timeout, with the reason given.
TEST_F(DownloaderTest, SilentServerOrClosedPortGivesEmptyTextWithinTheTimeout)
{
    m_server.hang("/slow");
    DownloaderReqInfo silent = request("/slow");
    silent.timeoutMs = 300;
    DownloaderReqInfo closed(QStringLiteral("http://127.0.0.1:%1/app").arg(LocalHttpServer::closedPort()));
    closed.timeoutMs = 2000;
    for (const DownloaderReqInfo& info : {silent, closed}) {
        QString error;
        EXPECT_TRUE(Downloader::downloadFileContent(info, &error).isEmpty());
        EXPECT_FALSE(error.isEmpty());
    }
    EXPECT_TRUE(Downloader::downloadFileContent(DownloaderReqInfo(QStringLiteral("file:///etc/hostname"))).isEmpty());
    EXPECT_TRUE(Downloader::downloadFileContent(DownloaderReqInfo(QString())).isEmpty());
}
