#include "base/UserDefaults.h"
#include "rewrite/AppSettings.h"
#include "support/FakePlatform.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace quillmarsh;

class tst_AppSettings final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        store_.reset(); // it writes once more, into a folder that is still to be removed
        folder_ = std::make_unique<QTemporaryDir>();
        store_ = std::make_unique<UserDefaults>(path());
    }

    void aFreshStore()
    {
        AppSettings settings(*store_);
        QCOMPARE(settings.provider(), AIProvider::cloud);
        QCOMPARE(settings.openaiAuthMode(), OpenAIAuthMode::chatgpt);
        QCOMPARE(settings.completedRewriteCount(), 0);
        QCOMPARE(settings.chatgptEmail(), QString());
        QCOMPARE(settings.activeShortcutCount(), 1);
        QStringList names;
        for (const InstructionShortcut& action : settings.instructionShortcuts())
            names << action.name + u'/' + action.icon;
        QCOMPARE(names, QStringList({"Autocorrect/checkmark.circle", "Formal/building.2",
                                     "Casual/face.smiling", "Shorter/arrow.down.right.and.arrow.up.left",
                                     "Longer/arrow.up.left.and.arrow.down.right"}));
        const InstructionShortcut& first = settings.instructionShortcuts().front();
        QCOMPARE(first.keyCode, std::optional<qint64>(15));
        QCOMPARE(first.modifiersRaw, std::optional<qint64>(0x120000));
        QCOMPARE(store_->string(QStringLiteral("selectedProvider")), std::optional(QStringLiteral("cloud")));
    }

    void theBuiltInInstructions()
    {
        const QStringList tasks{
            "Fix grammar, spelling, and punctuation errors. Preserve the original meaning, tone, style, and "
            "formatting.",
            "Rewrite the text in a formal, professional tone. Fix any grammar or spelling errors.",
            "Rewrite the text in a casual, friendly tone. Fix any grammar or spelling errors.",
            "Make the text more concise while preserving the key message. Remove unnecessary words and "
            "filler.",
            "Expand the text with more detail and explanation while keeping the same meaning and tone."};
        const QString rules = " Never ask questions, always answer with the rewritten text. Never change the "
                              "original language of the selected text.";
        const std::vector<InstructionShortcut> list = InstructionShortcut::defaultShortcuts();
        QCOMPARE(std::ssize(list), tasks.size());
        for (qsizetype row = 0; row < tasks.size(); ++row)
            QCOMPARE(list.at(size_t(row)).instruction, tasks.at(row) + rules);
        QVERIFY(list.front().id != InstructionShortcut::defaultShortcuts().front().id);
    }

    void theStoredForm()
    {
        const InstructionShortcut action{QUuid(QStringLiteral("E621E1F8-C36C-495A-93FC-0C247A3E6E5F")),
                                         "Née “x”",
                                         "Be brief.",
                                         "plus",
                                         15,
                                         0x120000};
        const QByteArray json = R"([{"icon":"plus","id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F",)"
                                R"("instruction":"Be brief.","keyCode":15,"modifiersRaw":1179648,)"
                                R"("name":"Née “x”"}])";
        QCOMPARE(QString::fromUtf8(encodeShortcuts({action})), QString::fromUtf8(json));
        const auto read = decodeShortcuts(json);
        QVERIFY(read);
        QCOMPARE(read->front(), action);
    }

    void whatIsNoTextIsAFirstRun()
    {
        store_->set(QStringLiteral("selectedProvider"), QVariant());
        QCOMPARE(AppSettings(*store_).provider(), AIProvider::cloud);
        QCOMPARE(store_->string(QStringLiteral("selectedProvider")), std::optional(QStringLiteral("cloud")));
    }

    void theListSurvivesARestart()
    {
        AppSettings first(*store_);
        const auto list = first.instructionShortcuts();
        AppSettings again(*store_);
        QVERIFY(again.instructionShortcuts() == list);
    }

    void aFileOnDiskHoldsEverything()
    {
        {
            AppSettings settings(*store_);
            settings.setProvider(AIProvider::claude);
            settings.setChatgptEmail(QStringLiteral("a, b;\"c\"@example.com"));
            settings.recordCompletedRewrite();
        }
        store_.reset();
        QCOMPARE(QFile::permissions(path()) & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteOther), 0);
        UserDefaults reread(path());
        AppSettings settings(reread);
        QCOMPARE(settings.provider(), AIProvider::claude);
        QCOMPARE(settings.chatgptEmail(), QStringLiteral("a, b;\"c\"@example.com"));
        QCOMPARE(settings.completedRewriteCount(), 1);
        QCOMPARE(settings.instructionShortcuts().size(), 5u);
    }

    void legacyProviders_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::newRow("mistral") << "mistral";
        QTest::newRow("openrouter") << "openrouter";
    }

    void legacyProviders()
    {
        QFETCH(QString, stored);
        store_->set(QStringLiteral("selectedProvider"), stored);
        store_->set(QStringLiteral("openaiAuthMode"), QStringLiteral("apiKey"));
        AppSettings settings(*store_);
        QCOMPARE(settings.provider(), AIProvider::openai);
        QCOMPARE(settings.openaiAuthMode(), OpenAIAuthMode::chatgpt);
    }

    void anUnknownProviderIsIgnoredAndKept()
    {
        store_->set(QStringLiteral("selectedProvider"), QStringLiteral("Cloud"));
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("Ignoring the stored provider")));
        AppSettings settings(*store_);
        QCOMPARE(settings.provider(), AIProvider::openai);
        QCOMPARE(store_->string(QStringLiteral("selectedProvider")), std::optional(QStringLiteral("Cloud")));
    }

    void anEmptyListIsSeeded()
    {
        store_->set(QStringLiteral("instructionShortcuts"), QByteArray("[]"));
        AppSettings settings(*store_);
        QCOMPARE(settings.instructionShortcuts().size(), 5u);
    }

    void corruptLists_data()
    {
        QTest::addColumn<QByteArray>("json");
        const QByteArray id = "\"id\":\"E621E1F8-C36C-495A-93FC-0C247A3E6E5F\"";
        QTest::newRow("not JSON") << QByteArray("\x01\xFFgarbage");
        QTest::newRow("object") << QByteArray("{}");
        QTest::newRow("empty data") << QByteArray("");
        QTest::newRow("number in list") << QByteArray("[1]");
        QTest::newRow("missing id") << QByteArray(R"([{"name":"n","instruction":"x","icon":"y"}])");
        QTest::newRow("missing name") << "[{" + id + ",\"instruction\":\"x\",\"icon\":\"y\"}]";
        QTest::newRow("missing instruction") << "[{" + id + ",\"name\":\"n\",\"icon\":\"y\"}]";
        QTest::newRow("missing icon") << "[{" + id + ",\"name\":\"n\",\"instruction\":\"x\"}]";
        QTest::newRow("the second of two")
            << "[{" + id + ",\"name\":\"n\",\"instruction\":\"x\",\"icon\":\"y\"},{" + id + "}]";
        QTest::newRow("bad id") << QByteArray(R"([{"id":"x","name":"n","instruction":"x","icon":"y"}])");
        QTest::newRow("text key code")
            << "[{" + id + ",\"name\":\"n\",\"instruction\":\"x\",\"icon\":\"y\",\"keyCode\":\"15\"}]";
        QTest::newRow("fraction")
            << "[{" + id + ",\"name\":\"n\",\"instruction\":\"x\",\"icon\":\"y\",\"keyCode\":1.5}]";
    }

    void corruptLists()
    {
        QFETCH(QByteArray, json);
        store_->set(QStringLiteral("instructionShortcuts"), json);
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("Ignoring the stored writing actions")));
        AppSettings settings(*store_);
        QVERIFY(settings.instructionShortcuts().empty());
        QCOMPARE(store_->data(QStringLiteral("instructionShortcuts")), std::optional(json));
    }

    void anUnreadableListIsKeptWhenTheUserMakesANewOne()
    {
        const QString key = QStringLiteral("instructionShortcuts");
        const QString kept = QStringLiteral("instructionShortcuts.unreadable");
        store_->set(key, QByteArray("[{\"name\":\"mine\"}]"));
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("Ignoring the stored writing actions")));
        AppSettings settings(*store_);
        QVERIFY(!store_->contains(kept));
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("are kept beside the new ones")));
        settings.addShortcut({QUuid::createUuid(), "n", "i", "plus", std::nullopt, std::nullopt});
        settings.addShortcut({QUuid::createUuid(), "m", "i", "plus", std::nullopt, std::nullopt});
        QCOMPARE(store_->data(kept), std::optional(QByteArray("[{\"name\":\"mine\"}]")));
        QCOMPARE(AppSettings(*store_).instructionShortcuts().size(), 2U);
    }

    void anActionWithoutAShortcutHasNeitherKey()
    {
        InstructionShortcut action{QUuid::createUuid(), "n", "i", "plus", std::nullopt, std::nullopt};
        const QJsonObject written =
            QJsonDocument::fromJson(encodeShortcuts({action})).array().at(0).toObject();
        QCOMPARE(written.keys(), QStringList({"icon", "id", "instruction", "name"}));
        const auto read = decodeShortcuts(encodeShortcuts({action}));
        QVERIFY(read && read->front() == action);
        test::FakeKeyboardLayout layout;
        QVERIFY(!read->front().hotkeyDisplayString(layout));
        action.keyCode = 15;
        QVERIFY(!action.hotkeyDisplayString(layout));
        QCOMPARE(decodeShortcuts(encodeShortcuts({action}))->front(), action);
    }

    void aListOfAnotherWriterIsRead()
    {
        const auto read = decodeShortcuts(
            R"([{"id":"e621e1f8-c36c-495a-93fc-0c247a3e6e5f","name":"n","instruction":"i","icon":"plus",)"
            R"("keyCode":null,"modifiersRaw":1.179648e6,"colour":"red"}])");
        QVERIFY(read);
        const InstructionShortcut expected{QUuid(QStringLiteral("E621E1F8-C36C-495A-93FC-0C247A3E6E5F")),
                                           "n",
                                           "i",
                                           "plus",
                                           std::nullopt,
                                           0x120000};
        QCOMPARE(read->front(), expected);
    }

    void everyFieldTakesPartInEquality()
    {
        const InstructionShortcut action{QUuid::createUuid(), "n", "i", "plus", 15, 0x120000};
        std::vector<InstructionShortcut> others(6, action);
        others[0].id = QUuid::createUuid();
        others[1].name = QStringLiteral("m");
        others[2].instruction = QStringLiteral("j");
        others[3].icon = QStringLiteral("minus");
        others[4].keyCode = std::nullopt;
        others[5].modifiersRaw = 0x140000;
        for (const InstructionShortcut& other : others)
            QVERIFY(!(other == action));
    }

    void displayString()
    {
        test::FakeKeyboardLayout layout;
        InstructionShortcut action{QUuid::createUuid(), "n", "i", "plus", 15, 0x1C0000};
        QCOMPARE(action.hotkeyDisplayString(layout), std::optional(QStringLiteral("⌃⌥⌘R")));
        action.modifiersRaw = 0x1E0000;
        QCOMPARE(action.hotkeyDisplayString(layout), std::optional(QStringLiteral("⌃⌥⇧⌘R")));
        action.modifiersRaw = 0x120000 | 0x10000; // Caps Lock does not show
        QCOMPARE(action.hotkeyDisplayString(layout), std::optional(QStringLiteral("⇧⌘R")));
    }

    void editing()
    {
        AppSettings settings(*store_);
        QSignalSpy changed(&settings, &AppSettings::instructionShortcutsChanged);
        InstructionShortcut action{QUuid::createUuid(), "New", "i", "plus", 8, 0x140000};
        QVERIFY(settings.addShortcut(action));
        QCOMPARE(settings.instructionShortcuts().back(), action);
        QCOMPARE(settings.activeShortcutCount(), 2);
        action.name = QStringLiteral("Renamed");
        settings.updateShortcut(action);
        QCOMPARE(settings.instructionShortcuts().back().name, QStringLiteral("Renamed"));
        QCOMPARE(changed.size(), 2);
        InstructionShortcut stranger = action;
        stranger.id = QUuid::createUuid();
        settings.updateShortcut(stranger);
        QCOMPARE(changed.size(), 2);
        settings.removeShortcut(action.id);
        QCOMPARE(settings.instructionShortcuts().size(), 5u);
        QCOMPARE(AppSettings(*store_).instructionShortcuts().size(), 5u);
    }

    void actionsThatShareAnId()
    {
        AppSettings settings(*store_);
        InstructionShortcut action{QUuid::createUuid(), "a", "i", "plus", std::nullopt, std::nullopt};
        settings.setInstructionShortcuts({action, action});
        action.name = QStringLiteral("b");
        settings.updateShortcut(action);
        QCOMPARE(settings.instructionShortcuts().front().name, QStringLiteral("b"));
        QCOMPARE(settings.instructionShortcuts().back().name, QStringLiteral("a"));
        settings.removeShortcut(action.id);
        QVERIFY(settings.instructionShortcuts().empty());
    }

    void countNeverStartsNegative()
    {
        store_->set(QStringLiteral("completedRewriteCount"), -7);
        AppSettings settings(*store_);
        QCOMPARE(settings.completedRewriteCount(), 0);
        QSignalSpy counted(&settings, &AppSettings::completedRewriteCountChanged);
        settings.recordCompletedRewrite();
        QCOMPARE(counted.size(), 1);
        QCOMPARE(store_->integer(QStringLiteral("completedRewriteCount")), 1);
    }

    void aChoiceKeepsTheModeOfOtherProviders()
    {
        AppSettings settings(*store_);
        QSignalSpy provider(&settings, &AppSettings::providerChanged);
        QSignalSpy mode(&settings, &AppSettings::openaiAuthModeChanged);
        settings.select(AIConnectionChoice::openaiKey);
        settings.select(AIConnectionChoice::cloud);
        QCOMPARE(settings.connectionChoice(), AIConnectionChoice::cloud);
        settings.setProvider(AIProvider::openai);
        QCOMPARE(settings.connectionChoice(), AIConnectionChoice::openaiKey);
        settings.select(AIConnectionChoice::chatgpt);
        settings.select(AIConnectionChoice::cloud);
        settings.setProvider(AIProvider::openai);
        QCOMPARE(settings.connectionChoice(), AIConnectionChoice::chatgpt);
        QCOMPARE(provider.size(), 5);
        QCOMPARE(mode.size(), 2);
    }

    void aChoiceWritesTheProviderFirst()
    {
        AppSettings settings(*store_);
        QStringList changes;
        connect(&settings, &AppSettings::providerChanged, this,
                [&] { changes << rawValue(settings.provider()); });
        connect(&settings, &AppSettings::openaiAuthModeChanged, this,
                [&] { changes << rawValue(settings.openaiAuthMode()); });
        settings.select(AIConnectionChoice::openaiKey);
        settings.select(AIConnectionChoice::openaiKey);
        QCOMPARE(changes, QStringList({"openai", "apiKey"}));
    }

    void aCorruptFileIsKeptBesideTheNewOne()
    {
        QFile file(path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[General\nselectedProvider=claude\n\x00\xFF garbage without equals\n");
        file.close();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Part of the settings file")));
        UserDefaults store(path());
        AppSettings settings(store);
        const QStringList kept =
            QDir(folder_->path()).entryList({QStringLiteral("defaults.unreadable-*.ini")});
        QCOMPARE(kept.size(), 1);
    }

private:
    [[nodiscard]] QString path() const { return folder_->filePath(QStringLiteral("defaults.ini")); }

    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<UserDefaults> store_;
};

QTEST_GUILESS_MAIN(tst_AppSettings)
#include "tst_AppSettings.moc"
