#include "platform/Platform.h"
#include "platform/linux/LibsecretItems.h"

namespace quillmarsh {

Platform createPlatform()
{
    Platform platform;
    platform.secItems = std::make_unique<LibsecretItems>();
    return platform;
}

} // namespace quillmarsh
