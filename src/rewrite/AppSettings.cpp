#include "rewrite/AppSettings.h"

#include "base/Log.h"
#include "base/UserDefaults.h"

#include <algorithm>

namespace quillmarsh {

namespace {

const QString providerKey = QStringLiteral("selectedProvider");
const QString modeKey = QStringLiteral("openaiAuthMode");
const QString emailKey = QStringLiteral("openai-chatgpt-email");
const QString shortcutsKey = QStringLiteral("instructionShortcuts");
const QString unreadableShortcutsKey = QStringLiteral("instructionShortcuts.unreadable");
const QString countKey = QStringLiteral("completedRewriteCount");

/// None when what is stored cannot be read.
std::optional<std::vector<InstructionShortcut>> storedShortcuts(const UserDefaults& store)
{
    return decodeShortcuts(store.data(shortcutsKey).value_or(QByteArray()));
}

/// Before a list of the user's goes over one that a later version wrote, or that somebody edited by hand.
void keepUnreadableShortcuts(UserDefaults& store)
{
    const QByteArray stored = store.data(shortcutsKey).value_or(QByteArray());
    if (stored.isEmpty() || decodeShortcuts(stored))
        return;
    store.set(unreadableShortcutsKey, stored);
    qCWarning(lcQuillmarsh, "The writing actions that cannot be read are kept beside the new ones");
}

} // namespace

AppSettings::AppSettings(UserDefaults& store, QObject* parent)
    : QObject(parent), store_(store), completedRewriteCount_(std::max<qint64>(store.integer(countKey), 0))
{
    applyFirstRun();
    migrateLegacyProvider();
    seedShortcuts();
}

void AppSettings::applyFirstRun()
{
    if (!store_.string(providerKey))
        setProvider(AIProvider::cloud);
}

void AppSettings::migrateLegacyProvider()
{
    const QString stored = store_.string(providerKey).value_or(QString());
    if (stored == QLatin1String("mistral") || stored == QLatin1String("openrouter")) {
        setProvider(AIProvider::openai);
        setOpenaiAuthMode(OpenAIAuthMode::chatgpt);
    } else if (!aiProviderFrom(stored)) {
        qCWarning(lcQuillmarsh, "Ignoring the stored provider: it is none that this version knows");
    }
}

void AppSettings::seedShortcuts()
{
    if (!store_.contains(shortcutsKey))
        return setInstructionShortcuts(InstructionShortcut::defaultShortcuts());
    const auto stored = storedShortcuts(store_);
    if (!stored)
        qCWarning(lcQuillmarsh,
                  "Ignoring the stored writing actions: they cannot be read; they are kept as they are");
    else if (stored->empty())
        setInstructionShortcuts(InstructionShortcut::defaultShortcuts());
}

AIProvider AppSettings::provider() const
{
    return aiProviderFrom(store_.string(providerKey).value_or(QString())).value_or(AIProvider::openai);
}

void AppSettings::setProvider(AIProvider provider)
{
    const QString text = rawValue(provider);
    if (store_.string(providerKey) == text)
        return;
    store_.set(providerKey, text);
    emit providerChanged();
}

OpenAIAuthMode AppSettings::openaiAuthMode() const
{
    return openAIAuthModeFrom(store_.string(modeKey).value_or(QString())).value_or(OpenAIAuthMode::chatgpt);
}

void AppSettings::setOpenaiAuthMode(OpenAIAuthMode mode)
{
    const QString text = rawValue(mode);
    if (store_.string(modeKey) == text)
        return;
    store_.set(modeKey, text);
    emit openaiAuthModeChanged();
}

QString AppSettings::chatgptEmail() const
{
    return store_.string(emailKey).value_or(QString());
}

void AppSettings::setChatgptEmail(const QString& email)
{
    if (chatgptEmail() == email)
        return;
    store_.set(emailKey, email);
    emit chatgptEmailChanged();
}

AIConnectionChoice AppSettings::connectionChoice() const
{
    return currentChoice(provider(), openaiAuthMode());
}

void AppSettings::select(AIConnectionChoice choice)
{
    const AIConnection chosen = connection(choice);
    setProvider(chosen.provider);
    if (chosen.mode)
        setOpenaiAuthMode(*chosen.mode);
}

const std::vector<InstructionShortcut>& AppSettings::instructionShortcuts() const
{
    if (!cachedShortcuts_)
        cachedShortcuts_ = storedShortcuts(store_).value_or(std::vector<InstructionShortcut>());
    return *cachedShortcuts_;
}

void AppSettings::setInstructionShortcuts(std::vector<InstructionShortcut> shortcuts)
{
    keepUnreadableShortcuts(store_);
    cachedShortcuts_ = std::move(shortcuts);
    store_.set(shortcutsKey, encodeShortcuts(*cachedShortcuts_));
    emit instructionShortcutsChanged();
}

bool AppSettings::addShortcut(const InstructionShortcut& shortcut)
{
    std::vector<InstructionShortcut> list = instructionShortcuts();
    list.push_back(shortcut);
    setInstructionShortcuts(std::move(list));
    return true;
}

void AppSettings::updateShortcut(const InstructionShortcut& shortcut)
{
    std::vector<InstructionShortcut> list = instructionShortcuts();
    const auto existing = std::find_if(
        list.begin(), list.end(), [&](const InstructionShortcut& other) { return other.id == shortcut.id; });
    if (existing == list.end())
        return;
    *existing = shortcut;
    setInstructionShortcuts(std::move(list));
}

void AppSettings::removeShortcut(const QUuid& id)
{
    std::vector<InstructionShortcut> list = instructionShortcuts();
    std::erase_if(list, [&](const InstructionShortcut& shortcut) { return shortcut.id == id; });
    setInstructionShortcuts(std::move(list));
}

qsizetype AppSettings::activeShortcutCount() const
{
    return std::ranges::count_if(instructionShortcuts(), &InstructionShortcut::hasShortcut);
}

void AppSettings::recordCompletedRewrite()
{
    ++completedRewriteCount_;
    store_.set(countKey, completedRewriteCount_);
    emit completedRewriteCountChanged();
}

} // namespace quillmarsh
