#include "FuzzInput.h"

#include "update/BundleInformation.h"

/// An Info.plist is read before the signature of its bundle is known to be good.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    (void)quillmarsh::BundleInformation::parse(quillmarsh::fuzz::bytes(data, size));
    return 0;
}
