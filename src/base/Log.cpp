#include "base/Log.h"

#include <cstdio>

namespace quillmarsh {

Q_LOGGING_CATEGORY(lcQuillmarsh, "com.quillmarsh.app")

namespace {

const char* severity(QtMsgType type)
{
    switch (type) {
    case QtWarningMsg:
        return "warning: ";
    case QtCriticalMsg:
        return "critical: ";
    case QtFatalMsg:
        return "fatal: ";
    case QtDebugMsg:
    case QtInfoMsg:
        break;
    }
    return "";
}

void writeLine(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    const QByteArray text = message.toUtf8();
    std::fprintf(stderr, "[Quillmarsh] %s%s\n", severity(type), text.constData());
    std::fflush(stderr);
}

} // namespace

void installLogging()
{
    qInstallMessageHandler(writeLine);
}

} // namespace quillmarsh
