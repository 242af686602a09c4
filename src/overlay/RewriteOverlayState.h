#pragma once

#include <QObject>
#include <QSizeF>
#include <QString>

#include <functional>
#include <optional>

namespace quillmarsh {

/// What the progress panel shows. The controller changes it, the panel's view draws it and reports back
/// through the three callbacks. Lengths are device-independent pixels.
class RewriteOverlayState final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(Phase phase READ phase NOTIFY phaseChanged)
    Q_PROPERTY(QString title READ title NOTIFY titleChanged)
    Q_PROPERTY(QString detail READ detail NOTIFY detailChanged)
    Q_PROPERTY(bool isVisible READ isVisible NOTIFY isVisibleChanged)
    Q_PROPERTY(QString actionTitle READ actionTitleText NOTIFY actionTitleChanged)
    Q_PROPERTY(bool hasActionTitle READ hasActionTitle NOTIFY actionTitleChanged)
    Q_PROPERTY(qreal surfaceHeight READ surfaceHeight NOTIFY windowSizeChanged)
    Q_PROPERTY(QSizeF windowSize READ windowSize NOTIFY windowSizeChanged)

public:
    enum class Phase { Working, Success, Error };
    Q_ENUM(Phase)

    /// The transparent border on every side of the surface; the shadow lies in it.
    static constexpr qreal margin = 12;

    using QObject::QObject;

    [[nodiscard]] Phase phase() const { return phase_; }
    /// The first line: the writing action's name while working, then the outcome.
    [[nodiscard]] const QString& title() const { return title_; }
    /// The second line: the front application's name while working, then what went wrong.
    [[nodiscard]] const QString& detail() const { return detail_; }
    /// Whether the panel is meant to be showing. True before the first presentation.
    [[nodiscard]] bool isVisible() const { return isVisible_; }
    /// The label of the error card's extra button; none means that there is no such button.
    [[nodiscard]] const std::optional<QString>& actionTitle() const { return actionTitle_; }
    [[nodiscard]] bool hasActionTitle() const { return actionTitle_.has_value(); }
    /// Whether the next change of phase is one to animate: only the one from working to an outcome is.
    Q_INVOKABLE [[nodiscard]] bool animatesPhaseChanges() const { return animatesPhaseChanges_; }

    [[nodiscard]] qreal surfaceHeight() const;
    /// The panel's size: the surface of the phase and the margin around it.
    [[nodiscard]] QSizeF windowSize() const;

    void setPhase(Phase phase);
    void setTitle(const QString& title);
    void setDetail(const QString& detail);
    void setIsVisible(bool isVisible);
    void setActionTitle(const std::optional<QString>& actionTitle);
    void setAnimatesPhaseChanges(bool animates) { animatesPhaseChanges_ = animates; }

    void setHoverChanged(std::function<void(bool)> callback) { hoverChanged_ = std::move(callback); }
    void setAction(std::function<void()> callback) { action_ = std::move(callback); }
    void setDismiss(std::function<void()> callback) { dismiss_ = std::move(callback); }

    /// The panel calls it when the pointer enters (true) or leaves (false); without a callback nothing
    /// happens, as in the two others.
    void hoverChanged(bool isInside);
    /// The view calls it from the extra button.
    Q_INVOKABLE void action();
    /// The view calls it from the dismiss or cancel control.
    Q_INVOKABLE void dismiss();

signals:
    void phaseChanged();
    void titleChanged();
    void detailChanged();
    void isVisibleChanged();
    void actionTitleChanged();
    void windowSizeChanged();

private:
    [[nodiscard]] QString actionTitleText() const { return actionTitle_.value_or(QString()); }
    [[nodiscard]] qreal surfaceWidth() const;
    void announceWindowSize();

    Phase phase_ = Phase::Working;
    QString title_ = QStringLiteral("Rewriting");
    QString detail_;
    bool isVisible_ = true;
    std::optional<QString> actionTitle_;
    bool animatesPhaseChanges_ = false;
    std::function<void(bool)> hoverChanged_;
    std::function<void()> action_;
    std::function<void()> dismiss_;
    QSizeF announcedSize_ = windowSize();
};

} // namespace quillmarsh
