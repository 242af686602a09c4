#include "ui/kit/KitTypes.h"

#include "ui/kit/AppDesign.h"
#include "ui/kit/FocusTrap.h"
#include "ui/kit/ItemAccessible.h"
#include "ui/kit/Pressable.h"
#include "ui/kit/RoundedBox.h"
#include "ui/kit/SymbolImage.h"

#include <QQmlEngine>
#include <QtQml/qqml.h>

namespace quillmarsh {

void registerKitTypes()
{
    static const bool once = [] {
        ItemAccessible::install();
        constexpr auto uri = "Quillmarsh.Kit";
        qmlRegisterSingletonType<AppDesign>(
            uri, 1, 0, "Design",
            [](QQmlEngine* engine, QJSEngine*) -> QObject* { return AppDesign::forEngine(engine); });
        qmlRegisterType<FocusTrap>(uri, 1, 0, "FocusTrap");
        qmlRegisterType<Pressable>(uri, 1, 0, "Pressable");
        qmlRegisterType<RoundedBox>(uri, 1, 0, "RoundedBox");
        qmlRegisterType<SymbolImage>(uri, 1, 0, "SymbolImage");
        return true;
    }();
    Q_UNUSED(once)
}

} // namespace quillmarsh
