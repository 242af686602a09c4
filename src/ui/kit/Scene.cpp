#include "ui/kit/Scene.h"

#include "base/Log.h"
#include "ui/kit/KitTypes.h"

#include <QQmlError>
#include <QQuickView>

namespace quillmarsh {

void showScene(QQuickView& view, const QString& address, const QVariantMap& properties)
{
    registerKitTypes();
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setInitialProperties(properties);
    view.setSource(QUrl(address));
    for (const QQmlError& error : view.errors())
        qCCritical(lcQuillmarsh, "A view: %s", qUtf8Printable(error.toString()));
}

} // namespace quillmarsh
