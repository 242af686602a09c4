#pragma once

#include "base/Task.h"
#include "chatgpt/LoopbackListener.h"

#include <QFuture>
#include <QPromise>

#include <exception>
#include <optional>

namespace quillmarsh {

/// Receives the browser's redirect at the end of one sign-in attempt: a one-shot HTTP server on 127.0.0.1,
/// on a port that the system chooses. It answers every request with a small page; the first valid callback,
/// the time-out or finish() is its one outcome. Never used again afterwards.
class OAuthCallbackServer final : public QObject
{
    Q_OBJECT

public:
    /// What the authorization server sent.
    struct Callback
    {
        std::optional<QString> code;     ///< set and not empty, unless `error` is set
        std::optional<QString> clientID; ///< of a client registered during this authorization
        std::optional<QString> error;    ///< such as "access_denied"

        bool operator==(const Callback&) const = default;
    };

    struct Reply
    {
        QByteArray response;              ///< for the browser
        std::optional<Callback> callback; ///< when the request succeeds
    };

    static constexpr std::chrono::seconds patience{300}; ///< from start() on

    /// `state` is the expected state of the attempt, `issuer` the authorization server's origin.
    OAuthCallbackServer(QString state, QString issuer, Alarms alarms = setAlarm);
    /// Whoever still waits gets Cancelled.
    ~OAuthCallbackServer() override;

    /// Begins to listen and returns the port. Throws a LocalizedError, which is then also the outcome.
    Task<quint16> start();
    /// The outcome, as soon as there is one: a callback, or CodexOAuthError "Sign-in timed out. Please try
    /// again.", or what finish() was given.
    Task<Callback> waitForCallback();
    /// Records the outcome (the first one counts) and stops listening.
    void finish(const Callback& callback);
    void finish(std::exception_ptr failure);

    /// The callback in the target of a request line, none unless path, state and issuer are right, no name is
    /// repeated, and there is an error or a code.
    [[nodiscard]] static std::optional<Callback> parse(const QString& target, const QString& expectedState,
                                                       const QString& issuer);

    /// What a request gets. It succeeds with a valid callback, as long as there is no outcome.
    [[nodiscard]] Reply replyTo(const QString& request) const;

private:
    void answer(CallbackConnection& connection, const QString& request);
    void record(const std::function<void()>& setOutcome);

    QString state_;
    QString issuer_;
    Alarms alarms_;
    LoopbackListener listener_;
    Alarm timeout_;
    QPromise<Callback> outcome_;
    QFuture<Callback> future_;
    bool finished_ = false;
};

} // namespace quillmarsh
