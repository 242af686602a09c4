#pragma once

#include <QRegularExpression>
#include <QTest>

namespace quillmarsh::test {

/// Ends the test run when a warning is logged that the test did not announce with QTest::ignoreMessage.
/// Call in init(), since it lasts for one test function, of suites whose product code has to stay silent.
inline void failOnWarnings()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
}

} // namespace quillmarsh::test
