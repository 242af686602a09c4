#pragma once

#include <QByteArray>

#include <vector>

namespace quillmarsh {

/// One thing in a bundle.
struct BundleEntry
{
    enum class Kind { Folder, File, Link };

    Kind kind = Kind::File;
    QByteArray path;   ///< relative to the bundle, UTF-8, "/" between names
    int mode = 0;      ///< permission bits of a file or folder; 0 for a link
    QByteArray detail; ///< SHA-256 of a file in lower-case hexadecimal; target of a link; empty for a folder

    bool operator==(const BundleEntry&) const = default;
};

/// Everything in a bundle but its signature, sorted by path: what the signature covers.
using BundleEntries = std::vector<BundleEntry>;

/// The list "_CodeSignature/CodeResources": a first line that names the format, then one line per entry of
/// "folder|file|link", mode in octal, detail ("-" when empty) and path, with tabs between them. There is one
/// way to write a list, so that two readers cannot disagree about it.
[[nodiscard]] QByteArray writeCodeResources(const BundleEntries& entries);

/// Reads such a list; throws CodesignError on anything that writeCodeResources() would not have written.
[[nodiscard]] BundleEntries readCodeResources(const QByteArray& bytes);

} // namespace quillmarsh
