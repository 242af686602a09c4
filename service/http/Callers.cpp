#include "http/Callers.h"

#include <algorithm>
#include <fstream>

#include "base/IniFile.h"
#include "base/Text.h"

namespace quillmarsh::service {

namespace {

constexpr std::string_view scheme = "bearer ";
constexpr std::string_view hashMark = "sha256:";
constexpr size_t tokenBytes = 32;

bool isToken(std::string_view text)
{
    const auto bytes = decodeBase64Url(text);
    return bytes && bytes->size() == tokenBytes;
}

bool isHash(std::string_view text)
{
    return text.size() == 64 && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

} // namespace

Callers::Callers(const std::string& tokensFile) : open_(false)
{
    std::ifstream file(tokensFile);
    if (!file) {
        throw ConfigError("cannot read the tokens file " + tokensFile);
    }
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        const std::string_view entry = trimmed(line);
        if (entry.empty() || entry.front() == '#') {
            continue;
        }
        if (entry.starts_with(hashMark) && isHash(entry.substr(hashMark.size()))) {
            known_.emplace(entry.substr(hashMark.size()));
        } else if (isToken(entry)) {
            known_.insert(sha256Hex(entry));
        } else {
            throw ConfigError(tokensFile + ":" + std::to_string(number) + ": neither a token nor sha256:HEX");
        }
    }
}

std::variant<std::string, Problem> Callers::identify(const std::string& authorization) const
{
    if (authorization.empty()) {
        return Problem{401, "missing_token",
                       "This rewrite service needs to know which installation is asking."};
    }
    const std::string_view token =
        trimmed(std::string_view(authorization).substr(std::min(authorization.size(), scheme.size())));
    if (!asciiLower(authorization).starts_with(scheme) || !isToken(token)) {
        return Problem{401, "invalid_token",
                       "This rewrite service didn’t recognise the installation’s token."};
    }
    std::string caller = sha256Hex(token);
    if (!open_ && !known_.contains(caller)) {
        return Problem{403, "unknown_installation",
                       "This installation isn’t registered with this rewrite service. Ask whoever runs it."};
    }
    return caller;
}

} // namespace quillmarsh::service
