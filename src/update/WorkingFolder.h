#pragma once

#include <QString>

namespace quillmarsh {

/// A folder that only this user can enter (mode 0700), for the life of this object. While the object lives it
/// holds a lock on the folder, by which a later start tells an abandoned folder from one in use.
class WorkingFolder final
{
public:
    /// Makes a new folder with an unpredictable name in `parent`, which is made as well when it is missing.
    /// Throws FileError.
    WorkingFolder(const QString& parent, const QString& prefix);
    ~WorkingFolder();

    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;

    [[nodiscard]] const QString& path() const { return path_; }
    [[nodiscard]] QString filePath(const QString& name) const { return path_ + QLatin1Char('/') + name; }
    /// Removes the folder now, with all that is in it.
    void remove();

    /// Removes the folders of this user in `parent` that a process left behind when it died.
    static void removeAbandoned(const QString& parent, const QString& prefix);

private:
    QString path_;
    int lock_ = -1;
};

/// Where an update is unpacked, in the temporary folder.
inline constexpr auto workingFolderPrefix = "Quillmarsh-update-";
/// Where it waits for its move, in the Applications folder.
inline constexpr auto stagingFolderPrefix = ".Quillmarsh-incoming-";

} // namespace quillmarsh
