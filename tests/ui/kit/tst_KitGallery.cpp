#include "support/FailOnWarnings.h"
#include "support/FakePlatform.h"
#include "ui/kit/AppDesign.h"
#include "ui/kit/KitTypes.h"
#include "ui/kit/Screenshot.h"
#include "ui/kit/SymbolMap.h"

#include <QQmlContext>
#include <QQuickItem>
#include <QQuickView>
#include <QTest>

using namespace quillmarsh;

/// Shows every control in every state.
class tst_KitGallery final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { test::failOnWarnings(); }
    void gallery();
    void underThePointer();
    void withMoreContrast();
    void popup();
    void sheet();
    void alert();

private:
    std::unique_ptr<QQuickView> show(const QString& file);
    void shootOpened(const QString& name);
};

void tst_KitGallery::initTestCase()
{
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
    return view->status() == QQuickView::Ready && QTest::qWaitForWindowActive(view.get()) ? std::move(view)
                                                                                          : nullptr;
}

void tst_KitGallery::gallery()
{
    const auto view = show(QStringLiteral("Gallery.qml"));
    QVERIFY(view);
    view->rootObject()
        ->findChild<QQuickItem*>(QStringLiteral("secondary"))
        ->forceActiveFocus(Qt::TabFocusReason);
    QTest::qWait(300);
    QVERIFY(test::saveScreenshot(*view, QStringLiteral("kit")));
}

void tst_KitGallery::underThePointer()
{
    const auto view = show(QStringLiteral("Gallery.qml"));
    QVERIFY(view);
    for (const char* name :
         {"primary", "secondary", "quiet", "row", "quietRow", "sidebar", "option", "menuRow"}) {
        auto* item = view->rootObject()->findChild<QQuickItem*>(QString::fromLatin1(name));
        QVERIFY2(item, name);
        const QPoint middle = item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
        QTest::mouseMove(view.get(), middle);
        QTRY_VERIFY(item->property("hovered").toBool());
        const QString file = QStringLiteral("kit-%1-").arg(QLatin1String(name));
        const QRect crop = item->mapRectToScene(item->boundingRect()).toRect().marginsAdded({12, 12, 12, 12});
        QVERIFY(test::saveScreenshot(*view, file + QLatin1String("hovered"), crop));
        QTest::mousePress(view.get(), Qt::LeftButton, {}, middle);
        QTest::qWait(150); // the press animation, 120 ms
        QVERIFY(test::saveScreenshot(*view, file + QLatin1String("pressed"), crop));
        QTest::mouseRelease(view.get(), Qt::LeftButton, {}, middle);
    }
}

void tst_KitGallery::withMoreContrast()
{
    test::FakeDesktopAppearance appearance;
    appearance.setIncreaseContrast(true);
    appearance.setReduceMotion(true);
    AppDesign::setAppearance(&appearance);
    const auto view = show(QStringLiteral("Gallery.qml"));
    QVERIFY(view);
    QVERIFY(test::saveScreenshot(*view, QStringLiteral("kit-contrast")));
    AppDesign::setAppearance(nullptr);
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
    QVERIFY(test::saveScreenshot(*view, QStringLiteral("kit-menu")));
    QTest::keyClick(view.get(), Qt::Key_Down);
    QTest::keyClick(view.get(), Qt::Key_Return);
    QTRY_VERIFY(!model->property("opened").toBool());
    QCOMPARE(model->property("currentIndex").toInt(), 2);
    QVERIFY(model->hasActiveFocus());
}

void tst_KitGallery::sheet()
{
    shootOpened(QStringLiteral("sheet"));
}

void tst_KitGallery::alert()
{
    shootOpened(QStringLiteral("alert"));
}

void tst_KitGallery::shootOpened(const QString& name)
{
    const auto view = show(QStringLiteral("GallerySheets.qml"));
    QVERIFY(view);
    view->rootObject()->findChild<QQuickItem*>(name)->setProperty("open", true);
    QTest::qWait(400); // until it has come to rest
    QVERIFY(test::saveScreenshot(*view, QStringLiteral("kit-") + name));
}

QTEST_MAIN(tst_KitGallery)
#include "tst_KitGallery.moc"
