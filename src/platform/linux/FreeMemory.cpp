#include "platform/FreeMemory.h"

#include <malloc.h>

namespace quillmarsh {

void giveBackFreeMemory()
{
    ::malloc_trim(0);
}

} // namespace quillmarsh
