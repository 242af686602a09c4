#include "FuzzInput.h"

#include "update/codesign/CmsSignature.h"
#include "update/codesign/CodeResources.h"
#include "update/codesign/CodesignError.h"

using namespace quillmarsh;

/// The list is written in one way only, and no bytes are a signature over themselves.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes = fuzz::bytes(data, size);
    try {
        if (writeCodeResources(readCodeResources(bytes)) != bytes)
            std::abort();
    } catch (const CodesignError&) {
    }
    try {
        verifyContent("list", bytes, {});
        std::abort();
    } catch (const CodesignError&) {
    }
    return 0;
}
