#include "app/QuillmarshCommands.h"

#include "app/MenuBarModel.h"

#include <QKeyEvent>
#include <QMenu>
#include <QPointer>
#include <QWindow>

namespace quillmarsh {

QuillmarshCommands::QuillmarshCommands(MenuBarModel& model, QObject* parent) : QObject(parent), model_(model)
{
    // The menu names it by the Super key, as every shortcut of the product; its list shows the first.
    openQuillmarsh_.setShortcuts({Qt::CTRL | Qt::Key_Comma, Qt::META | Qt::Key_Comma});
    connect(&checkForUpdates_, &QAction::triggered, &model_, &MenuBarModel::checkForUpdates);
    connect(&openQuillmarsh_, &QAction::triggered, &model_, &MenuBarModel::openQuillmarsh);
    connect(&quit_, &QAction::triggered, &model_, &MenuBarModel::quit);
    connect(&model_, &MenuBarModel::updateChanged, this, &QuillmarshCommands::update);
    update();
}

QuillmarshCommands::~QuillmarshCommands() = default;

void QuillmarshCommands::update()
{
    checkForUpdates_.setVisible(model_.updatesItself());
    checkForUpdates_.setEnabled(model_.canCheckForUpdates());
}

void QuillmarshCommands::popUp(QPoint position)
{
    menu_ = std::make_unique<QMenu>();
    menu_->setWindowTitle(QStringLiteral("Quillmarsh commands"));
    menu_->addActions({&checkForUpdates_, &openQuillmarsh_, &quit_});
    // Queued: the choice that hides the menu is still on its way through it. Another may be open by then.
    const auto release = [this, hidden = QPointer(menu_.get())] {
        if (menu_.get() == hidden)
            menu_.reset();
    };
    connect(menu_.get(), &QMenu::aboutToHide, this, release, Qt::QueuedConnection);
    menu_->popup(position);
}

void QuillmarshCommands::serve(QWindow& window)
{
    window.installEventFilter(this);
}

bool QuillmarshCommands::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress)
        return QObject::eventFilter(watched, event);
    const QKeyCombination pressed = static_cast<QKeyEvent*>(event)->keyCombination();
    if (!openQuillmarsh_.shortcuts().contains(QKeySequence(pressed)))
        return false;
    openQuillmarsh_.trigger();
    return true;
}

} // namespace quillmarsh
