#pragma once

#include <QString>

namespace quillmarsh {

/// Gives two files or folders on one disk each other's names in one step, which nothing can interrupt half
/// way; a link is exchanged itself. False, with nothing changed, where the disk's file system has no such
/// step or one of the two is not there. Defined once per operating system.
[[nodiscard]] bool exchangeNames(const QString& one, const QString& other);

} // namespace quillmarsh
