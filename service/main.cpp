#include <csignal>
#include <cstdio>
#include <exception>
#include <malloc.h>
#include <optional>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <thread>

#include "Application.h"
#include "CommandLine.h"
#include "base/Log.h"

using namespace quillmarsh::service;

namespace {

Config configure(const CommandLine& line)
{
    std::optional<IniFile> file;
    if (line.configFile) {
        file = IniFile::load(*line.configFile);
    }
    Config config = readConfig(std::move(file), processEnvironment());
    config.address = line.address.value_or(config.address);
    config.port = line.port.value_or(config.port);
    return config;
}

/// Blocks the signals that end the service in every thread that is started from here on.
sigset_t blockEndSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    return signals;
}

/// A core would hold the texts that were being rewritten. The limit alone does not stop one that the system
/// pipes to a program; that the memory may not be dumped does, and keeps other processes out of it, too.
void forbidCoreFiles()
{
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    prctl(PR_SET_DUMPABLE, 0);
}

void warnAboutOpenNetwork(const std::string& address)
{
    if (!address.starts_with("127.") && address != "::1" && address != "localhost") {
        logWarning("listening on " + address + " without TLS: anybody on the way can read the texts");
    }
}

void serve(const Config& config, sigset_t signals)
{
    forbidCoreFiles();
    warnAboutOpenNetwork(config.address);
    Application application(config);
    std::printf("listening on %s\n", application.origin().c_str());
    std::fflush(stdout);
    std::thread ender([&] {
        int signal = 0;
        sigwait(&signals, &signal);
        logInfo("ending: running requests are finished first");
        application.stop();
    });
    application.run();
    ender.join();
}

int run(const std::vector<std::string>& arguments)
{
    const CommandLine line = parseCommandLine(arguments);
    if (line.help) {
        std::fputs(CommandLine::usage, stdout);
        return 0;
    }
    const Config config = configure(line);
    if (line.checkOnly) {
        std::puts("the configuration is valid");
        return 0;
    }
    serve(config, blockEndSignals());
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    mallopt(M_ARENA_MAX, 2); // many threads, little memory each
    try {
        return run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        logWarning(error.what());
        return 2;
    }
}
