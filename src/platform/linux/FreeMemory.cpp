#include "platform/FreeMemory.h"

#include <link.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <span>

namespace quillmarsh {

namespace {

void unmapPages(ElfW(Addr) begin, ElfW(Addr) end)
{
    const auto page = static_cast<ElfW(Addr)>(::sysconf(_SC_PAGESIZE));
    const ElfW(Addr) first = begin / page * page;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader tells addresses as numbers
    ::madvise(reinterpret_cast<void*>(first), end - first, MADV_DONTNEED);
}

/// A library that patches its own code keeps the patches in these very pages.
bool hasTextRelocations(const dl_phdr_info& library, const ElfW(Phdr) & dynamic)
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): as above
    const auto* entry = reinterpret_cast<const ElfW(Dyn)*>(library.dlpi_addr + dynamic.p_vaddr);
    for (; entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == DT_TEXTREL || (entry->d_tag == DT_FLAGS && (entry->d_un.d_val & DF_TEXTREL) != 0))
            return true;
    }
    return false;
}

int unmapReadOnlySegments(dl_phdr_info* library, size_t, void*)
{
    const std::span headers(library->dlpi_phdr, library->dlpi_phnum);
    for (const ElfW(Phdr) & header : headers) {
        if (header.p_type == PT_DYNAMIC && hasTextRelocations(*library, header))
            return 0;
    }
    for (const ElfW(Phdr) & header : headers) {
        const ElfW(Addr) begin = library->dlpi_addr + header.p_vaddr;
        if (header.p_type == PT_LOAD && header.p_flags == PF_R)
            unmapPages(begin, begin + header.p_memsz);
    }
    return 0;
}

} // namespace

// Symbol tables, relocations and constants of a hundred libraries are read once, by the dynamic linker and
// while windows are built, and would stay mapped for good. Unmapped they are still in the page cache: what is
// needed again comes back without reading, and the rest is the first that the system takes when memory is
// short. Code stays: unmapping that too was measured to slow the next rewrite by 3 ms.
void giveBackFreeMemory()
{
    ::malloc_trim(0);
    ::dl_iterate_phdr(unmapReadOnlySegments, nullptr);
}

} // namespace quillmarsh
