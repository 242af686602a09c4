// quick-text FILE: a Qt Quick text area with the file's text; writes the file anew at every change.
#include <QFile>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickTextDocument>
#include <QQuickWindow>
#include <QTextDocument>

namespace {

constexpr const char* scene = R"(
    import QtQuick
    Window {
        width: 640; height: 360; visible: true; title: "Qt Quick text"
        TextEdit {
            objectName: "editor"
            anchors.fill: parent; focus: true; selectByKeyboard: true; text: startText
        }
    }
)";

} // namespace

int main(int argc, char* argv[])
{
    const QGuiApplication application(argc, argv);
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QFile file(QGuiApplication::arguments().value(1));
    if (!file.open(QIODevice::ReadOnly))
        return 1;
    QQmlApplicationEngine engine;
    engine.rootContext()->setContextProperty(QStringLiteral("startText"), QString::fromUtf8(file.readAll()));
    file.close();
    engine.loadData(scene);
    auto* const editor = engine.rootObjects().value(0)->findChild<QObject*>(QStringLiteral("editor"));
    auto* const document = editor->property("textDocument").value<QQuickTextDocument*>()->textDocument();
    QObject::connect(document, &QTextDocument::contentsChanged, document, [&file, document] {
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            file.write(document->toPlainText().toUtf8());
        file.close();
    });
    return QGuiApplication::exec();
}
