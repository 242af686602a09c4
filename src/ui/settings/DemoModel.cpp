#include "ui/settings/DemoModel.h"

#include "platform/ModifierFlags.h"

#include <QAccessible>
#include <QQuickTextDocument>
#include <QTextBlockFormat>
#include <QTextCursor>
#include <QTextDocument>

namespace quillmarsh {

using namespace Qt::StringLiterals;

DemoModel::DemoModel(VirtualKeys virtualKeys, std::function<void(bool)> focusChanged, DemoSample sample,
                     QObject* parent)
    : QObject(parent), virtualKeys_(std::move(virtualKeys)), focusChanged_(std::move(focusChanged)),
      sample_(std::move(sample)), text_(sample_.original)
{}

DemoModel::~DemoModel()
{
    setFocused(false);
}

QString DemoModel::heading() const
{
    switch (status_) {
    case Status::ready:
        return u"Your words, a little clearer."_s;
    case Status::selected:
        return u"Your selection is ready to rewrite."_s;
    case Status::needsFullSelection:
        return u"Select the whole sentence to try it."_s;
    case Status::complete:
        return u"Nicely done."_s;
    }
    Q_UNREACHABLE();
}

QString DemoModel::instruction() const
{
    return status_ == Status::ready ? u"Select the sentence."_s : QString();
}

QString DemoModel::hint() const
{
    return status_ == Status::ready ? u"Click and drag across the whole text below."_s : QString();
}

QString DemoModel::pressText() const
{
    if (status_ == Status::ready)
        return u"Then press"_s;
    return status_ == Status::selected ? u"Now press"_s : QString();
}

void DemoModel::selectionChanged(int start, int end)
{
    selectionStart_ = start;
    selectionEnd_ = end;
    if (text_ == sample_.original)
        report(isWholeSelection() ? Status::selected : Status::ready);
}

bool DemoModel::keyDown(quint32 nativeScanCode, int modifiers, bool isAutoRepeat)
{
    constexpr int mask =
        int(Qt::ShiftModifier) | int(Qt::ControlModifier) | int(Qt::AltModifier) | int(Qt::MetaModifier);
    if (virtualKeys_(nativeScanCode) != VirtualKey::r || (modifiers & mask) != int(Qt::ControlModifier))
        return false;
    if (!isAutoRepeat)
        rewriteSelection();
    return true;
}

void DemoModel::setFocused(bool focused)
{
    if (isFocused_ == focused)
        return;
    isFocused_ = focused;
    focusChanged_(focused);
}

void DemoModel::rewriteSelection()
{
    if (text_ != sample_.original)
        return;
    if (!isWholeSelection())
        return report(Status::needsFullSelection);
    setText(sample_.corrected);
    report(Status::complete);
    emit rewritten();
}

void DemoModel::tryAgain()
{
    selectionStart_ = selectionEnd_ = 0;
    setText(sample_.original);
    report(Status::ready);
}

// Queued: the document is in the middle of a change when it tells of a new text.
void DemoModel::styleDocument(QQuickTextDocument* document)
{
    const auto style = [text = document->textDocument()] {
        constexpr qreal lineSpacing = 5;
        QTextBlockFormat format;
        format.setLineHeight(lineSpacing, QTextBlockFormat::LineDistanceHeight);
        QTextCursor cursor(text);
        cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
        cursor.mergeBlockFormat(format);
    };
    QMetaObject::invokeMethod(document->textDocument(), style, Qt::QueuedConnection);
}

void DemoModel::announceChange(QObject* view) const
{
    QAccessibleValueChangeEvent event(view, text_);
    QAccessible::updateAccessibility(&event);
}

bool DemoModel::isWholeSelection() const
{
    return text_ == sample_.original && selectionStart_ == 0 && selectionEnd_ == sample_.original.size();
}

void DemoModel::report(Status status)
{
    if (status_ == status)
        return;
    status_ = status;
    emit statusChanged();
}

void DemoModel::setText(const QString& text)
{
    if (text_ == text)
        return;
    text_ = text;
    emit textChanged();
}

} // namespace quillmarsh
