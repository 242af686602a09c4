#include "ui/settings/APIKeyModel.h"

#include "base/LocalizedError.h"
#include "platform/Workspace.h"
#include "rewrite/AppSettings.h"
#include "rewrite/ProviderSelection.h"

#include <QMetaProperty>

namespace quillmarsh {

using namespace Qt::StringLiterals;

APIKeyModel::APIKeyModel(AppSettings& settings, Workspace& workspace, KeychainService keychain,
                         QObject* parent)
    : QObject(parent), settings_(settings), workspace_(workspace), keychain_(std::move(keychain)),
      provider_(settings.provider())
{
    connect(&settings, &AppSettings::providerChanged, this, &APIKeyModel::changeProvider);
}

QString APIKeyModel::account() const
{
    return keychainAccount(provider_);
}

QString APIKeyModel::providerName() const
{
    return displayName(provider_);
}

void APIKeyModel::openKeyPage()
{
    openDetached(workspace_, docsUrl(provider_));
}

void APIKeyModel::changeProvider()
{
    if (provider_ == settings_.provider())
        return;
    provider_ = settings_.provider();
    setBusy(false);
    fill({});
    setStatus({});
    setSaved(false);
    setShown(false);
    emit providerChanged();
    loadKey();
}

int APIKeyModel::beginWork()
{
    return ++generation_;
}

void APIKeyModel::loadKey()
{
    detach(load(this, keychain_, account(), beginWork()));
}

Task<> APIKeyModel::load(QPointer<APIKeyModel> self, KeychainService keychain, QString account,
                         int generation)
{
    const SecItemQuery query{keychain.service, account}; // named: g++ 12 destroys an awaited aggregate twice
    const SecItemResult result = co_await keychain.items->copyMatching(query);
    if (self && self->generation_ == generation)
        self->loaded(result);
}

void APIKeyModel::loaded(const SecItemResult& result)
{
    if (result.status == errSecSuccess) {
        fill(QString::fromUtf8(result.data));
        setSaved(true);
    } else if (result.status != errSecItemNotFound) {
        setStatus(u"Couldn’t read the saved key: %1."_s.arg(QLatin1String(secStatusText(result.status))));
    }
}

void APIKeyModel::save()
{
    if (!canSave())
        return;
    const QString key = text_.trimmed();
    const int generation = beginWork();
    setBusy(true);
    setStatus({});
    detach(store(this, keychain_, account(), key, generation));
}

Task<> APIKeyModel::store(QPointer<APIKeyModel> self, KeychainService keychain, QString account, QString key,
                          int generation)
{
    QString failure;
    try {
        co_await keychain.save(account, key);
    } catch (const std::exception& error) {
        failure = errorDescription(error);
    }
    if (self && self->generation_ == generation)
        self->stored(failure);
}

void APIKeyModel::stored(const QString& failure)
{
    setBusy(false);
    if (!failure.isEmpty())
        return setStatus(u"Couldn’t save the key: "_s + failure);
    fill(text_.trimmed());
    setSaved(true);
    setStatus(u"Saved securely on this Mac."_s, Mood::positive);
}

void APIKeyModel::remove()
{
    if (!canRemove())
        return;
    const int generation = beginWork();
    setBusy(true);
    detach(erase(this, keychain_, account(), generation));
}

// The removal itself never tells how it went, so the store is asked whether the key is gone.
Task<> APIKeyModel::erase(QPointer<APIKeyModel> self, KeychainService keychain, QString account,
                          int generation)
{
    const SecItemQuery query{keychain.service, account};
    co_await keychain.remove(account);
    const SecItemResult left = co_await keychain.items->copyMatching(query);
    if (self && self->generation_ == generation)
        self->erased(left.status);
}

void APIKeyModel::erased(OSStatus status)
{
    setBusy(false);
    if (status != errSecItemNotFound) {
        const char* reason = status == errSecSuccess ? "it is still stored" : secStatusText(status);
        return setStatus(u"Couldn’t remove the key: %1."_s.arg(QLatin1String(reason)));
    }
    fill({});
    setSaved(false);
    setStatus({});
}

void APIKeyModel::adoptField(QObject* field)
{
    field_ = field;
    fill(text_);
    const QMetaObject* meta = field->metaObject();
    const QMetaProperty property = meta->property(meta->indexOfProperty("text"));
    const QMetaMethod edited = metaObject()->method(metaObject()->indexOfSlot("fieldEdited()"));
    connect(field, property.notifySignal(), this, edited);
}

void APIKeyModel::fieldEdited()
{
    if (field_)
        setText(field_->property("text").toString());
}

// What the user types makes a load that is still under way stale, and the last message with it.
void APIKeyModel::setText(const QString& text)
{
    if (text_ == text)
        return;
    if (isBusy_) // the outcome is about the text from before, and may empty the field
        return fill(text_);
    text_ = text;
    beginWork();
    setStatus({});
    emit canSaveChanged();
    emit canRemoveChanged();
}

void APIKeyModel::fill(const QString& text)
{
    const bool changes = text_ != text;
    text_ = text;
    if (field_ && field_->property("text").toString() != text)
        field_->setProperty("text", text);
    if (!changes)
        return;
    emit canSaveChanged();
    emit canRemoveChanged();
}

void APIKeyModel::setShown(bool shown)
{
    if (isShown_ == shown)
        return;
    isShown_ = shown;
    emit isShownChanged();
}

void APIKeyModel::setStatus(const QString& status, Mood mood)
{
    if (status_ == status)
        return;
    status_ = status;
    isStatusPositive_ = mood == Mood::positive;
    emit statusChanged();
}

void APIKeyModel::setSaved(bool saved)
{
    if (isSaved_ == saved)
        return;
    isSaved_ = saved;
    emit canRemoveChanged();
}

void APIKeyModel::setBusy(bool busy)
{
    if (isBusy_ == busy)
        return;
    isBusy_ = busy;
    emit isBusyChanged();
    emit canSaveChanged();
    emit canRemoveChanged();
}

} // namespace quillmarsh
