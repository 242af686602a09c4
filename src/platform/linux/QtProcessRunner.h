#pragma once

#include "platform/ProcessRunner.h"

namespace quillmarsh {

/// Tools as child processes, started without a shell.
class QtProcessRunner final : public ProcessRunner
{
public:
    Task<int> run(QString program, QStringList arguments, std::stop_token stop) override;
};

} // namespace quillmarsh
