#include "overlay/VectorState.h"

namespace quillmarsh {

#if defined(__x86_64__) && defined(__GNUC__)

namespace {

__attribute__((target("avx"))) void zeroUpperHalves()
{
    __builtin_ia32_vzeroupper();
}

} // namespace

void clearVectorUpperHalves()
{
    if (__builtin_cpu_supports("avx"))
        zeroUpperHalves();
}

#else

void clearVectorUpperHalves() {}

#endif

} // namespace quillmarsh
