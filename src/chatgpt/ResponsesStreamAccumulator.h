#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace quillmarsh {

/// Turns the events of one streamed answer into its text.
struct ResponsesStreamAccumulator
{
    QString text;                     ///< every delta so far
    std::optional<QString> finalText; ///< as "response.completed" tells it
    bool completed = false;           ///< "response.completed" was seen

    /// Takes the payload of one event. Throws AIError::invalidResponse for anything that is no such payload,
    /// and CodexOAuthError for an event that tells a failure.
    void consume(const QByteArray& data);
    /// The answer at the end of the stream, trimmed. Throws AIError::invalidResponse when there is none:
    /// what is only a part of an answer is never handed out.
    [[nodiscard]] QString result() const;
};

} // namespace quillmarsh
