#include "tests/platform/URLSessionFixture.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QSslSocket>

namespace {

// Made for these tests and trusted by them alone: a certificate for 127.0.0.1, good until 2126, and
// its key.
const QString pem = QStringLiteral(":/localhost.pem");

QByteArray pemContent()
{
    QFile file(pem);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

/// Answers every request on a secure connection with the same bytes.
class SecureServer : public QSslServer
{
public:
    explicit SecureServer(const QByteArray &answer)
    {
        QSslConfiguration configuration;
        configuration.setLocalCertificate(QSslCertificate(pemContent()));
        configuration.setPrivateKey(QSslKey(pemContent(), QSsl::Ec));
        setSslConfiguration(configuration);
        connect(this, &QTcpServer::pendingConnectionAvailable, this, [this, answer] {
            QTcpSocket *socket = nextPendingConnection();
            const auto reply = [this, socket, answer] {
                if (!socket->readAll().contains("\r\n\r\n"))
                    return;
                ++requests;
                socket->write(answer);
                socket->disconnectFromHost();
            };
            connect(socket, &QTcpSocket::readyRead, this, reply);
            if (socket->bytesAvailable() > 0)
                reply();
        });
        EXPECT_TRUE(listen(QHostAddress::LocalHost));
    }

    [[nodiscard]] QByteArray address() const
    {
        return "https://127.0.0.1:" + QByteArray::number(serverPort()) + "/";
    }

    int requests = 0;
};

using URLSessionSecureTest = URLSessionFixture;

TEST_F(URLSessionSecureTest, FollowsARedirectToATrustedServerButNoneToHttp)
{
    const SecureServer secure("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello");
    server.serve("/file", Reply::redirect(secure.address()));
    EXPECT_EQ(download("/file").calls, failure);
    EXPECT_EQ(secure.requests, 0);

    const QString trusted = temporary.filePath(QStringLiteral("trusted.pem"));
    ASSERT_TRUE(QFile::copy(pem, trusted));
    qputenv("SSL_CERT_FILE", trusted.toUtf8());
    const Told told = download("/file");
    EXPECT_EQ(told.content, "hello");
    EXPECT_EQ(told.response->url.scheme(), QStringLiteral("https"));

    const SecureServer back("HTTP/1.1 302 Found\r\nLocation: " + server.url("/file").toEncoded()
                            + "\r\nContent-Length: 0\r\n\r\n");
    server.forgetRequests();
    const Told sentBack = download(QUrl(QString::fromLatin1(back.address())));
    qunsetenv("SSL_CERT_FILE");
    EXPECT_TRUE(sentBack.error && !sentBack.response);
    EXPECT_EQ(back.requests, 1);
    EXPECT_EQ(server.requests().size(), 0);
}

} // namespace
