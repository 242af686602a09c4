#pragma once

#include "base/Task.h"

#include <QStringList>

namespace quillmarsh {

/// Runs a tool to its end, its output discarded.
class ProcessRunner
{
public:
    virtual ~ProcessRunner() = default;

    /// The exit status; -1 when the tool could not be started or died of a signal. A stop request ends the
    /// tool and throws Cancelled.
    virtual Task<int> run(QString program, QStringList arguments, std::stop_token stop) = 0;
};

} // namespace quillmarsh
