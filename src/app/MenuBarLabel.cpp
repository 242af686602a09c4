#include "app/MenuBarLabel.h"

#include "base/NotificationCenter.h"
#include "rewrite/RewriteService.h"
#include "ui/kit/AppDesign.h"
#include "ui/kit/SymbolImage.h"

#include <QPainter>
#include <QSystemTrayIcon>

namespace quillmarsh {

namespace {

const QString idleSymbol = QStringLiteral("textformat.abc");

QPixmap drawStatusIcon(const QString& symbol, int pixels)
{
    QPixmap pixmap(pixels, pixels);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(AppDesign::accent());
    const qreal margin = pixels / 22.0;
    const QRectF square(margin, margin, pixels - 2 * margin, pixels - 2 * margin);
    painter.drawRoundedRect(square, pixels * 0.24, pixels * 0.24);
    const int glyph = qRound(pixels * 0.68);
    const int inset = (pixels - glyph) / 2;
    painter.drawImage(inset, inset, symbolImage(symbol, Qt::white, glyph));
    return pixmap;
}

} // namespace

QIcon statusIcon(const QString& symbol)
{
    QIcon icon;
    for (const int pixels : {16, 22, 24, 32, 48, 64})
        icon.addPixmap(drawStatusIcon(symbol, pixels));
    return icon;
}

QIcon applicationIcon()
{
    return statusIcon(idleSymbol);
}

MenuBarLabel::MenuBarLabel(const RewriteService& service, QObject* parent)
    : QObject(parent), service_(service)
{
    connect(&service, &RewriteService::isProcessingChanged, this, &MenuBarLabel::update);
    connect(&NotificationCenter::defaultCenter(), &NotificationCenter::posted, this,
            [this](const QString& name) {
                if (name == QLatin1String(openSettingsFromAlert) ||
                    name == QLatin1String(openSettingsFromTutorial))
                    emit settingsRequested();
            });
}

MenuBarLabel::~MenuBarLabel() = default;

void MenuBarLabel::show()
{
    if (icon_)
        return;
    icon_ = std::make_unique<QSystemTrayIcon>();
    icon_->setToolTip(QStringLiteral("Quillmarsh"));
    // A double click arrives as a click and a double click; the second would close what the first opened.
    connect(icon_.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger)
            emit menuRequested();
        else if (reason == QSystemTrayIcon::Context)
            emit commandsRequested();
    });
    update();
    icon_->show();
}

QString MenuBarLabel::symbol() const
{
    return service_.isProcessing() ? QStringLiteral("arrow.triangle.2.circlepath") : idleSymbol;
}

QRect MenuBarLabel::geometry() const
{
    return icon_ ? icon_->geometry() : QRect();
}

void MenuBarLabel::update()
{
    if (icon_)
        icon_->setIcon(statusIcon(symbol()));
}

} // namespace quillmarsh
