#include "ui/settings/WindowDriver.h"

#include <cstdlib>
#include <memory>
#include <xcb/xtest.h>

using namespace quillmarsh;
using test::SettingsFixture;
using test::WindowDriver;

/// Recording with a real keyboard on a real X server: the grab must neither end the recording nor stay
/// behind.
class tst_RecorderX11 final : public QObject
{
    Q_OBJECT

private slots:
    void aCombinationOfTheDesktopIsRecorded()
    {
        SettingsFixture fixture;
        fixture.virtualKeys = [](quint32 scanCode) {
            return scanCode == qKey ? std::optional<quint16>(12) : std::nullopt;
        };
        fixture.rewrite.defaults.set("settingsSection", "Shortcuts");
        WindowDriver driver(fixture);
        driver.open();
        driver.models().editor()->edit(1);
        driver.models().editor()->startRecording();
        QTRY_VERIFY(driver.focused() && driver.focused()->inherits("quillmarsh::KeyCaptureView"));
        QTest::qWait(300); // whatever the grab does to the focus has happened by then
        QVERIFY(driver.models().editor()->recorder()->isRecording());

        tap({superKey, qKey});
        QTRY_VERIFY(!driver.models().editor()->recorder()->isRecording());
        QCOMPARE(driver.models().editor()->shortcutText(), QStringLiteral("⌘Q"));
        QVERIFY(driver.window.isOpen());

        QTRY_VERIFY(driver.focused());
        QQuickItem* name = driver.item("nameField");
        name->setProperty("text", QString());
        driver.click(name);
        tap({qKey});
        QTRY_COMPARE(name->property("text").toString(), QStringLiteral("q"));
    }

private:
    static constexpr uint8_t qKey = 24;
    static constexpr uint8_t superKey = 133;

    /// Presses the keys in order and releases them in the other.
    static void tap(const std::vector<uint8_t>& keys)
    {
        const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
            xcb_connect(nullptr, nullptr), &xcb_disconnect);
        for (auto key = keys.begin(); key != keys.end(); ++key)
            xcb_test_fake_input(connection.get(), XCB_KEY_PRESS, *key, 0, XCB_NONE, 0, 0, 0);
        for (auto key = keys.rbegin(); key != keys.rend(); ++key)
            xcb_test_fake_input(connection.get(), XCB_KEY_RELEASE, *key, 0, XCB_NONE, 0, 0, 0);
        std::free(
            xcb_get_input_focus_reply(connection.get(), xcb_get_input_focus(connection.get()), nullptr));
    }
};

QTEST_MAIN(tst_RecorderX11)
#include "tst_RecorderX11.moc"
