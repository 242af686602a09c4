#pragma once

#include "base/Task.h"

#include <QString>

#include <filesystem>

namespace quillmarsh {

/// `path` in the shape that the file system takes.
[[nodiscard]] std::filesystem::path toPath(const QString& path);

/// Whether anything has this name; a link counts even when it leads nowhere.
[[nodiscard]] bool exists(const QString& path);

/// Removes a folder with all that is in it, also where its own modes forbid that. Follows no link. False when
/// something is left.
bool removeTree(const QString& path);

/// Copies a folder with its modes and links on another thread, so that the caller's thread stays free. Throws
/// FileError; what was copied by then stays.
[[nodiscard]] Task<> copyTree(QString from, QString to);

/// Has everything in a folder written to the disk itself, on another thread, so that a loss of power cannot
/// empty a file that was there before. Throws FileError.
[[nodiscard]] Task<> syncTree(QString path);

} // namespace quillmarsh
