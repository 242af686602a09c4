#include "ui/settings/ViewModelsFixture.h"

#include <QSignalSpy>
#include <QTest>

using namespace quillmarsh;
using test::SettingsFixture;

namespace {

/// A store that answers a read, and a write, when the test lets it.
class SlowItems final : public SecItems
{
public:
    explicit SlowItems(SecItems& items) : items_(items) {}

    int holds = 0; ///< how many answers wait

    Task<SecItemResult> copyMatching(SecItemQuery query) override
    {
        const SecItemResult result = co_await items_.copyMatching(query);
        co_await hold();
        co_return result;
    }
    Task<OSStatus> update(SecItemQuery query, QByteArray data) override
    {
        const OSStatus status = co_await items_.update(query, data);
        co_await hold();
        co_return status;
    }
    Task<OSStatus> add(SecItemQuery query, QByteArray data, SecAccessible accessible) override
    {
        const OSStatus status = co_await items_.add(query, data, accessible);
        co_await hold();
        co_return status;
    }
    Task<OSStatus> remove(SecItemQuery query) override { return items_.remove(query); }

    void open() { gate_.request_stop(); }

private:
    Task<> hold()
    {
        ++holds;
        co_await sleepFor(std::chrono::hours(1), gate_.get_token());
        --holds;
    }

    SecItems& items_;
    std::stop_source gate_;
};

const auto service = QStringLiteral("com.quillmarsh.app");

} // namespace

