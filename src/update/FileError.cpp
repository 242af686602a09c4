#include "update/FileError.h"

#include <cerrno>

namespace quillmarsh {

namespace {

QString sentence(const std::error_code& code)
{
    if (code == std::errc::no_space_on_device || code == std::errc::file_too_large ||
        code == std::error_code(EDQUOT, std::generic_category()))
        return QStringLiteral("There isn’t enough space on the disk.");
    if (code == std::errc::permission_denied || code == std::errc::operation_not_permitted)
        return QStringLiteral("You don’t have permission to change the folder.");
    if (code == std::errc::read_only_file_system)
        return QStringLiteral("The disk is read-only.");
    return QStringLiteral("A file couldn’t be written.");
}

} // namespace

FileError::FileError(std::error_code code) : LocalizedError(sentence(code)), code_(code) {}

FileError FileError::last()
{
    return FileError(std::error_code(errno, std::generic_category()));
}

} // namespace quillmarsh
