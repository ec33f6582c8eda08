#include "url_transporter/downloader.h"

#include "local_http_server.h"

#include <gtest/gtest.h>

using transporter::Downloader;
using transporter::DownloaderReqInfo;

namespace {

class DownloaderTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_server.listening()); }
    LocalHttpServer m_server;
};

}  // namespace

TEST_F(DownloaderTest, ReturnsBodyOfSuccessfulReply)
{
    m_server.respond("/setting/app", 200, "{\"success\":true,\"data\":{\"a\":\"\xE5\xAE\xAB\"}}");
    QString error = QStringLiteral("stale");
    EXPECT_EQ(Downloader::downloadFileContent(DownloaderReqInfo(m_server.url(QStringLiteral("/setting/app"))), &error),
              QString::fromUtf8("{\"success\":true,\"data\":{\"a\":\"宫\"}}"));
    EXPECT_TRUE(error.isEmpty());
}

TEST_F(DownloaderTest, SendsTheRequestedHeaders)
{
    m_server.respond("/h", 200, "ok");
    DownloaderReqInfo request(m_server.url(QStringLiteral("/h")));
    request.headers << QStringLiteral("X-Ksid: k-9");
    EXPECT_EQ(Downloader::downloadFileContent(request), "ok");
    ASSERT_EQ(m_server.requests().size(), 1);
    EXPECT_TRUE(m_server.requests().first().startsWith("GET /h HTTP/1.1\r\n"));
    EXPECT_TRUE(m_server.requests().first().contains("\r\nX-Ksid: k-9\r\n"));
}

TEST_F(DownloaderTest, ErrorStatusGivesEmptyText)
{
    m_server.respond("/broken", 500, "{\"success\":true}");
    QString error;
    EXPECT_TRUE(Downloader::downloadFileContent(DownloaderReqInfo(m_server.url(QStringLiteral("/missing"))), &error).isEmpty());
    EXPECT_EQ(error, "HTTP status 404");
    EXPECT_TRUE(Downloader::downloadFileContent(DownloaderReqInfo(m_server.url(QStringLiteral("/broken")))).isEmpty());
}

TEST_F(DownloaderTest, ReplyOverTheLimitGivesEmptyText)
{
    m_server.respond("/big", 200, QByteArray(4096, 'x'));
    DownloaderReqInfo request(m_server.url(QStringLiteral("/big")));
    request.maxBytes = 1000;
    QString error;
    EXPECT_TRUE(Downloader::downloadFileContent(request, &error).isEmpty());
    EXPECT_EQ(error, "reply longer than 1000 bytes");
}

TEST_F(DownloaderTest, SilentServerGivesEmptyTextAfterTheTimeout)
{
    m_server.hang("/slow");
    DownloaderReqInfo request(m_server.url(QStringLiteral("/slow")));
    request.timeoutMs = 300;
    QString error;
    EXPECT_TRUE(Downloader::downloadFileContent(request, &error).isEmpty());
    EXPECT_FALSE(error.isEmpty());
}

TEST(Downloader, UnreachableServerGivesEmptyText)
{
    DownloaderReqInfo request(QStringLiteral("http://127.0.0.1:%1/app").arg(LocalHttpServer::closedPort()));
    request.timeoutMs = 2000;
    QString error;
    EXPECT_TRUE(Downloader::downloadFileContent(request, &error).isEmpty());
    EXPECT_FALSE(error.isEmpty());
}

TEST(Downloader, UnsupportedSchemeOrBadUrlGivesEmptyText)
{
    EXPECT_TRUE(Downloader::downloadFileContent(DownloaderReqInfo(QStringLiteral("file:///etc/hostname"))).isEmpty());
    EXPECT_TRUE(Downloader::downloadFileContent(DownloaderReqInfo(QString())).isEmpty());
}
