#include "ui/kit/SymbolMap.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

namespace quillmarsh::SymbolMap {

namespace {

const QJsonObject& table()
{
    static const QJsonObject entries = [] {
        QFile file(QStringLiteral(":/quillmarsh/icons/symbols.json"));
        if (!file.open(QIODevice::ReadOnly))
            return QJsonObject();
        return QJsonDocument::fromJson(file.readAll()).object();
    }();
    return entries;
}

} // namespace

QString drawing(const QString& symbol)
{
    const QString name = table().value(symbol).toString(QStringLiteral("pen-line"));
    return QStringLiteral(":/quillmarsh/icons/lucide/%1.svg").arg(name);
}

bool contains(const QString& symbol)
{
    return table().contains(symbol);
}

QStringList symbols()
{
    return table().keys();
}

} // namespace quillmarsh::SymbolMap
