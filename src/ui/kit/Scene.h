#pragma once

#include <QString>
#include <QVariantMap>

class QQuickView;

namespace quillmarsh {

/// Fills `view` with the scene at `address`, which may use the kit, and hands it `properties`. What is wrong
/// with the scene is logged.
void showScene(QQuickView& view, const QString& address, const QVariantMap& properties);

} // namespace quillmarsh
