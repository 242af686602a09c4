#include "support/FailOnWarnings.h"
#include "ui/settings/SettingsFixture.h"
#include "ui/settings/SettingsViewModels.h"

#include <QSignalSpy>
#include <QTest>

using namespace quillmarsh;
using test::SettingsFixture;

/// What may be saved, how a shortcut is recorded, and which one is taken already.
class tst_ShortcutEditor final : public QObject
{
    Q_OBJECT

private slots:

    void init()
    {
        test::failOnWarnings();
        fixture_ = std::make_unique<SettingsFixture>();
        models_ = std::make_unique<SettingsViewModels>(fixture_->environment());
        editor_ = models_->editor();
    }

    void cleanup()
    {
        models_.reset();
        fixture_.reset();
    }

    void aNewActionIsAppendedTrimmed()
    {
        editor_->create();
        QVERIFY(editor_->isOpen());
        QCOMPARE(editor_->title(), QStringLiteral("New writing action"));
        editor_->setName(QStringLiteral("  Pirate \n"));
        editor_->setInstruction(QStringLiteral("\n Like a pirate.\n"));
        press(35, Qt::Key_P, Qt::AltModifier);
        editor_->save();
        QVERIFY(!editor_->isOpen());
        const InstructionShortcut& action = list().back();
        QCOMPARE(list().size(), 6U);
        QVERIFY(!action.id.isNull());
        QCOMPARE(action.name, QStringLiteral("Pirate"));
        QCOMPARE(action.instruction, QStringLiteral("Like a pirate."));
        QCOMPARE(action.keyCode, 35);
        QCOMPARE(action.modifiersRaw, 0x80000);
        QCOMPARE(fixture_->rewrite.platform.eventTaps->taps.back()->interest.size(), 2U);
    }

    void anEditedActionKeepsItsIdAndSymbol()
    {
        const InstructionShortcut before = list().at(1);
        editor_->edit(1);
        QCOMPARE(editor_->title(), QStringLiteral("Edit writing action"));
        QCOMPARE(editor_->name(), QStringLiteral("Formal"));
        editor_->setName(QStringLiteral("Very formal"));
        editor_->save();
        InstructionShortcut expected = before;
        expected.name = QStringLiteral("Very formal");
        QCOMPARE(list().at(1), expected);
        QCOMPARE(list().size(), 5U);
    }

    void rowsOutsideTheListCannotBeEdited()
    {
        editor_->edit(-1);
        editor_->edit(5);
        QVERIFY(!editor_->isOpen());
    }

