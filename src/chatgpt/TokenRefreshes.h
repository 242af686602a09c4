#pragma once

#include "chatgpt/CodexTokens.h"
#include "chatgpt/SharedResult.h"

#include <QObject>

#include <functional>
#include <map>
#include <memory>

namespace quillmarsh {

/// The refreshes of the profiles' tokens. Callers that need the same one share it; two of one profile never
/// run at once, as a server takes each refresh token once.
class TokenRefreshes final : public QObject
{
public:
    using Shared = std::shared_ptr<SharedResult<CodexTokens>>;
    /// Asks the server for new tokens; throws when it does not get them or `stop` is requested.
    using Work = std::function<Task<CodexTokens>(CodexTokens profile, std::stop_token stop)>;

    /// The one that runs for this profile and was not cancelled; null when there is none.
    [[nodiscard]] Shared current(const QString& clientID) const;
    /// Cancels the current one and starts another, which begins its work when a cancelled one of the same
    /// profile has ended.
    Shared start(const CodexTokens& profile, Work work);
    /// Asks the current one to stop. Nobody joins it any more; it may take its time to end.
    void cancel();
    /// Completes when every refresh begun so far has ended. Never throws.
    Task<> settled();

private:
    Task<> run(Shared refresh, Shared before, CodexTokens profile, Work work);

    Shared current_;
    QString clientID_;                                                       ///< of the current one
    std::map<QString, std::weak_ptr<SharedResult<CodexTokens>>> unfinished_; ///< also the cancelled ones
};

} // namespace quillmarsh
