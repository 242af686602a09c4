#pragma once

#include <QObject>

#include <optional>

class QQuickTextDocument;

namespace quillmarsh {

/// A sentence before and after.
struct DemoSample
{
    QString original = QStringLiteral("thanks for your help ill send the notes soon");
    QString corrected = QStringLiteral("Thanks for your help. I'll send the notes soon.");
};

/// The onboarding demo: selecting the whole sample sentence and pressing Control-R puts the corrected one in
/// its place, without any back end. Positions and lengths count UTF-16 units.
class DemoModel final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString text READ text NOTIFY textChanged)
    Q_PROPERTY(Status status READ status NOTIFY statusChanged)
    Q_PROPERTY(QString heading READ heading NOTIFY statusChanged)
    Q_PROPERTY(QString instruction READ instruction NOTIFY statusChanged)
    Q_PROPERTY(QString hint READ hint NOTIFY statusChanged)
    Q_PROPERTY(QString pressText READ pressText NOTIFY statusChanged)
    Q_PROPERTY(bool isComplete READ isComplete NOTIFY statusChanged)

public:
    enum class Status {
        ready,              ///< untouched, not wholly selected
        selected,           ///< exactly the whole sentence is selected
        needsFullSelection, ///< Control-R without the whole sentence
        complete,           ///< corrected
    };
    Q_ENUM(Status)

    using VirtualKeys = std::function<std::optional<quint16>(quint32 nativeScanCode)>;

    /// `focusChanged` tells the shortcut tap whether Control-R belongs to the demo now.
    DemoModel(VirtualKeys virtualKeys, std::function<void(bool)> focusChanged, DemoSample sample = {},
              QObject* parent = nullptr);
    ~DemoModel() override;

    [[nodiscard]] const QString& text() const { return text_; }
    [[nodiscard]] Status status() const { return status_; }
    [[nodiscard]] bool isComplete() const { return status_ == Status::complete; }
    [[nodiscard]] QString heading() const;
    [[nodiscard]] QString instruction() const;
    [[nodiscard]] QString hint() const;
    /// What stands before the keycaps; empty where none are shown.
    [[nodiscard]] QString pressText() const;

    /// The view's selection from `start` up to, not including, `end`.
    Q_INVOKABLE void selectionChanged(int start, int end);
    /// True when the key was the demo's own, so that the view leaves it alone.
    Q_INVOKABLE bool keyDown(quint32 nativeScanCode, int modifiers, bool isAutoRepeat);
    Q_INVOKABLE void setFocused(bool focused);
    /// Back to the sample sentence; also when the card is shown anew.
    Q_INVOKABLE void tryAgain();
    /// Gives the view's paragraphs their spacing; a new text has lost it.
    Q_INVOKABLE static void styleDocument(QQuickTextDocument* document);
    /// Tells assistive programs that the value of `view` is another.
    Q_INVOKABLE void announceChange(QObject* view) const;
    void rewriteSelection();

signals:
    void textChanged();
    void statusChanged();
    /// The sentence was replaced; the view selects all of it and says so to assistive programs.
    void rewritten();

private:
    [[nodiscard]] bool isWholeSelection() const;
    void report(Status status);
    void setText(const QString& text);

    VirtualKeys virtualKeys_;
    std::function<void(bool)> focusChanged_;
    DemoSample sample_;
    QString text_;
    int selectionStart_ = 0;
    int selectionEnd_ = 0;
    Status status_ = Status::ready;
    bool isFocused_ = false;
};

} // namespace quillmarsh