/// The choices, the API key of a provider, and the ChatGPT panel.
class tst_Connections final : public QObject, private test::ViewModelsFixture
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void theChoices_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("title");
        QTest::addColumn<int>("panel");
        QTest::addColumn<int>("choice");
        using Panel = ConnectionsModel::Panel;
        QTest::newRow("ChatGPT") << 0 << "ChatGPT" << int(Panel::chatGPT) << int(AIConnectionChoice::chatgpt);
        QTest::newRow("cloud") << 1 << "Quillmarsh Cloud" << int(Panel::cloud)
                               << int(AIConnectionChoice::cloud);
        QTest::newRow("OpenAI") << 2 << "OpenAI" << int(Panel::apiKey) << int(AIConnectionChoice::openaiKey);
        QTest::newRow("Claude") << 3 << "Claude" << int(Panel::apiKey) << int(AIConnectionChoice::claude);
    }

    void theChoices()
    {
        QFETCH(int, index);
        QFETCH(int, panel);
        QFETCH(int, choice);
        ConnectionsModel& model = *models_->connections();
        QTEST(model.choices().at(index).toMap().value("title").toString(), "title");
        model.choose(index);
        QCOMPARE(int(fixture_->rewrite.settings.connectionChoice()), choice);
        QCOMPARE(model.index(), index);
        QCOMPARE(int(model.panel()), panel);
        model.choose(4);
        QCOMPARE(model.index(), index);
    }

    void theNotes()
    {
        QCOMPARE(
            models_->connections()->notes(),
            QStringList({"Your credentials stay securely on this Mac.",
                         "Only the assistant you choose is used. No automatic switching.",
                         "Cloud routes your text through our server to the configured AI provider or its "
                         "backup."}));
    }

    void theAllowanceIsWhatTheServiceReportedLast()
    {
        ConnectionsModel& model = *models_->connections();
        const QSignalSpy changes(&model, &ConnectionsModel::allowanceChanged);
        QCOMPARE(model.allowance(), QString());
        fixture_->cloudUsage.setQuota({1000, 999, std::nullopt});
        QCOMPARE(model.allowance(), QStringLiteral("999 of 1,000 rewrites left"));
        fixture_->cloudUsage.setQuota({1000, 0, QStringLiteral("tomorrow, 9:00")});
        QCOMPARE(model.allowance(), QStringLiteral("0 of 1,000 rewrites left · renews tomorrow, 9:00"));
        fixture_->cloudUsage.setQuota({0, 0, QStringLiteral("never")});
        QCOMPARE(model.allowance(), QString());
        QCOMPARE(changes.count(), 3);
    }

    void aKeyIsStoredWithoutTheSpaceAroundIt_data()
    {
        QTest::addColumn<int>("choice");
        QTest::addColumn<QString>("account");
        QTest::newRow("OpenAI") << int(AIConnectionChoice::openaiKey) << "openai-api-key";
        QTest::newRow("Claude") << int(AIConnectionChoice::claude) << "anthropic-api-key";
        QTest::newRow("cloud") << int(AIConnectionChoice::cloud) << "quillmarsh-cloud-unused";
    }

    void aKeyIsStoredWithoutTheSpaceAroundIt()
    {
        QFETCH(int, choice);
        QFETCH(QString, account);
        fixture_->rewrite.settings.select(AIConnectionChoice(choice));
        key().setText(QStringLiteral(" \n sk-1 2 \t\n"));
        key().save();
        QCOMPARE(fixture_->storedSecret(account), QByteArray("sk-1 2"));
        QCOMPARE(key().status(), QStringLiteral("Saved securely on this Mac."));
        QVERIFY(key().isStatusPositive());
        QVERIFY(key().isSaved());
        QCOMPARE(key().text(), QStringLiteral("sk-1 2"));
    }

    void blanksAreNoKey()
    {
        key().setText(QStringLiteral(" \n"));
        QVERIFY(!key().canSave());
        key().save();
        QVERIFY(fixture_->storedSecret("quillmarsh-cloud-unused").isNull());
    }

    void aRefusedSaveShowsWhyAndKeepsTheText_data()
    {
        QTest::addColumn<int>("status");
        QTest::newRow("missing") << errSecNotAvailable;
        QTest::newRow("locked") << errSecInteractionNotAllowed;
        QTest::newRow("refused") << errSecIO;
    }

    void aRefusedSaveShowsWhyAndKeepsTheText()
    {
        QFETCH(int, status);
        fixture_->rewrite.settings.select(AIConnectionChoice::claude);
        fixture_->rewrite.platform.secItems->addStatus = status;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("could not be saved"));
        key().setText(QStringLiteral(" sk-1"));
        key().save();
        QCOMPARE(key().status(),
                 QStringLiteral("Couldn’t save the key: Keychain save failed with status: %1").arg(status));
        QVERIFY(!key().isStatusPositive());
        QVERIFY(!key().isSaved());
        QCOMPARE(key().text(), QStringLiteral(" sk-1"));
        QVERIFY(key().canSave());
        key().setText(QStringLiteral("sk-12"));
        QCOMPARE(key().status(), QString());
    }

    void aRemovedKeyIsGoneAfterReopening()
    {
        store("anthropic-api-key", "sk-1");
        fixture_->rewrite.settings.select(AIConnectionChoice::claude);
        QCOMPARE(key().text(), QStringLiteral("sk-1"));
        QVERIFY(key().isSaved());
        key().remove();
        QCOMPARE(key().text(), QString());
        QVERIFY(!key().isSaved());
        QCOMPARE(key().status(), QString());
        makeModels();
        QCOMPARE(key().text(), QString());
        QVERIFY(!key().canRemove());
    }

    void aRefusedRemovalShowsWhyAndKeepsTheText()
    {
        store("anthropic-api-key", "sk-1");
        fixture_->rewrite.settings.select(AIConnectionChoice::claude);
        fixture_->rewrite.platform.secItems->removeStatus = errSecInteractionNotAllowed;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("could not be removed"));
        key().remove();
        QCOMPARE(key().status(), QStringLiteral("Couldn’t remove the key: it is still stored."));
        QCOMPARE(key().text(), QStringLiteral("sk-1"));
        QVERIFY(key().isSaved());
    }

    void aLockedStoreShowsItsMessageInPlace()
    {
        fixture_->rewrite.platform.secItems->copyStatus = errSecInteractionNotAllowed;
        fixture_->rewrite.settings.select(AIConnectionChoice::claude);
        QCOMPARE(key().status(), QStringLiteral("Couldn’t read the saved key: the secret store is locked."));
        QCOMPARE(key().text(), QString());
    }

    void eachProviderHasItsOwnKey()
    {
        store("openai-api-key", "sk-openai");
        store("anthropic-api-key", "sk-claude");
        fixture_->rewrite.settings.select(AIConnectionChoice::openaiKey);
        QCOMPARE(key().text(), QStringLiteral("sk-openai"));
        key().setShown(true);
        fixture_->rewrite.settings.select(AIConnectionChoice::claude);
        QCOMPARE(key().text(), QStringLiteral("sk-claude"));
        QVERIFY(!key().isShown());
        QCOMPARE(key().providerName(), QStringLiteral("Claude"));
        fixture_->rewrite.settings.select(AIConnectionChoice::cloud);
        QCOMPARE(key().text(), QString());
    }

    void aStaleLoadIsDropped()
    {
        SlowItems slow(*fixture_->rewrite.platform.secItems);
        store("openai-api-key", "sk-openai");
        const auto model = modelOver(slow);
        fixture_->rewrite.settings.select(AIConnectionChoice::openaiKey);
        fixture_->rewrite.settings.select(AIConnectionChoice::claude);
        QCOMPARE(slow.holds, 2);
        slow.open();
        QTRY_COMPARE(slow.holds, 0);
        QCOMPARE(model->text(), QString());
        QVERIFY(!model->isSaved());
    }

    void aLateLoadDoesNotOverwriteWhatWasTyped()
    {
        SlowItems slow(*fixture_->rewrite.platform.secItems);
        store("openai-api-key", "sk-openai");
        const auto model = modelOver(slow);
        fixture_->rewrite.settings.select(AIConnectionChoice::openaiKey);
        model->setText(QStringLiteral("typed"));
        slow.open();
        QTRY_COMPARE(slow.holds, 0);
        QCOMPARE(model->text(), QStringLiteral("typed"));
    }

    void aSaveUnderWayIsAboutTheTextFromBefore()
    {
        SlowItems slow(*fixture_->rewrite.platform.secItems);
        fixture_->rewrite.settings.select(AIConnectionChoice::claude);
        const auto model = modelOver(slow);
        model->setText(QStringLiteral("sk-1"));
        model->save();
        QVERIFY(model->isBusy());
        QVERIFY(!model->canSave());
        model->setText(QStringLiteral("sk-12"));
        QCOMPARE(model->text(), QStringLiteral("sk-1"));
        slow.open();
        QTRY_VERIFY(!model->isBusy());
        QCOMPARE(model->text(), QStringLiteral("sk-1"));
        QCOMPARE(fixture_->storedSecret("anthropic-api-key"), QByteArray("sk-1"));
        QCOMPARE(model->status(), QStringLiteral("Saved securely on this Mac."));
        model->setText(QStringLiteral("sk-12"));
        QCOMPARE(model->text(), QStringLiteral("sk-12"));
        QCOMPARE(model->status(), QString());
    }

    void aRemovalUnderWayWipesNothingTyped()
    {
        SlowItems slow(*fixture_->rewrite.platform.secItems);
        fixture_->rewrite.settings.select(AIConnectionChoice::claude);
        const auto model = modelOver(slow);
        model->setText(QStringLiteral("sk-1"));
        model->remove();
        QVERIFY(model->isBusy());
        model->setText(QStringLiteral("sk-2")); // refused, as the field is read-only now
        QCOMPARE(model->text(), QStringLiteral("sk-1"));
        slow.open();
        QTRY_COMPARE(model->text(), QString());
    }

    void aModelMayDieWhileTheStoreThinks()
    {
        SlowItems slow(*fixture_->rewrite.platform.secItems);
        {
            const auto model = modelOver(slow);
            model->loadKey();
        }
        slow.open();
        QTRY_COMPARE(slow.holds, 0);
    }

    void nothingIsReadWhenTheWindowIsAPreview()
    {
        fixture_->rewrite.platform.secItems->calls.clear();
        SettingsEnvironment environment = fixture_->environment();
        environment.loadsSavedKey = false;
        const SettingsViewModels models(environment);
        QVERIFY(fixture_->rewrite.platform.secItems->calls.empty());
    }

    void theLinksOpenTheirPages()
    {
        fixture_->rewrite.settings.select(AIConnectionChoice::openaiKey);
        key().openKeyPage();
        fixture_->rewrite.settings.select(AIConnectionChoice::claude);
        key().openKeyPage();
        chatGPT().openUsagePage();
        QCOMPARE(fixture_->rewrite.platform.workspace->opened,
                 std::vector<QUrl>({QUrl("https://platform.openai.com/api-keys"),
                                    QUrl("https://console.anthropic.com/settings/keys"),
                                    QUrl("https://chatgpt.com/settings/usage")}));
    }

    void initials_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("initials");
        QTest::newRow("two words") << "ada.lovelace@example.com"
                                   << "AL";
        QTest::newRow("one word") << "sam@example.com"
                                  << "S";
        QTest::newRow("three words") << "a_b-c@example.com"
                                     << "AB";
        QTest::newRow("plain name") << "ChatGPT account"
                                    << "CA";
        QTest::newRow("umlaut") << "özgür@example.com"
                                << "Ö";
        QTest::newRow("nothing") << ""
                                 << "?";
        QTest::newRow("no letters") << "!.!@x"
                                    << "?";
    }

    void initials()
    {
        QFETCH(QString, name);
        QTEST(accountInitials(name), "initials");
    }

    void withoutAnAccount()
    {
        QCOMPARE(chatGPT().state(), ChatGPTPanelModel::State::disconnected);
        QVERIFY(chatGPT().accounts().isEmpty());
        chatGPT().signIn();
        QCOMPARE(chatGPT().state(), ChatGPTPanelModel::State::waitingForBrowser);
        QTRY_COMPARE(fixture_->rewrite.platform.workspace->opened.size(), 1U);
        chatGPT().cancelSignIn();
        QCOMPARE(chatGPT().state(), ChatGPTPanelModel::State::disconnected);
        QCOMPARE(chatGPT().error(), QString());
    }

    void aBrowserThatDoesNotOpenIsAnError()
    {
        fixture_->rewrite.platform.workspace->result = false;
        chatGPT().signIn();
        QTRY_COMPARE(chatGPT().error(), QStringLiteral("Couldn’t open your browser. Please try again."));
        QVERIFY(!chatGPT().isAuthenticating());
    }

    void twoAccountsAndTheirModels()
    {
        makeModels(
            {SettingsFixture::account("ada.lovelace@example.com"), SettingsFixture::account("grace@x.org")});
        QCOMPARE(chatGPT().state(), ChatGPTPanelModel::State::connected);
        QCOMPARE(chatGPT().accountName(), QStringLiteral("ada.lovelace@example.com"));
        QCOMPARE(chatGPT().initials(), QStringLiteral("AL"));
        QCOMPARE(chatGPT().accounts().size(), 2);
        QCOMPARE(chatGPT().accountIndex(), 0);
        QVERIFY(!chatGPT().needsReconnect());
        QVERIFY(fixture_->models.requests().empty());
        models_->connections()->choose(0);
        QVERIFY(chatGPT().isLoadingModels());
        QTRY_COMPARE(chatGPT().models().size(), 2);
        QCOMPARE(chatGPT().modelIndex(), 0);
        chatGPT().chooseModel(1);
        QCOMPARE(fixture_->oauth->selectedModel(), QStringLiteral("careful"));
        chatGPT().chooseModel(2);
        QCOMPARE(chatGPT().modelIndex(), 1);
        chatGPT().chooseAccount(1);
        QCOMPARE(chatGPT().accountName(), QStringLiteral("grace@x.org"));
        QTRY_COMPARE(chatGPT().modelIndex(), 0);
    }

    void anAccountThatIsConnectedAgainHasModelsAgain()
    {
        makeModels({SettingsFixture::account("ada@example.com", false)});
        models_->connections()->choose(0);
        QVERIFY(!chatGPT().isLoadingModels()); // it may not use its plan
        test::runTask(fixture_->oauth->save(SettingsFixture::account("ada@example.com")));
        QTRY_COMPARE(chatGPT().models().size(), 2);
    }

    void anAccountWithoutThePlanNeedsToReconnect()
    {
        makeModels({SettingsFixture::account("ada@x.org", false)});
        QVERIFY(chatGPT().needsReconnect());
        QCOMPARE(chatGPT().accounts().front().toMap().value("subtitle").toString(),
                 QStringLiteral("Needs to reconnect"));
    }

    void anUnfinishedRegistrationIsNoAccount()
    {
        CodexTokens unfinished = SettingsFixture::account("");
        unfinished.accessToken.clear();
        unfinished.email.reset();
        makeModels({SettingsFixture::account("ada@x.org"), unfinished});
        QCOMPARE(chatGPT().accounts().size(), 1);
        chatGPT().chooseAccount(1);
        QCOMPARE(chatGPT().accountIndex(), 0);
    }

private:
    [[nodiscard]] std::unique_ptr<APIKeyModel> modelOver(SecItems& items) const
    {
        return std::make_unique<APIKeyModel>(fixture_->rewrite.settings,
                                             *fixture_->rewrite.platform.workspace, KeychainService{&items});
    }

    void store(const char* account, const char* secret)
    {
        fixture_->rewrite.platform.secItems->items[{service, QString::fromLatin1(account)}] = secret;
    }

    APIKeyModel& key() { return *models_->connections()->apiKey(); }
    ChatGPTPanelModel& chatGPT() { return *models_->connections()->chatGPT(); }
};

QTEST_GUILESS_MAIN(tst_Connections)
#include "tst_Connections.moc"