    void emptyTextsCannotBeSaved_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("instruction");
        QTest::addColumn<QString>("problem");
        QTest::newRow("both") << ""
                              << " \n\t"
                              << "Add a name and an instruction to save.";
        QTest::newRow("name") << " \u2003 "
                              << "x"
                              << "Add a name to save.";
        QTest::newRow("instruction") << "x"
                                     << ""
                                     << "Add an instruction to save.";
        QTest::newRow("none") << "x"
                              << "y"
                              << "";
    }

    void emptyTextsCannotBeSaved()
    {
        QFETCH(QString, name);
        QFETCH(QString, instruction);
        QFETCH(QString, problem);
        editor_->create();
        editor_->setName(name);
        editor_->setInstruction(instruction);
        QCOMPARE(editor_->problem(), problem);
        QCOMPARE(editor_->canSave(), problem.isEmpty());
        editor_->save();
        QCOMPARE(editor_->isOpen(), !problem.isEmpty());
        QCOMPARE(list().size(), problem.isEmpty() ? 6U : 5U);
    }

    void closingSavesNothing()
    {
        editor_->edit(0);
        editor_->setName(QStringLiteral("Other"));
        editor_->close();
        QCOMPARE(list().at(0).name, QStringLiteral("Autocorrect"));
        editor_->edit(0);
        QCOMPARE(editor_->name(), QStringLiteral("Autocorrect"));
    }

    void everyModifierIsRecorded_data()
    {
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<qint64>("word");
        QTest::addColumn<QString>("text");
        QTest::newRow("control") << int(Qt::ControlModifier) << qint64(0x40000) << "⌃Q";
        QTest::newRow("option") << int(Qt::AltModifier) << qint64(0x80000) << "⌥Q";
        QTest::newRow("shift") << int(Qt::ShiftModifier) << qint64(0x20000) << "⇧Q";
        QTest::newRow("command") << int(Qt::MetaModifier) << qint64(0x100000) << "⌘Q";
        QTest::newRow("all") << int(Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier |
                                    Qt::MetaModifier)
                             << qint64(0x1E0000) << "⌃⌥⇧⌘Q";
        QTest::newRow("keypad does not count")
            << int(Qt::KeypadModifier | Qt::ShiftModifier) << qint64(0x20000) << "⇧Q";
    }

    void everyModifierIsRecorded()
    {
        QFETCH(int, modifiers);
        QFETCH(qint64, word);
        editor_->edit(1);
        press(12, Qt::Key_Q, Qt::KeyboardModifiers(modifiers));
        QTEST(editor_->shortcutText(), "text");
        editor_->save();
        QCOMPARE(list().at(1).modifiersRaw, word);
        QCOMPARE(list().at(1).keyCode, 12);
    }

    void aBareKeyBeepsAndRecordingGoesOn()
    {
        editor_->edit(0);
        press(0, Qt::Key_A);
        QCOMPARE(fixture_->beeps, 1);
        QVERIFY(editor_->recorder()->isRecording());
        QCOMPARE(editor_->shortcutText(), QStringLiteral("⇧⌘R"));
        press(0, Qt::Key_A, Qt::KeypadModifier);
        QCOMPARE(fixture_->beeps, 2);
    }

    void aKeyWithoutACodeBeeps()
    {
        editor_->edit(0);
        editor_->startRecording();
        QKeyEvent unknown(QEvent::KeyPress, Qt::Key_VolumeUp, Qt::ControlModifier, 0, 0, 0);
        editor_->recorder()->keyDown(unknown);
        QCOMPARE(fixture_->beeps, 1);
        QVERIFY(editor_->recorder()->isRecording());
    }

    void modifiersAloneAreSilent()
    {
        editor_->edit(0);
        press(56, Qt::Key_Shift, Qt::ShiftModifier);
        press(55, Qt::Key_Super_L, Qt::MetaModifier);
        press(57, Qt::Key_CapsLock);
        QCOMPARE(fixture_->beeps, 0);
        QVERIFY(editor_->recorder()->isRecording());
    }

    void escapeLeavesTheShortcutAsItWas_data()
    {
        QTest::addColumn<int>("modifiers");
        QTest::newRow("bare") << int(Qt::NoModifier);
        QTest::newRow("with modifiers") << int(Qt::ControlModifier | Qt::AltModifier);
    }

    void escapeLeavesTheShortcutAsItWas()
    {
        QFETCH(int, modifiers);
        editor_->edit(0);
        press(53, Qt::Key_Escape, Qt::KeyboardModifiers(modifiers));
        QVERIFY(!editor_->recorder()->isRecording());
        QCOMPARE(editor_->shortcutText(), QStringLiteral("⇧⌘R"));
        QCOMPARE(fixture_->beeps, 0);
        QVERIFY(editor_->isOpen());
    }

    void aHeldKeyIsNoSecondShortcut()
    {
        editor_->edit(1);
        editor_->startRecording();
        QKeyEvent held = SettingsFixture::keyEvent(12, Qt::Key_Q, Qt::ControlModifier, true);
        editor_->recorder()->keyDown(held);
        QVERIFY(editor_->recorder()->isRecording());
    }

    void theProductsOwnShortcutsRestWhileRecording()
    {
        auto& taps = fixture_->rewrite.platform.eventTaps->taps;
        editor_->edit(0);
        editor_->startRecording();
        QVERIFY(taps.back()->invalidated);
        press(15, Qt::Key_R, Qt::ControlModifier);
        QVERIFY(taps.back()->enabled);
        editor_->startRecording();
        QVERIFY(taps.back()->invalidated);
        models_.reset(); // the window closes
        QVERIFY(taps.back()->enabled);
    }

    void aCombinationOfAnotherProgramIsNamed()
    {
        fixture_->owned = {{15, 0x40000}};
        editor_->edit(1);
        press(15, Qt::Key_R, Qt::ControlModifier);
        QCOMPARE(editor_->ownerNote(),
                 QStringLiteral("Another program uses ⌃R, so it may not reach Quillmarsh."));
        press(15, Qt::Key_R, Qt::AltModifier);
        QCOMPARE(editor_->ownerNote(), QString());
    }

    void theProbeAsksTheWindowSystemOnce()
    {
        test::FakeEventTapSource taps;
        taps.refusedCombinations = {{15, 0x40000}};
        QVERIFY(ownedByAnotherProgram(taps, {15, 0x40000}));
        QVERIFY(!ownedByAnotherProgram(taps, {15, 0x80000}));
        QVERIFY(taps.taps.back()->invalidated);
        taps.refuses = true;
        QVERIFY(!ownedByAnotherProgram(taps, {15, 0x40000}));
    }

    void aConflictIsNamedAndNothingSaved()
    {
        editor_->edit(1);
        press(15, Qt::Key_R, Qt::ShiftModifier | Qt::MetaModifier);
        editor_->save();
        QCOMPARE(
            editor_->conflictMessage(),
            QStringLiteral("This keyboard shortcut is already assigned to \"Autocorrect\". Please choose a "
                           "different shortcut."));
        QVERIFY(editor_->isOpen());
        QVERIFY(!list().at(1).hasShortcut());
        editor_->dismissConflict();
        QCOMPARE(editor_->conflictMessage(), QString());
        editor_->clearShortcut();
        editor_->save();
        QVERIFY(!editor_->isOpen());
    }

    void theEditedActionIsNoConflictWithItself()
    {
        editor_->edit(0);
        press(15, Qt::Key_R, Qt::ShiftModifier | Qt::MetaModifier);
        editor_->save();
        QVERIFY(!editor_->isOpen());
    }

    void onlyTheFourModifierBitsDecideAConflict()
    {
        auto actions = list();
        actions.at(0).modifiersRaw = 0x120000 | 0x10000 | 0x100; // stored with Caps Lock and a device bit
        fixture_->rewrite.settings.setInstructionShortcuts(actions);
        editor_->edit(1);
        press(15, Qt::Key_R, Qt::ShiftModifier | Qt::MetaModifier);
        editor_->save();
        QVERIFY(editor_->conflictMessage().contains("\"Autocorrect\""));
        editor_->dismissConflict();
        press(15, Qt::Key_R, Qt::ShiftModifier | Qt::ControlModifier);
        editor_->save();
        QVERIFY(!editor_->isOpen());
    }

    void removingAShortcutLeavesNeitherKey()
    {
        editor_->edit(0);
        editor_->clearShortcut();
        QCOMPARE(editor_->shortcutText(), QString());
        editor_->save();
        QVERIFY(!list().at(0).keyCode && !list().at(0).modifiersRaw);
    }

    void savingEndsARecording()
    {
        editor_->edit(0);
        editor_->startRecording();
        editor_->save();
        QVERIFY(!editor_->recorder()->isRecording());
        QCOMPARE(editor_->isOpen(), false);
    }

private:
    void press(quint16 virtualKey, Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        editor_->startRecording();
        const QKeyEvent event = SettingsFixture::keyEvent(virtualKey, key, modifiers);
        editor_->recorder()->keyDown(event);
    }

    [[nodiscard]] const std::vector<InstructionShortcut>& list() const
    {
        return fixture_->rewrite.settings.instructionShortcuts();
    }

    std::unique_ptr<SettingsFixture> fixture_;
    std::unique_ptr<SettingsViewModels> models_;
    ShortcutEditorModel* editor_ = nullptr;
};

QTEST_GUILESS_MAIN(tst_ShortcutEditor)
#include "tst_ShortcutEditor.moc"
