#pragma once

class QWindow;

namespace quillmarsh {

class Workspace;

/// Brings a window of ours that is being shown to the front because the user asked for it, also where the
/// desktop keeps new windows from taking the keyboard. `workspace` outlives the window.
void bringToFront(QWindow& window, Workspace& workspace);

} // namespace quillmarsh
