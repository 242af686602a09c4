#include "support/FailOnWarnings.h"
#include "ui/settings/OverviewModel.h"
#include "ui/settings/SettingsFixture.h"
#include "ui/settings/SettingsModel.h"
#include "ui/settings/WritingActionsModel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

using namespace quillmarsh;
using test::SettingsFixture;

/// The window's sections, the overview and the list of writing actions.
class tst_SettingsModels final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        test::failOnWarnings();
        fixture_ = std::make_unique<SettingsFixture>();
    }

    void theSectionsAndTheirTexts_data()
    {
        QTest::addColumn<int>("section");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("subtitle");
        QTest::newRow("overview") << 0 << "Overview"
                                  << "Overview"
                                  << "house"
                                  << "Overview"
                                  << "";
        QTest::newRow("actions") << 1 << "Shortcuts"
                                 << "Shortcuts"
                                 << "command"
                                 << "Writing actions"
                                 << "Choose what a shortcut does to your selected text.";
        QTest::newRow("connections") << 2 << "AI connections"
                                     << "Connect your AI"
                                     << "circle.hexagongrid"
                                     << "Connect your AI"
                                     << "Choose the account and model that handle your rewrites.";
        QTest::newRow("guide") << 3 << "Getting started"
                               << "Getting started"
                               << "book.closed"
                               << "Getting started"
                               << "";
        QTest::newRow("permissions") << 4 << "Permissions"
                                     << "Permissions"
                                     << "checkmark.shield"
                                     << "Enable your shortcut"
                                     << "You stay in control of what Quillmarsh can access.";
    }

    void theSectionsAndTheirTexts()
    {
        QFETCH(int, section);
        SettingsModel model(fixture_->rewrite.defaults, fixture_->notifications);
        model.setIndex(section);
        QTEST(*fixture_->rewrite.defaults.string("settingsSection"), "stored");
        QTEST(model.rows().at(section).toMap().value("label").toString(), "label");
        QTEST(model.rows().at(section).toMap().value("symbol").toString(), "symbol");
        QTEST(model.title(), "title");
        QTEST(model.subtitle(), "subtitle");
        QCOMPARE(model.rows().size(), 5);
    }

    void theFirstSection_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<bool>("seen");
        QTest::addColumn<int>("first");
        QTest::newRow("first start") << QString() << false << int(SettingsSection::guide);
        QTest::newRow("after the guide") << QString() << true << int(SettingsSection::general);
        QTest::newRow("stored") << "Permissions" << false << int(SettingsSection::permissions);
        QTest::newRow("unknown") << "Somewhere" << false << int(SettingsSection::general);
    }

    void theFirstSection()
    {
        QFETCH(QString, stored);
        QFETCH(bool, seen);
        if (!stored.isNull())
            fixture_->rewrite.defaults.set("settingsSection", stored);
        fixture_->rewrite.defaults.set("hasSeenModernOnboarding", seen);
        const SettingsModel model(fixture_->rewrite.defaults, fixture_->notifications);
        QTEST(model.index(), "first");
    }

    void noticesSelectASection_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("section");
        QTest::addColumn<int>("selected");
        QTest::newRow("alert") << "openSettingsFromAlert"
                               << "AI connections" << 2;
        QTest::newRow("tutorial") << "openSettingsFromTutorial"
                                  << "Permissions" << 4;
        QTest::newRow("unknown section") << "openSettingsFromAlert"
                                         << "Nowhere" << 0;
        QTest::newRow("no section") << "openSettingsFromAlert"
                                    << "" << 0;
        QTest::newRow("other notice") << "somethingElse"
                                      << "Permissions" << 0;
    }

    void noticesSelectASection()
    {
        QFETCH(QString, name);
        QFETCH(QString, section);
        QFETCH(int, selected);
        fixture_->rewrite.defaults.set("settingsSection", "Overview");
        SettingsModel model(fixture_->rewrite.defaults, fixture_->notifications);
        QSignalSpy changes(&model, &SettingsModel::sectionChanged);
        fixture_->notifications.post(name, {{"section", section}});
        QCOMPARE(model.index(), selected);
        QCOMPARE(changes.count(), selected == 0 ? 0 : 1);
        QCOMPARE(*fixture_->rewrite.defaults.string("settingsSection"),
                 selected == 0 ? QStringLiteral("Overview") : section);
    }

    void aPositionOutsideTheSidebarIsIgnored()
    {
        fixture_->rewrite.defaults.set("settingsSection", "Permissions");
        SettingsModel model(fixture_->rewrite.defaults, fixture_->notifications);
        model.setIndex(-1);
        model.setIndex(5);
        QCOMPARE(model.section(), SettingsSection::permissions);
    }

    void theOverviewCounts()
    {
        OverviewModel model(fixture_->rewrite.settings, fixture_->updates);
        QCOMPARE(model.activeShortcutCount(), 1);
        QCOMPARE(model.completedRewriteCount(), 0);
        QSignalSpy shortcuts(&model, &OverviewModel::activeShortcutCountChanged);
        QSignalSpy rewrites(&model, &OverviewModel::completedRewriteCountChanged);
        fixture_->rewrite.settings.setInstructionShortcuts({});
        fixture_->rewrite.settings.recordCompletedRewrite();
        QCOMPARE(model.activeShortcutCount(), 0);
        QCOMPARE(model.completedRewriteCount(), 1);
        QCOMPARE(shortcuts.count(), 1);
        QCOMPARE(rewrites.count(), 1);
    }

    void aFailedCheckIsVisibleInTheOverview()
    {
        OverviewModel model(fixture_->rewrite.settings, fixture_->updates);
        QCOMPARE(model.updateProblem(), QString());
        test::runTask(fixture_->updates.checkForUpdates(true));
        QVERIFY(!model.updateProblem().isEmpty());
        QCOMPARE(model.update()->buttonLabel(), QStringLiteral("Check for updates"));
    }

    void theListShowsNameSymbolAndShortcut()
    {
        WritingActionsModel& model = actions();
        QAbstractItemModelTester tester(&model);
        QCOMPARE(model.countText(), QStringLiteral("5 writing actions"));
        QCOMPARE(names(), QStringList({"Autocorrect", "Formal", "Casual", "Shorter", "Longer"}));
        QCOMPARE(value(0, WritingActionsModel::ShortcutRole), QStringLiteral("⇧⌘R"));
        QCOMPARE(value(1, WritingActionsModel::ShortcutRole), QString());
        QCOMPARE(value(0, WritingActionsModel::IconRole), QStringLiteral("checkmark.circle"));
    }

    void movingWritesTheListAndKeepsTheRows()
    {
        WritingActionsModel& model = actions();
        QAbstractItemModelTester tester(&model);
        const QPersistentModelIndex formal = model.index(1);
        model.moveUp(1);
        QCOMPARE(names(), QStringList({"Formal", "Autocorrect", "Casual", "Shorter", "Longer"}));
        QCOMPARE(formal.row(), 0);
        QVERIFY(formal.data(WritingActionsModel::IsFirstRole).toBool());
        model.moveDown(0);
        model.moveDown(4);
        model.moveUp(0);
        model.moveUp(17);
        QCOMPARE(names(), QStringList({"Autocorrect", "Formal", "Casual", "Shorter", "Longer"}));
        QCOMPARE(fixture_->rewrite.settings.instructionShortcuts().front().name,
                 QStringLiteral("Autocorrect"));
    }

    void everyChangeRestartsTheShortcuts()
    {
        WritingActionsModel& model = actions();
        auto& taps = fixture_->rewrite.platform.eventTaps->taps;
        const size_t before = taps.size();
        model.moveUp(1);
        QCOMPARE(taps.size(), before + 1);
        QVERIFY(taps.at(before - 1)->invalidated);
        QVERIFY(taps.back()->enabled);
        model.remove(1); // Autocorrect, the only one with a shortcut
        QVERIFY(taps.back()->invalidated);
        QVERIFY(!fixture_->rewrite.service->hotkeyRegistered());
        model.undo();
        QVERIFY(taps.back()->enabled);
        QCOMPARE(taps.back()->interest, std::vector<KeyCombination>({{15, 0x120000}}));
    }

    void aDeletionIsTakenBack()
    {
        WritingActionsModel& model = actions();
        QAbstractItemModelTester tester(&model);
        const auto before = fixture_->rewrite.settings.instructionShortcuts();
        QSignalSpy undo(&model, &WritingActionsModel::undoChanged);
        model.remove(3);
        model.remove(0);
        QCOMPARE(names(), QStringList({"Formal", "Casual", "Longer"}));
        QCOMPARE(model.undoText(), QStringLiteral("Deleted “Autocorrect”."));
        model.undo();
        QCOMPARE(model.undoText(), QStringLiteral("Deleted “Shorter”."));
        model.undo();
        QCOMPARE(fixture_->rewrite.settings.instructionShortcuts(), before);
        QCOMPARE(model.undoText(), QString());
        QCOMPARE(undo.count(), 4);
        model.undo();
        QCOMPARE(model.count(), 5);
    }

    void aForgottenDeletionStays()
    {
        WritingActionsModel& model = actions();
        model.remove(0);
        model.forgetDeleted();
        model.undo();
        QCOMPARE(model.count(), 4);
    }

    void aDeletedRowReturnsToTheEndOfAShorterList()
    {
        WritingActionsModel& model = actions();
        model.remove(4);
        fixture_->rewrite.settings.setInstructionShortcuts({});
        model.undo();
        QCOMPARE(names(), QStringList("Longer"));
    }

    void rowsOutsideTheListAreIgnored()
    {
        WritingActionsModel& model = actions();
        model.remove(-1);
        model.remove(5);
        QCOMPARE(model.count(), 5);
        QCOMPARE(model.undoText(), QString());
        QVERIFY(!model.data(model.index(9), WritingActionsModel::NameRole).isValid());
    }

    void changesFromElsewhereArriveAsRowChanges()
    {
        WritingActionsModel& model = actions();
        QAbstractItemModelTester tester(&model);
        QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
        auto list = fixture_->rewrite.settings.instructionShortcuts();
        std::rotate(list.begin(), list.begin() + 2, list.end());
        list.erase(list.begin() + 1);
        list.insert(list.begin(), {QUuid::createUuid(), "New", "x", "star", {}, {}});
        list.back().name = "Renamed";
        fixture_->rewrite.settings.setInstructionShortcuts(list);
        QCOMPARE(names(), QStringList({"New", "Casual", "Longer", "Autocorrect", "Renamed"}));
        QCOMPARE(resets.count(), 0);
    }

    void aShortcutThatAnotherProgramOwnsIsNamed()
    {
        fixture_->rewrite.platform.eventTaps->refusedCombinations = {{15, 0x120000}};
        actions();
        auto list = fixture_->rewrite.settings.instructionShortcuts();
        list.at(1).keyCode = 8;
        list.at(1).modifiersRaw = 0x140000;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(".*"));
        fixture_->rewrite.settings.setInstructionShortcuts(list);
        QCOMPARE(value(0, WritingActionsModel::RefusalRole),
                 QStringLiteral("Another program uses ⇧⌘R. Choose a different shortcut."));
        QCOMPARE(value(1, WritingActionsModel::RefusalRole), QString());
        QCOMPARE(value(2, WritingActionsModel::RefusalRole), QString());
    }

    void anotherKeyboardLayoutChangesTheTexts()
    {
        WritingActionsModel& model = actions();
        QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
        fixture_->rewrite.platform.keyboardLayout->characters[15] = "к";
        emit fixture_->rewrite.platform.keyboardLayout->changed();
        QCOMPARE(changes.count(), 1);
        QCOMPARE(value(0, WritingActionsModel::ShortcutRole), QStringLiteral("⇧⌘К"));
    }

private:
    WritingActionsModel& actions()
    {
        actions_ =
            std::make_unique<WritingActionsModel>(fixture_->rewrite.settings, *fixture_->rewrite.service,
                                                  *fixture_->rewrite.platform.keyboardLayout);
        return *actions_;
    }

    QString value(int row, int role) { return actions_->data(actions_->index(row), role).toString(); }

    QStringList names()
    {
        QStringList names;
        for (int row = 0; row < actions_->count(); ++row)
            names << value(row, WritingActionsModel::NameRole);
        return names;
    }

    std::unique_ptr<SettingsFixture> fixture_;
    std::unique_ptr<WritingActionsModel> actions_;

private slots:
    void cleanup()
    {
        actions_.reset();
        fixture_.reset();
    }
};

QTEST_GUILESS_MAIN(tst_SettingsModels)
#include "tst_SettingsModels.moc"
