#include "app/QuitSignals.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace quillmarsh {

namespace {

constexpr std::array handledSignals{SIGTERM, SIGINT, SIGHUP};
std::array<int, 2> pipeEnds{-1, -1};

// A signal handler may do next to nothing; writing one byte is allowed.
void wakeEventLoop(int)
{
    const int errorOfTheInterrupted = errno;
    const char byte = 0;
    [[maybe_unused]] const auto written = ::write(pipeEnds[1], &byte, 1);
    errno = errorOfTheInterrupted;
}

bool openPipe()
{
    if (::pipe(pipeEnds.data()) != 0)
        return false;
    for (const int end : pipeEnds) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    return true;
}

} // namespace

QuitSignals::QuitSignals(QObject* parent) : QObject(parent)
{
    if (!openPipe())
        return;
    notifier_ = std::make_unique<QSocketNotifier>(pipeEnds[0], QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, [this] {
        char byte = 0;
        if (::read(pipeEnds[0], &byte, 1) == 1)
            emit quitRequested();
    });
    for (const int number : handledSignals)
        std::signal(number, wakeEventLoop);
}

QuitSignals::~QuitSignals()
{
    for (const int number : handledSignals)
        std::signal(number, SIG_DFL);
    notifier_.reset();
    for (int& end : pipeEnds) {
        if (end >= 0)
            ::close(end);
        end = -1;
    }
}

} // namespace quillmarsh
