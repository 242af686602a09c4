#pragma once

#include <QSettings>
#include <QVariant>

#include <memory>
#include <optional>

namespace quillmarsh {

/// The user-defaults store: one INI file of typed values, group General, mode 0600. It is written through a
/// temporary file and a rename, so a crash during a write leaves the old file or the new one. A file that
/// cannot be read in full is moved aside as "defaults.unreadable-TIME.ini"; what could be read of it goes on.
class UserDefaults final
{
public:
    /// `path` names the file; it and its folder are created with the first write.
    explicit UserDefaults(const QString& path);

    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    /// $XDG_CONFIG_HOME/quillmarsh/defaults.ini on this desktop.
    [[nodiscard]] static QString standardPath();

    [[nodiscard]] bool contains(const QString& key) const { return settings_->contains(key); }
    /// None when the value is missing or no text; data() likewise.
    [[nodiscard]] std::optional<QString> string(const QString& key) const;
    [[nodiscard]] std::optional<QByteArray> data(const QString& key) const;
    /// 0 when the value is missing or not a number.
    [[nodiscard]] qint64 integer(const QString& key) const;
    /// false when the value is missing.
    [[nodiscard]] bool boolean(const QString& key) const;

    void set(const QString& key, const QVariant& value);
    void remove(const QString& key);
    /// Writes what is pending now; returns false (and logs) when the file could not be written.
    bool synchronize();

private:
    void open(const QString& path);
    void moveUnreadableFileAside(const QString& path);

    std::unique_ptr<QSettings> settings_;
};

} // namespace quillmarsh
