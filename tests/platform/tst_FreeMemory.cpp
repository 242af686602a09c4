#include "platform/FreeMemory.h"

#include <QFile>
#include <QLocale>
#include <QTest>

using namespace quillmarsh;

namespace {

/// Pages of files that are in this process's memory.
qint64 residentFilePages()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').at(2).toLongLong() : 0;
}

} // namespace

class tst_FreeMemory final : public QObject
{
    Q_OBJECT

private slots:
    void whatOnlyTheStartNeededIsUnmapped()
    {
        const qint64 before = residentFilePages();
        giveBackFreeMemory();
        const qint64 after = residentFilePages();
        QVERIFY2(10 * after < 9 * before, qPrintable(QStringLiteral("%1 of %2").arg(after).arg(before)));
    }

    // Relocated constants, symbols that are bound late, exceptions: all of it comes back when it is used.
    void everythingStillWorks()
    {
        for (int round = 0; round < 3; ++round) {
            giveBackFreeMemory();
            QCOMPARE(QLocale(QStringLiteral("de_DE")).toString(1234.5), QStringLiteral("1.234,5"));
            QVERIFY_EXCEPTION_THROWN(throw std::runtime_error("x"), std::runtime_error);
            QObject sender;
            int calls = 0;
            connect(&sender, &QObject::objectNameChanged, &sender, [&calls] { ++calls; });
            sender.setObjectName(QString::number(round));
            QCOMPARE(calls, 1);
        }
    }
};

QTEST_MAIN(tst_FreeMemory)
#include "tst_FreeMemory.moc"
