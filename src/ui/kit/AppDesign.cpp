#include "ui/kit/AppDesign.h"

#include "platform/DesktopAppearance.h"

#include <QDir>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace quillmarsh {

namespace {

QString& bundleFonts()
{
    static QString folder;
    return folder;
}

void registerKitFontsOnce()
{
    static const bool once = [] {
        if (bundleFonts().isEmpty() || AppDesign::registerFonts(bundleFonts()).isEmpty())
            AppDesign::registerFonts(QStringLiteral(":/quillmarsh/Fonts"));
        return true;
    }();
    Q_UNUSED(once)
}

/// The weights that have a face of their own.
QFont::Weight faceWeight(int weight)
{
    switch (weight) {
    case QFont::Medium:
    case QFont::DemiBold:
    case QFont::Bold:
        return static_cast<QFont::Weight>(weight);
    default:
        return QFont::Normal;
    }
}

QFont sized(const QStringList& families, qreal size)
{
    registerKitFontsOnce();
    QFont font;
    font.setFamilies(families);
    font.setPixelSize(std::max(1, qRound(size * AppDesign::textScale())));
    return font;
}

} // namespace

AppDesign& AppDesign::shared()
{
    static AppDesign design;
    return design;
}

AppDesign* AppDesign::forEngine(QObject* engine)
{
    auto* design = new AppDesign(engine);
    connect(&shared(), &AppDesign::appearanceChanged, design, &AppDesign::appearanceChanged);
    return design;
}

QStringList AppDesign::registerFonts(const QString& folder)
{
    QStringList registered;
    const QDir dir(folder);
    for (const QString& file : dir.entryList(QDir::Files, QDir::Name)) {
        if (!file.endsWith(QLatin1String(".ttf")) && !file.endsWith(QLatin1String(".otf")))
            continue;
        // From memory: an update may replace the folder while the application runs.
        QFile font(dir.filePath(file));
        if (font.open(QIODevice::ReadOnly) && QFontDatabase::addApplicationFontFromData(font.readAll()) >= 0)
            registered.append(file);
    }
    return registered;
}

void AppDesign::setFontsFolder(const QString& folder)
{
    bundleFonts() = folder;
}

QString AppDesign::faceName(int weight)
{
    switch (faceWeight(weight)) {
    case QFont::Medium:
        return QStringLiteral("Outfit-Medium");
    case QFont::DemiBold:
        return QStringLiteral("Outfit-SemiBold");
    case QFont::Bold:
        return QStringLiteral("Outfit-Bold");
    default:
        return QStringLiteral("Outfit-Regular");
    }
}

// 96 dots per inch are the usual.
qreal AppDesign::textScale()
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    return screen ? std::clamp(screen->logicalDotsPerInchY() / 96, 1.0, 2.0) : 1.0;
}

QFont AppDesign::font(qreal size, int weight)
{
    // The second family has the modifier signs of a shortcut, which the first lacks.
    QFont font = sized({QStringLiteral("Outfit"), QStringLiteral("JetBrains Mono")}, size);
    font.setWeight(faceWeight(weight));
    font.setStyleHint(QFont::SansSerif);
    return font;
}

QFont AppDesign::monospaced(qreal size)
{
    QFont font = sized({QStringLiteral("JetBrains Mono")}, size);
    font.setStyleHint(QFont::Monospace);
    return font;
}

void AppDesign::setAppearance(DesktopAppearance* appearance)
{
    AppDesign& design = shared();
    if (design.appearance_)
        design.appearance_->disconnect(&design);
    design.appearance_ = appearance;
    if (appearance)
        connect(appearance, &DesktopAppearance::changed, &design, &AppDesign::appearanceChanged);
    emit design.appearanceChanged();
}

bool AppDesign::reduceMotion() const
{
    return shared().appearance_ && shared().appearance_->reduceMotion();
}

bool AppDesign::increaseContrast() const
{
    return shared().appearance_ && shared().appearance_->increaseContrast();
}

} // namespace quillmarsh
