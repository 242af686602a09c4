#include "CommandLine.h"

#include <charconv>

#include "base/IniFile.h"

namespace quillmarsh::service {

const char* const CommandLine::usage =
    "Usage: quillmarsh-service [--config FILE] [--address ADDRESS] [--port PORT] [--check]\n"
    "\n"
    "Rewrites text for Quillmarsh. Without a configuration it listens on 127.0.0.1:8787,\n"
    "works offline and keeps its counters in ~/.local/state/quillmarsh-service.\n"
    "\n"
    "  --config FILE      read FILE (INI)\n"
    "  --address ADDRESS  listen on this address\n"
    "  --port PORT        listen on this port; 0 takes a free one\n"
    "  --check            check the configuration and end\n"
    "  --help             show this text\n";

namespace {

int portFrom(const std::string& text)
{
    int port = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size() || port < 0 || port > 65535) {
        throw ConfigError("--port must be a number from 0 to 65535");
    }
    return port;
}

} // namespace

CommandLine parseCommandLine(const std::vector<std::string>& arguments)
{
    CommandLine line;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& option = arguments[i];
        const auto value = [&]() -> const std::string& {
            if (i + 1 >= arguments.size()) {
                throw ConfigError(option + " needs a value");
            }
            return arguments[++i];
        };
        if (option == "--help") {
            line.help = true;
        } else if (option == "--check") {
            line.checkOnly = true;
        } else if (option == "--config") {
            line.configFile = value();
        } else if (option == "--address") {
            line.address = value();
        } else if (option == "--port") {
            line.port = portFrom(value());
        } else {
            throw ConfigError("unknown option " + option);
        }
    }
    return line;
}

} // namespace quillmarsh::service
