// The stored profiles: whatever decodes also encodes, and reads back as the same.
#include "FuzzInput.h"

#include "chatgpt/CodexTokens.h"

using namespace quillmarsh;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto profiles = CodexTokens::decode(fuzz::bytes(data, size));
    if (!profiles)
        return 0;
    const auto encoded = CodexTokens::encode(*profiles);
    fuzz::require(encoded.has_value());
    const auto again = CodexTokens::decode(*encoded);
    fuzz::require(again && again->size() == profiles->size() && CodexTokens::encode(*again) == encoded);
    return 0;
}
