// A plain Qt 6 text field for the end-to-end tests: text-field TEXTFILE [KEYLOG]. It starts with the file's
// text, writes the file anew at every change, and appends each key press it receives to the key log.
#include <QApplication>
#include <QFile>
#include <QKeyEvent>
#include <QPlainTextEdit>

#include <functional>

namespace {

void write(const QString& path, const QByteArray& bytes, QIODevice::OpenMode mode)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | mode))
        file.write(bytes);
}

class KeyLog final : public QObject
{
public:
    explicit KeyLog(QString path) : path_(std::move(path)) {}

    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::KeyPress) {
            const auto* key = static_cast<QKeyEvent*>(event);
            const QKeySequence keys(key->key() | key->modifiers());
            write(path_, keys.toString(QKeySequence::PortableText).toUtf8() + '\n', QIODevice::Append);
        }
        return false;
    }

private:
    QString path_;
};

} // namespace

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    QPlainTextEdit editor;
    QFile file(arguments.value(1));
    if (file.open(QIODevice::ReadOnly))
        editor.setPlainText(QString::fromUtf8(file.readAll()));
    file.close();
    QObject::connect(&editor, &QPlainTextEdit::textChanged, &editor,
                     [&] { write(file.fileName(), editor.toPlainText().toUtf8(), QIODevice::Truncate); });
    KeyLog log(arguments.value(2));
    if (arguments.size() > 2)
        editor.installEventFilter(&log);
    editor.setWindowTitle(QStringLiteral("Text field"));
    editor.resize(640, 360);
    editor.show();
    return QApplication::exec();
}
