#pragma once

#include <QAction>
#include <QObject>

#include <memory>

class QMenu;
class QWindow;

namespace quillmarsh {

class MenuBarModel;

/// The commands of the application's own menu, which a right click on the status icon opens.
class QuillmarshCommands final : public QObject
{
    Q_OBJECT

public:
    /// `model` outlives the commands.
    explicit QuillmarshCommands(MenuBarModel& model, QObject* parent = nullptr);
    ~QuillmarshCommands() override;

    /// "Check for Updates…": off while a check or an installation runs, hidden where a package manager keeps
    /// the application up to date.
    [[nodiscard]] QAction& checkForUpdates() { return checkForUpdates_; }
    /// "Open Quillmarsh", Control-comma or Super-comma.
    [[nodiscard]] QAction& openQuillmarsh() { return openQuillmarsh_; }
    /// "Quit Quillmarsh".
    [[nodiscard]] QAction& quit() { return quit_; }

    void popUp(QPoint position);
    /// Null while closed.
    [[nodiscard]] QMenu* menu() const { return menu_.get(); }
    /// Lets the shortcut of openQuillmarsh() work in a window of ours that has no use of its own for it.
    void serve(QWindow& window);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void update();

    MenuBarModel& model_;
    QAction checkForUpdates_{QStringLiteral("Check for Updates…")};
    QAction openQuillmarsh_{QStringLiteral("Open Quillmarsh")};
    QAction quit_{QStringLiteral("Quit Quillmarsh")};
    std::unique_ptr<QMenu> menu_;
};

} // namespace quillmarsh
