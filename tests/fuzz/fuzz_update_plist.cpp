#include "update/BundleInformation.h"

#include <cstdint>

/// An Info.plist is read before the signature of its bundle is known to be good.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray list(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    (void)quillmarsh::BundleInformation::parse(list);
    return 0;
}
