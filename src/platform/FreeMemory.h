#pragma once

namespace quillmarsh {

/// Hands memory that is no longer used back to the system; after start-up or after a window was closed, say.
/// Defined once per operating system.
void giveBackFreeMemory();

} // namespace quillmarsh
