#pragma once

#include <QSslCertificate>
#include <QSslKey>
#include <QTcpServer>

#include <memory>

namespace quillmarsh::test {

/// A certificate for 127.0.0.1, made and signed by itself at run time.
class TestTls final
{
public:
    TestTls();

    [[nodiscard]] const QSslCertificate& certificate() const { return certificate_; }
    /// A TLS listener with this certificate.
    [[nodiscard]] std::unique_ptr<QTcpServer> makeListener() const;

private:
    QSslCertificate certificate_;
    QSslKey key_;
};

} // namespace quillmarsh::test
