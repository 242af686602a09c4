#pragma once

#include "update/codesign/CodeResources.h"

#include <QString>

namespace quillmarsh {

/// Reads a whole bundle from the disk, sorted by path, without its "Contents/_CodeSignature". No link is
/// followed. Throws CodesignError for what a bundle may not hold: a name that is not UTF-8 or has a control
/// character, two names that differ only in case or composition, a mode other than 644 or 755, a file with a
/// second name, a link that leaves the bundle, anything that is neither file, folder nor link.
[[nodiscard]] BundleEntries readBundle(const QString& bundle);

/// The signature's own two files, relative to the bundle.
inline constexpr auto codeSignatureFolder = "Contents/_CodeSignature";
inline constexpr auto codeResourcesFile = "Contents/_CodeSignature/CodeResources";
inline constexpr auto codeSignatureFile = "Contents/_CodeSignature/CodeSignature";

/// An ordinary file of at most `limit` bytes; throws CodesignError.
[[nodiscard]] QByteArray readOrdinaryFile(const QString& path, qint64 limit);

} // namespace quillmarsh
