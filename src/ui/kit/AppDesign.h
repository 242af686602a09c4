#pragma once

#include <QColor>
#include <QFont>
#include <QObject>
#include <QPointer>
#include <QStringList>

namespace quillmarsh {

class DesktopAppearance;

/// The look of every window: palette, type and the question whether things may move. One per process, known
/// to the views as `AppDesign`. Sizes are device-independent pixels. Main thread only.
class AppDesign final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QColor page READ page CONSTANT)
    Q_PROPERTY(QColor surface READ surface CONSTANT)
    Q_PROPERTY(QColor muted READ muted CONSTANT)
    Q_PROPERTY(QColor ink READ ink CONSTANT)
    Q_PROPERTY(QColor secondary READ secondary CONSTANT)
    Q_PROPERTY(QColor border READ border CONSTANT)
    Q_PROPERTY(QColor accent READ accent CONSTANT)
    Q_PROPERTY(QColor accentSoft READ accentSoft CONSTANT)
    Q_PROPERTY(QColor success READ success CONSTANT)
    Q_PROPERTY(qreal textScale READ textScale CONSTANT)
    Q_PROPERTY(bool reduceMotion READ reduceMotion NOTIFY appearanceChanged)
    Q_PROPERTY(bool increaseContrast READ increaseContrast NOTIFY appearanceChanged)

public:
    [[nodiscard]] static AppDesign& shared();
    /// The same design for the views of one QML engine; owned by `engine`.
    [[nodiscard]] static AppDesign* forEngine(QObject* engine);

    [[nodiscard]] static QColor page() { return {248, 249, 251}; }
    [[nodiscard]] static QColor surface() { return {255, 255, 255}; }
    [[nodiscard]] static QColor muted() { return {241, 243, 246}; }
    [[nodiscard]] static QColor ink() { return {36, 39, 46}; }
    [[nodiscard]] static QColor secondary() { return {105, 112, 124}; }
    [[nodiscard]] static QColor border() { return {220, 224, 231}; }
    [[nodiscard]] static QColor accent() { return {49, 91, 184}; }
    [[nodiscard]] static QColor accentSoft() { return {233, 239, 255}; }
    [[nodiscard]] static QColor success() { return {55, 121, 88}; }

    /// Registers every font file of `folder`; the names of the files that hold fonts.
    static QStringList registerFonts(const QString& folder);
    /// Where the application bundle keeps its fonts; without one that holds fonts the built-in copies serve.
    /// Counts until the first font is asked for.
    static void setFontsFolder(const QString& folder);
    /// The face for a weight: "Outfit-Medium", "Outfit-SemiBold" and "Outfit-Bold" for exactly these weights,
    /// "Outfit-Regular" for any other.
    [[nodiscard]] static QString faceName(int weight);
    /// How much larger than usual the user wants text, from 1 to 2.
    [[nodiscard]] static qreal textScale();
    /// The kit font. `size` is that of a user with an ordinary text size; a larger one scales it.
    Q_INVOKABLE static QFont font(qreal size, int weight = QFont::Normal);
    /// The monospaced kit font, for shortcut text.
    Q_INVOKABLE static QFont monospaced(qreal size);

    /// Whose wishes `reduceMotion` and `increaseContrast` follow; everything is off without one.
    static void setAppearance(DesktopAppearance* appearance);
    [[nodiscard]] bool reduceMotion() const;
    [[nodiscard]] bool increaseContrast() const;

signals:
    void appearanceChanged();

private:
    using QObject::QObject;

    QPointer<DesktopAppearance> appearance_;
};

} // namespace quillmarsh
