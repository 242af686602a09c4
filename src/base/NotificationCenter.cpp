#include "base/NotificationCenter.h"

namespace quillmarsh {

NotificationCenter& NotificationCenter::defaultCenter()
{
    static NotificationCenter center;
    return center;
}

void NotificationCenter::post(const QString& name, const QVariantMap& userInfo)
{
    emit posted(name, userInfo);
}

} // namespace quillmarsh
