#include "chatgpt/CodexEnvironment.h"

#include <QDateTime>

namespace quillmarsh {

double secondsSince1970()
{
    return static_cast<double>(QDateTime::currentMSecsSinceEpoch()) / 1000;
}

} // namespace quillmarsh
