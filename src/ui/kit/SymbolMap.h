#pragma once

#include <QString>
#include <QStringList>

namespace quillmarsh::SymbolMap {

/// The drawing (a resource path) of a symbol name as the data holds it; a pen for a name that is unknown, so
/// that every writing action has one.
[[nodiscard]] QString drawing(const QString& symbol);
[[nodiscard]] bool contains(const QString& symbol);
/// Every known name, sorted.
[[nodiscard]] QStringList symbols();

} // namespace quillmarsh::SymbolMap
