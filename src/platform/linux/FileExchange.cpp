#include "platform/FileExchange.h"

#include <QFile>

#include <cstdio>
#include <fcntl.h>

namespace quillmarsh {

bool exchangeNames(const QString& one, const QString& other)
{
    return ::renameat2(AT_FDCWD, QFile::encodeName(one).constData(), AT_FDCWD,
                       QFile::encodeName(other).constData(), RENAME_EXCHANGE) == 0;
}

} // namespace quillmarsh
