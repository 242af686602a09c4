#pragma once

#include "platform/linux/Xcb.h"

#include <QElapsedTimer>

namespace quillmarsh {

class XConnection;

/// Decides, for the text that was put on the clipboard last, whether a program that takes the clipboard away
/// is to lose it again. Before and during a paste it is, so that the text that arrives is ours; but never
/// the application in front, where the user himself copied something. Lives in the worker's thread.
class PasteGuard final
{
public:
    explicit PasteGuard(XConnection& connection) : connection_(connection) {}

    /// A text was put on the clipboard, to be pasted.
    void textPlaced();
    /// The paste key goes to the program of `target`: until that asks for the text, the clipboard is claimed
    /// back at once. A request is the evidence that it took ours.
    void pasteBegins(xcb_window_t target);
    /// A new rewrite begins; what is claimed from now on is its selection.
    void forget();
    void textRequested(xcb_window_t requestor);
    void clipboardTaken(xcb_window_t owner);

    /// Whether the text placed last is still about to be pasted.
    [[nodiscard]] bool isDue() const;
    /// Whether too much time has gone by for the text placed last to be claimed back.
    [[nodiscard]] bool isOverdue() const;
    /// Whether the user copied something himself since it was placed.
    [[nodiscard]] bool isTakenByUser() const;
    /// Whether the clipboard may be claimed back during this paste, once more. Ends the guard after the
    /// limit.
    [[nodiscard]] bool mayReclaim();

private:
    [[nodiscard]] uint32_t frontClient() const;

    XConnection& connection_;
    QElapsedTimer sincePlaced_;
    QElapsedTimer sincePaste_; ///< invalid when no paste waits for its request
    uint32_t target_ = 0;      ///< the X client that is pasted into
    int reclaims_ = 0;
    bool takenByUser_ = false;
};

} // namespace quillmarsh
