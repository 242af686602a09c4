// A plain Qt 6 text field for the end-to-end tests. It starts with the file's text and writes the file anew
// at every change.
//   text-field TEXTFILE KEYLOG          appends each key press that it receives to the key log
//   text-field TEXTFILE --password
//   text-field TEXTFILE --read-only
//   text-field TEXTFILE --beside FILE   in another window is a field with FILE's text, all of it selected
#include <QApplication>
#include <QFile>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>

#include <functional>

namespace {

void write(const QString& path, const QByteArray& bytes, QIODevice::OpenMode mode)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | mode))
        file.write(bytes);
}

QString read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
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

int show(QWidget& field)
{
    field.setWindowTitle(QStringLiteral("Text field"));
    field.resize(640, 360);
    field.show();
    return QApplication::exec();
}

int showPassword(const QString& path, const QString& text)
{
    QLineEdit field(text);
    field.setEchoMode(QLineEdit::Password);
    QObject::connect(&field, &QLineEdit::textChanged, &field,
                     [&path](const QString& now) { write(path, now.toUtf8(), QIODevice::Truncate); });
    return show(field);
}

int showEditor(const QString& path, const QString& text, const QString& keyLog, bool isReadOnly = false)
{
    QPlainTextEdit editor(text);
    QObject::connect(&editor, &QPlainTextEdit::textChanged, &editor,
                     [&] { write(path, editor.toPlainText().toUtf8(), QIODevice::Truncate); });
    editor.setReadOnly(isReadOnly);
    KeyLog log(keyLog);
    if (!keyLog.isEmpty())
        editor.installEventFilter(&log);
    return show(editor);
}

int showTwo(const QString& path, const QString& text, const QString& otherPath)
{
    QPlainTextEdit other(read(otherPath));
    QObject::connect(&other, &QPlainTextEdit::textChanged, &other,
                     [&] { write(otherPath, other.toPlainText().toUtf8(), QIODevice::Truncate); });
    other.setWindowTitle(QStringLiteral("Other field"));
    other.selectAll();
    other.show();
    return showEditor(path, text, {});
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    const QString path = QApplication::arguments().value(1), option = QApplication::arguments().value(2);
    const QString text = read(path);
    if (option == QLatin1String("--password"))
        return showPassword(path, text);
    if (option == QLatin1String("--read-only"))
        return showEditor(path, text, {}, true);
    if (option == QLatin1String("--beside"))
        return showTwo(path, text, QApplication::arguments().value(3));
    return showEditor(path, text, option);
}
