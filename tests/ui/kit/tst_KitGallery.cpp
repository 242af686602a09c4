#include "support/FailOnWarnings.h"
#include "ui/kit/AppDesign.h"
#include "ui/kit/KitTypes.h"
#include "ui/kit/SymbolMap.h"

#include <QDir>
#include <QQmlContext>
#include <QQuickItem>
#include <QQuickView>
#include <QTest>

using namespace quillmarsh;

namespace {

/// Where the pictures go, to be looked at; a folder below the working folder unless QUILLMARSH_SCREENSHOTS says.
QString pictureFile(const QString& name)
{
    const QString folder = qEnvironmentVariable("QUILLMARSH_SCREENSHOTS", QStringLiteral("screenshots"));
    QDir().mkpath(folder);
    const QString scale = qEnvironmentVariable("QT_SCALE_FACTOR", QStringLiteral("1"));
    return QStringLiteral("%1/%2@%3x.png").arg(folder, name, scale);
}

} // namespace

/// Shows every control in every state.
class tst_KitGallery final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void gallery();
    void popup();
    void sheet();
    void alert();

private:
    std::unique_ptr<QQuickView> show(const QString& file);
};

void tst_KitGallery::initTestCase()
{
    test::failOnWarnings();
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    registerKitTypes();
}

std::unique_ptr<QQuickView> tst_KitGallery::show(const QString& file)
{
    auto view = std::make_unique<QQuickView>();
    view->rootContext()->setContextProperty(QStringLiteral("kitSymbols"), SymbolMap::symbols());
    view->setSource(QUrl(QStringLiteral("qrc:/gallery/") + file));
    view->show();
    view->requestActivate();
    return view->status() == QQuickView::Ready && QTest::qWaitForWindowActive(view.get()) ? std::move(view) : nullptr;
}

void tst_KitGallery::gallery()
{
    const auto view = show(QStringLiteral("Gallery.qml"));
    QVERIFY(view);
    view->rootObject()->findChild<QQuickItem*>(QStringLiteral("secondary"))->forceActiveFocus(Qt::TabFocusReason);
    QTest::qWait(300);
    QVERIFY(view->grabWindow().save(pictureFile(QStringLiteral("kit"))));
}

void tst_KitGallery::popup()
{
    const auto view = show(QStringLiteral("Gallery.qml"));
    QVERIFY(view);
    auto* model = view->rootObject()->findChild<QQuickItem*>(QStringLiteral("model"));
    model->forceActiveFocus(Qt::TabFocusReason);
    QTest::keyClick(view.get(), Qt::Key_Down);
    QTRY_VERIFY(model->property("opened").toBool());
    QTest::qWait(100);
    QVERIFY(view->grabWindow().save(pictureFile(QStringLiteral("kit-menu"))));
    QTest::keyClick(view.get(), Qt::Key_Down);
    QTest::keyClick(view.get(), Qt::Key_Return);
    QTRY_VERIFY(!model->property("opened").toBool());
    QCOMPARE(model->property("currentIndex").toInt(), 2);
    QVERIFY(model->hasActiveFocus());
}

void tst_KitGallery::sheet()
{
    const auto view = show(QStringLiteral("GallerySheets.qml"));
    QVERIFY(view);
    auto* sheet = view->rootObject()->findChild<QQuickItem*>(QStringLiteral("sheet"));
    sheet->setProperty("open", true);
    QTest::qWait(400);
    QVERIFY(view->grabWindow().save(pictureFile(QStringLiteral("kit-sheet"))));
}

void tst_KitGallery::alert()
{
    const auto view = show(QStringLiteral("GallerySheets.qml"));
    QVERIFY(view);
    auto* alert = view->rootObject()->findChild<QQuickItem*>(QStringLiteral("alert"));
    alert->setProperty("open", true);
    QTest::qWait(400);
    QVERIFY(view->grabWindow().save(pictureFile(QStringLiteral("kit-alert"))));
}

QTEST_MAIN(tst_KitGallery)
#include "tst_KitGallery.moc"
