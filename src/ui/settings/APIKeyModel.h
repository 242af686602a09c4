#pragma once

#include "ai/AIProvider.h"
#include "chatgpt/KeychainService.h"

#include <QObject>
#include <QPointer>

namespace quillmarsh {

class AppSettings;
class Workspace;

/// The key field of a provider: loads, saves and removes the key in the secret store. The text passes between
/// this object and the field alone; it is no property, so no binding, log line or inspector sees it.
class APIKeyModel final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString providerName READ providerName NOTIFY providerChanged)
    Q_PROPERTY(QString status READ status NOTIFY statusChanged)
    Q_PROPERTY(bool isStatusPositive READ isStatusPositive NOTIFY statusChanged)
    Q_PROPERTY(bool isShown READ isShown WRITE setShown NOTIFY isShownChanged)
    Q_PROPERTY(bool isBusy READ isBusy NOTIFY isBusyChanged)
    Q_PROPERTY(bool canSave READ canSave NOTIFY canSaveChanged)
    Q_PROPERTY(bool canRemove READ canRemove NOTIFY canRemoveChanged)

public:
    /// `settings`, `workspace` and the keychain's store outlive the model. It follows the selected provider.
    APIKeyModel(AppSettings& settings, Workspace& workspace, KeychainService keychain,
                QObject* parent = nullptr);

    /// Reads the selected provider's key into the field. A result that comes after the provider changed, or
    /// after the user typed, is dropped. A store that cannot be read shows its message in `status`.
    void loadKey();
    /// Stores the text without the white space around it.
    Q_INVOKABLE void save();
    Q_INVOKABLE void remove();
    Q_INVOKABLE void openKeyPage();
    /// Ties the model to the field's property "text".
    Q_INVOKABLE void adoptField(QObject* field);

    [[nodiscard]] const QString& text() const { return text_; }
    void setText(const QString& text);
    [[nodiscard]] QString providerName() const;
    [[nodiscard]] const QString& status() const { return status_; }
    [[nodiscard]] bool isStatusPositive() const { return isStatusPositive_; }
    [[nodiscard]] bool isSaved() const { return isSaved_; }
    [[nodiscard]] bool isShown() const { return isShown_; }
    void setShown(bool shown);
    /// A save or a removal is under way; the text stays as it is until it has ended.
    [[nodiscard]] bool isBusy() const { return isBusy_; }
    [[nodiscard]] bool canSave() const { return !isBusy_ && !text_.trimmed().isEmpty(); }
    [[nodiscard]] bool canRemove() const { return !isBusy_ && (isSaved_ || !text_.isEmpty()); }

signals:
    void providerChanged();
    void statusChanged();
    void isShownChanged();
    void isBusyChanged();
    void canSaveChanged();
    void canRemoveChanged();

private slots:
    void fieldEdited();

private:
    enum class Mood { neutral, positive };

    static Task<> load(QPointer<APIKeyModel> self, KeychainService keychain, QString account, int generation);
    static Task<> store(QPointer<APIKeyModel> self, KeychainService keychain, QString account, QString key,
                        int generation);
    static Task<> erase(QPointer<APIKeyModel> self, KeychainService keychain, QString account,
                        int generation);

    [[nodiscard]] QString account() const;
    int beginWork();
    void changeProvider();
    void loaded(const SecItemResult& result);
    void stored(const QString& failure);
    void erased(OSStatus status);
    void fill(const QString& text);
    void setStatus(const QString& status, Mood mood = Mood::neutral);
    void setSaved(bool saved);
    void setBusy(bool busy);

    AppSettings& settings_;
    Workspace& workspace_;
    KeychainService keychain_;
    QPointer<QObject> field_;
    QString text_;
    QString status_;
    AIProvider provider_;
    int generation_ = 0; ///< results of work that began under another one are stale
    bool isStatusPositive_ = false;
    bool isSaved_ = false;
    bool isShown_ = false;
    bool isBusy_ = false;
};

} // namespace quillmarsh
