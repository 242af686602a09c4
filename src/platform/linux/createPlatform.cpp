#include "platform/Platform.h"

namespace quillmarsh {

Platform createPlatform()
{
    return {};
}

} // namespace quillmarsh
