#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace quillmarsh {

/// A model that the account may use, known by its `slug`.
struct ChatGPTModel
{
    QString slug;
    QString displayName;
    QString visibility; ///< only "list" is offered

    bool operator==(const ChatGPTModel&) const = default;

    /// The offered models of a catalogue document, in its order. Throws AIError::invalidResponse when the
    /// document or any model in it is incomplete.
    [[nodiscard]] static QList<ChatGPTModel> listed(const QByteArray& document);
};

} // namespace quillmarsh
