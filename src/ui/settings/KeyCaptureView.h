#pragma once

#include "ui/settings/ShortcutRecorder.h"

#include <QPointer>
#include <QQuickItem>

namespace quillmarsh {

/// The focus of a recording. As soon as it is in a window it takes the keyboard, so that recording starts
/// without a click, and it takes it from the window manager too, so that combinations of the desktop reach
/// the recorder where the window system allows it. Losing the focus cancels the recording.
class KeyCaptureView : public QQuickItem
{
    Q_OBJECT
    Q_PROPERTY(quillmarsh::ShortcutRecorder* recorder MEMBER recorder_ NOTIFY recorderChanged)

public:
    explicit KeyCaptureView(QQuickItem* parent = nullptr);
    ~KeyCaptureView() override;

signals:
    void recorderChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;

private:
    void takeKeyboard();
    void releaseKeyboard();

    ShortcutRecorder* recorder_ = nullptr;
    QPointer<QWindow> watched_;
    bool isGrabbing_ = false;
};

} // namespace quillmarsh
