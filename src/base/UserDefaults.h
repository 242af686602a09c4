#pragma once

#include <QObject>
#include <QSettings>
#include <QVariant>

#include <memory>
#include <optional>

namespace quillmarsh {

/// The user-defaults store: one INI file of typed values, group General, for its owner alone. It is written
/// through a temporary file and a rename, so a crash during a write leaves the old file or the new one. A
/// file that cannot be read in full is moved aside as "defaults.unreadable-TIME.ini"; what could be read of
/// it goes on. Main thread only.
class UserDefaults final
{
public:
    /// `path` names the file; it and its folder are created where they are missing.
    explicit UserDefaults(const QString& path);
    /// Writes what is pending.
    ~UserDefaults();

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

    /// Both are written with the next turn of the event loop.
    void set(const QString& key, const QVariant& value);
    void remove(const QString& key);

private:
    void open(const QString& path);
    void moveUnreadableFileAside(const QString& path);
    void writeSoon();
    void write();

    std::unique_ptr<QSettings> settings_;
    bool writePending_ = false;
    bool failureLogged_ = false;
    QObject context_; ///< last, so that a write that is still to come ends before what it needs
};

} // namespace quillmarsh
