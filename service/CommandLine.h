#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillmarsh::service {

/// What the command line says. It wins over the configuration file.
struct CommandLine
{
    bool help = false;
    bool checkOnly = false;
    std::optional<std::string> configFile;
    std::optional<std::string> address;
    std::optional<int> port;

    static const char* const usage;
};

/// Throws ConfigError for anything that is not in the usage text.
[[nodiscard]] CommandLine parseCommandLine(const std::vector<std::string>& arguments);

} // namespace quillmarsh::service
