#include "base/Log.h"

#include <cstdlib>
#include <string>
#include <unistd.h>

namespace quillmarsh::service {

namespace {

/// systemd reads a syslog level in angle brackets from the start of a line; a person does not want to see it.
void writeLine(std::string_view level, std::string_view line)
{
    static const bool toJournal =
        std::getenv("JOURNAL_STREAM") != nullptr; // NOLINT: read once, never set here
    std::string whole(toJournal ? level : "quillmarsh-service: ");
    for (const char c : line) {
        whole += (c == '\n' || c == '\r') ? ' ' : c;
    }
    whole += '\n';
    // one write per line, so that lines of several threads do not mix
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, whole.data(), whole.size());
}

} // namespace

void logInfo(std::string_view line)
{
    writeLine("<6>", line);
}

void logWarning(std::string_view line)
{
    writeLine("<4>", line);
}

} // namespace quillmarsh::service
