#pragma once

#include "ui/settings/APIKeyModel.h"
#include "ui/settings/ChatGPTPanelModel.h"

namespace quillmarsh {

class CloudUsage;

/// The connections section: which assistant handles rewrites, and the panel of the chosen one.
class ConnectionsModel final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariantList choices READ choices CONSTANT)
    Q_PROPERTY(int index READ index NOTIFY choiceChanged)
    Q_PROPERTY(Panel panel READ panel NOTIFY choiceChanged)
    Q_PROPERTY(QStringList notes READ notes CONSTANT)
    Q_PROPERTY(QString allowance READ allowance NOTIFY allowanceChanged)
    Q_PROPERTY(quillmarsh::APIKeyModel* apiKey READ apiKey CONSTANT)
    Q_PROPERTY(quillmarsh::ChatGPTPanelModel* chatGPT READ chatGPT CONSTANT)

public:
    enum class Panel { cloud, chatGPT, apiKey };
    Q_ENUM(Panel)

    /// All outlive the model.
    ConnectionsModel(AppSettings& settings, CodexOAuthService& oauth, CloudUsage& usage, Workspace& workspace,
                     const KeychainService& keychain, QObject* parent = nullptr);

    /// One map per choice: "title", "subtitle", "symbol".
    [[nodiscard]] QVariantList choices() const;
    [[nodiscard]] int index() const;
    [[nodiscard]] Panel panel() const;
    [[nodiscard]] QStringList notes() const;
    /// What the hosted service last reported to be left; empty until it has, and where nothing is counted.
    [[nodiscard]] QString allowance() const;
    [[nodiscard]] APIKeyModel* apiKey() { return &apiKey_; }
    [[nodiscard]] ChatGPTPanelModel* chatGPT() { return &chatGPT_; }

    Q_INVOKABLE void choose(int index);

signals:
    void choiceChanged();
    void allowanceChanged();

private:
    AppSettings& settings_;
    CloudUsage& usage_;
    APIKeyModel apiKey_;
    ChatGPTPanelModel chatGPT_;
};

} // namespace quillmarsh
