#pragma once

#include "platform/linux/SelectionTransfer.h"

#include <QString>

namespace quillmarsh {

class XConnection;

/// What tells whether a copied line was selected. Code editors copy the line of the cursor with its break
/// when nothing is, and what comes back would be pasted beside it.
enum class LineWitness {
    /// KTextEditor claims the primary selection for whatever is selected in it, before it is copied; a
    /// clipboard manager may keep that text since. It stays when nothing is selected any more, so the line
    /// that was selected last still counts as selected.
    PrimarySelection,
    /// The Monaco family says it beside the text. The primary selection tells nothing of other programs:
    /// FeatherPad selects lines without a claim, Firefox claims none for what a page selects by itself, and
    /// Chromium claims it anew with each copy (measured).
    Note,
};

/// Whether `text` has the shape of such a copy: one line and its break.
[[nodiscard]] bool isWholeLine(const QString& text);

/// The witness for what the owner of the clipboard copied.
[[nodiscard]] LineWitness lineWitness(const XConnection& connection);

/// What to ask the witness about `line`. The answer is waited for a moment only.
[[nodiscard]] SelectionQuestion questionAbout(const QString& line, LineWitness witness);

/// Whether the answer says that nothing was selected; without an answer in time a line counts as selected.
[[nodiscard]] bool deniesSelection(const SelectionAnswer& answer, const QString& line, LineWitness witness);

} // namespace quillmarsh
