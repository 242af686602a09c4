#include "support/FailOnWarnings.h"
#include "ui/settings/WindowStates.h"

#include <QDir>

using namespace quillmarsh;
using test::StatefulWindow;
using test::windowStates;

/// Pictures of the settings window in each of its states, in "screenshots" of the build folder, to be looked
/// at.
class tst_SettingsScreenshots final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        folder_ = QDir(QCoreApplication::applicationDirPath() + QStringLiteral("/../screenshots"));
        QVERIFY(folder_.mkpath(QStringLiteral(".")));
    }

    void init() { test::failOnWarnings(); }

    void states_data() { test::addStateRows(); }
    void states()
    {
        QFETCH(int, position);
        const auto& state = windowStates().at(size_t(position));
        const StatefulWindow window(state);
        shoot(window.driver->view(), state.name);
    }

    void manyRewrites()
    {
        test::WindowState state{QString(), SettingsSection::general, {}, [](test::SettingsFixture& fixture) {
                                    for (int count = 0; count < 1284; ++count)
                                        fixture.rewrite.settings.recordCompletedRewrite();
                                }};
        const StatefulWindow window(state);
        shoot(window.driver->view(), QStringLiteral("overview-used"));
    }

    void manyWritingActions()
    {
        std::vector<InstructionShortcut> list = InstructionShortcut::defaultShortcuts();
        for (int number = 1; number <= 30; ++number)
            list.push_back({QUuid::createUuid(), QStringLiteral("إجراء رقم %1").arg(number),
                            QStringLiteral("x"), QStringLiteral("star"), number % 40, 0x1E0000});
        test::WindowState state{
            QString(), SettingsSection::shortcuts, {}, [&](test::SettingsFixture& fixture) {
                fixture.rewrite.settings.setInstructionShortcuts(list);
            }};
        const StatefulWindow window(state);
        shoot(window.driver->view(), QStringLiteral("actions-many"));
    }

private:
    void shoot(QQuickView& view, const QString& name)
    {
        const QImage picture = view.grabWindow();
        QVERIFY(!picture.isNull());
        const qreal ratio = view.devicePixelRatio();
        QString suffix = qFuzzyCompare(ratio, 1.0) ? QString() : QStringLiteral("@%1x").arg(ratio);
        if (AppDesign::font(10).pixelSize() > 10)
            suffix += QStringLiteral("-large-text");
        QVERIFY(picture.save(folder_.filePath(QStringLiteral("settings-%1%2.png").arg(name, suffix))));
    }

    QDir folder_;
};

QTEST_MAIN(tst_SettingsScreenshots)
#include "tst_SettingsScreenshots.moc"
