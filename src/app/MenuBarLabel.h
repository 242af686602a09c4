#pragma once

#include <QIcon>
#include <QObject>
#include <QRect>

#include <memory>

class QSystemTrayIcon;

namespace quillmarsh {

class RewriteService;

/// The status-bar icon: shows whether a rewrite runs, opens the menu, and passes on the notices that ask for
/// the settings window. Without a tray it has no picture and still passes notices on.
class MenuBarLabel final : public QObject
{
    Q_OBJECT

public:
    explicit MenuBarLabel(const RewriteService& service, QObject* parent = nullptr);
    ~MenuBarLabel() override;

    /// Puts the icon into the tray. Call once, when a tray is there.
    void show();
    /// "arrow.triangle.2.circlepath" while a rewrite runs, otherwise "textformat.abc".
    [[nodiscard]] QString symbol() const;
    /// Where the icon is on the screen; a null rectangle when the tray does not tell.
    [[nodiscard]] QRect geometry() const;

signals:
    void menuRequested();
    /// A right click.
    void commandsRequested();
    void settingsRequested();

private:
    void update();

    const RewriteService& service_;
    std::unique_ptr<QSystemTrayIcon> icon_;
};

/// A white symbol on a rounded square of the accent colour, legible on light and dark panels alike.
[[nodiscard]] QIcon statusIcon(const QString& symbol);

/// What the windows show in a task list.
[[nodiscard]] QIcon applicationIcon();

} // namespace quillmarsh
