#include "FuzzInput.h"

#include "update/MoveToApplications.h"
#include "update/UpdateRelease.h"

using namespace quillmarsh;

/// Two texts with a line feed between them: no order of versions contradicts itself.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString text = QString::fromUtf8(fuzz::bytes(data, size));
    const QString a = text.section(QLatin1Char('\n'), 0, 0);
    const QString b = text.section(QLatin1Char('\n'), 1);
    const UpdateRelease first{a, {}, {}};
    const UpdateRelease second{b, {}, {}};
    if (first.isNewer(b) && second.isNewer(a))
        std::abort();
    const auto parts = UpdateRelease::versionParts(a);
    if (parts && (parts->empty() || parts->size() > 4 || first.isNewer(a)))
        std::abort();
    const int forward = MoveToApplications::numericCompare(a, b);
    const int backward = MoveToApplications::numericCompare(b, a);
    if ((forward < 0) != (backward > 0) || (forward > 0) != (backward < 0))
        std::abort();
    return 0;
}
