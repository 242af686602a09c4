#include "base/Log.h"

#include <QTemporaryFile>
#include <QTest>

#include <functional>

#include <unistd.h>

using namespace quillmarsh;

namespace {

/// What `write` leaves on the standard error stream.
QByteArray standardError(const std::function<void()>& write)
{
    QTemporaryFile file;
    if (!file.open())
        qFatal("No temporary file");
    const int before = ::dup(STDERR_FILENO);
    ::dup2(file.handle(), STDERR_FILENO);
    write();
    ::dup2(before, STDERR_FILENO);
    ::close(before);
    file.seek(0);
    return file.readAll();
}

} // namespace

class tst_Log final : public QObject
{
    Q_OBJECT

private slots:
    void everyLineHasThePrefix()
    {
        const QtMessageHandler before = qInstallMessageHandler(nullptr);
        installLogging();
        const QByteArray written = standardError([] {
            qCInfo(lcQuillmarsh, "AXIsProcessTrusted = %d", 1);
            qCWarning(lcQuillmarsh, "it’s %s", "late");
            qCCritical(lcQuillmarsh, "lost");
        });
        qInstallMessageHandler(before);
        QCOMPARE(QString::fromUtf8(written), QStringLiteral("[Quillmarsh] AXIsProcessTrusted = 1\n"
                                                            "[Quillmarsh] warning: it’s late\n"
                                                            "[Quillmarsh] critical: lost\n"));
    }

    void theCategoryIsTheProducts() { QCOMPARE(lcQuillmarsh().categoryName(), "com.quillmarsh.app"); }
};

QTEST_APPLESS_MAIN(tst_Log)
#include "tst_Log.moc"
