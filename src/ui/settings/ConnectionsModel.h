#pragma once

#include "ui/settings/APIKeyModel.h"
#include "ui/settings/ChatGPTPanelModel.h"

namespace quillmarsh {

/// The connections section: which assistant handles rewrites, and the panel of the chosen one.
class ConnectionsModel final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariantList choices READ choices CONSTANT)
    Q_PROPERTY(int index READ index NOTIFY choiceChanged)
    Q_PROPERTY(Panel panel READ panel NOTIFY choiceChanged)
    Q_PROPERTY(QStringList notes READ notes CONSTANT)
    Q_PROPERTY(quillmarsh::APIKeyModel* apiKey READ apiKey CONSTANT)
    Q_PROPERTY(quillmarsh::ChatGPTPanelModel* chatGPT READ chatGPT CONSTANT)

public:
    enum class Panel { cloud, chatGPT, apiKey };
    Q_ENUM(Panel)

    /// All outlive the model.
    ConnectionsModel(AppSettings& settings, CodexOAuthService& oauth, Workspace& workspace,
                     const KeychainService& keychain, QObject* parent = nullptr);

    /// One map per choice: "title", "subtitle", "symbol".
    [[nodiscard]] QVariantList choices() const;
    [[nodiscard]] int index() const;
    [[nodiscard]] Panel panel() const;
    [[nodiscard]] QStringList notes() const;
    [[nodiscard]] APIKeyModel* apiKey() { return &apiKey_; }
    [[nodiscard]] ChatGPTPanelModel* chatGPT() { return &chatGPT_; }

    Q_INVOKABLE void choose(int index);

signals:
    void choiceChanged();

private:
    AppSettings& settings_;
    APIKeyModel apiKey_;
    ChatGPTPanelModel chatGPT_;
};

} // namespace quillmarsh
