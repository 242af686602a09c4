#include "ai/CloudUsage.h"

namespace quillmarsh {

CloudUsage& CloudUsage::shared()
{
    static CloudUsage usage;
    return usage;
}

void CloudUsage::setQuota(const CloudQuota& quota)
{
    if (quota_ == quota)
        return;
    quota_ = quota;
    emit quotaChanged();
}

} // namespace quillmarsh
