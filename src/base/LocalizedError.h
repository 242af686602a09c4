#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

namespace quillmarsh {

/// An error whose description is the sentence the user reads. Every failure that can reach a person derives
/// from it; nothing else in an error is ever shown.
class LocalizedError : public std::exception
{
public:
    explicit LocalizedError(QString description)
        : description_(std::move(description)), what_(description_.toUtf8())
    {}

    [[nodiscard]] const QString& errorDescription() const { return description_; }
    [[nodiscard]] const char* what() const noexcept override { return what_.constData(); }

private:
    QString description_;
    QByteArray what_;
};

/// How a cancelled flow ends. It is not a failure: whoever catches it stays silent.
class Cancelled final : public std::exception
{
public:
    [[nodiscard]] const char* what() const noexcept override { return "cancelled"; }
};

/// The sentence for any exception: a LocalizedError's own, else a general one.
[[nodiscard]] QString errorDescription(const std::exception& error);

} // namespace quillmarsh
