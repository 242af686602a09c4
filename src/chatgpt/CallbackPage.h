#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace quillmarsh {

/// The HTTP text of the callback server.
struct CallbackPage
{
    enum class Verdict { accepted, refused };

    /// The whole response, head and page.
    [[nodiscard]] static QByteArray response(Verdict verdict);
    /// The target of a GET request's first line; none for anything else.
    [[nodiscard]] static std::optional<QString> requestTarget(const QString& request);
};

} // namespace quillmarsh
