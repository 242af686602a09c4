#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/IniFile.h"
#include "quota/Period.h"

namespace quillmarsh::service {

/// How to reach one AI service. The key comes from the environment only.
struct UpstreamConfig
{
    std::string baseUrl;
    std::string model;
    std::string key;
    std::chrono::milliseconds connectLimit{5'000};
    std::chrono::milliseconds answerLimit{30'000}; ///< for one attempt, from its first byte to its last
    int maximumTokens = 8192;                      ///< sent where the interface wants a limit
    int breakerFailures = 5;                       ///< in a row until the circuit opens
    std::chrono::milliseconds breakerPause{30'000};
};

/// What `GET /update.json` and `GET /api/download` serve.
struct UpdateConfig
{
    std::string manifestFile;
    std::string downloadFile;
    std::string downloadUrl;
};

/// Everything the operator decides, with the defaults of a service for one person on one machine.
struct Config
{
    std::string address = "127.0.0.1";
    int port = 8787;
    size_t maximumConnections = 512;
    std::chrono::milliseconds requestLimit{10'000};

    bool openRegistration = true;
    std::string tokensFile; ///< for closed registration: one token, or sha256:HEX of one, per line

    long quotaLimit = 1000;
    Period quotaPeriod = Period::day();
    std::string sqliteFile; ///< empty: in the state folder of the user
    std::string postgres;   ///< a libpq connection string; not empty: used instead of SQLite

    std::vector<std::string> engines{"offline"};
    std::chrono::milliseconds engineLimit{50'000}; ///< for all engines together
    std::string dictionary = "/usr/share/hunspell/en_US";
    UpstreamConfig openai;
    UpstreamConfig anthropic;
    UpdateConfig updates;
};

/// Reads the environment; replaced in tests.
using Environment = std::map<std::string, std::string>;
[[nodiscard]] Environment processEnvironment();

/// The configuration from an INI file (nothing: all defaults) and the environment. Throws ConfigError.
[[nodiscard]] Config readConfig(std::optional<IniFile> file, const Environment& environment);

/// Where the counters are kept when the configuration does not say: $STATE_DIRECTORY (systemd), else
/// $XDG_STATE_HOME/quillmarsh-service, else ~/.local/state/quillmarsh-service.
[[nodiscard]] std::string defaultSqliteFile(const Environment& environment);

} // namespace quillmarsh::service
