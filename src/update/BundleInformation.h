#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace quillmarsh {

/// What the updater needs to know of a bundle: two values of its Info.plist, each none unless it is text.
struct BundleInformation
{
    std::optional<QString> identifier; ///< "CFBundleIdentifier"
    std::optional<QString> version;    ///< "CFBundleShortVersionString"

    /// Reads "Contents/Info.plist" of the bundle at `path`, which has to be an ordinary file of at most 16
    /// KiB; both values are none when it cannot be read or is no property-list dictionary.
    [[nodiscard]] static BundleInformation read(const QString& path);
    /// The same from the bytes of a property list, XML or binary.
    [[nodiscard]] static BundleInformation parse(const QByteArray& propertyList);
};

/// The identifier of this product's bundles.
inline constexpr auto bundleIdentifier = "com.quillmarsh.app";
/// The name of its bundle folder.
inline constexpr auto bundleName = "Quillmarsh.app";

} // namespace quillmarsh
