#pragma once

#include <QQuickView>

namespace quillmarsh {

/// A window in the middle of the screen.
class KitWindow final : public QQuickView
{
    Q_OBJECT

public:
    explicit KitWindow(const QString& title);

    /// Larger text needs a larger window, as far as the screen has room.
    [[nodiscard]] QSize withTextScale(const QSize& size) const;
    /// Takes this size, around the middle of what the desktop leaves free of the screen.
    void takeMiddle(const QSize& size);

signals:
    /// It was closed. It is still handling the event, so whoever destroys it then does so from the event
    /// loop.
    void closed();

protected:
    bool event(QEvent* event) override;
};

} // namespace quillmarsh
