#include "chatgpt/ChatGPTModel.h"

#include "ai/AIError.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace quillmarsh {

namespace {

QString member(const QJsonValue& model, const char* name)
{
    const QJsonValue value = model[QLatin1String(name)];
    if (!value.isString())
        throw AIError::invalidResponse();
    return value.toString();
}

} // namespace

QList<ChatGPTModel> ChatGPTModel::listed(const QByteArray& document)
{
    const QJsonValue models = QJsonDocument::fromJson(document).object().value(QLatin1String("models"));
    if (!models.isArray())
        throw AIError::invalidResponse();
    QList<ChatGPTModel> list;
    for (const QJsonValue& entry : models.toArray()) {
        const ChatGPTModel model{member(entry, "slug"), member(entry, "display_name"),
                                 member(entry, "visibility")};
        if (model.visibility == QLatin1String("list"))
            list.append(model);
    }
    return list;
}

} // namespace quillmarsh
