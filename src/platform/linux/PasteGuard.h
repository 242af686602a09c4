#pragma once

#include "platform/linux/Xcb.h"

#include <QElapsedTimer>
#include <QTimer>

#include <functional>
#include <set>

namespace quillmarsh {

class XConnection;

/// Decides, for the text that was put on the clipboard last, whether a program that takes the clipboard away
/// is to lose it again. Before and during a paste it is, so that the text that arrives is ours; but never
/// the application in front, where the user himself copied something. Lives in the worker's thread.
class PasteGuard final
{
public:
    explicit PasteGuard(XConnection& connection);
    ~PasteGuard();
    PasteGuard(const PasteGuard&) = delete;
    PasteGuard& operator=(const PasteGuard&) = delete;

    /// A text was put on the clipboard, to be pasted.
    void textPlaced();
    /// The paste key goes to the program of `target`: until that asks for the text, the clipboard is claimed
    /// back at once. A request is the evidence that it took ours.
    void pasteBegins(xcb_window_t target);
    /// A new rewrite begins; what is claimed from now on is its selection.
    void forget();
    void textRequested(xcb_window_t requestor);
    void clipboardTaken(xcb_window_t owner);
    /// Tells whether anybody has asked for the text since its paste began, or the target before that (some
    /// read ahead): as soon as it is known, after a second at most. Nobody pastes without asking.
    void tellWhetherRead(std::function<void(bool)> reply);

    /// Whether there is a text to be pasted.
    [[nodiscard]] bool isPlaced() const { return sincePlaced_.isValid(); }
    /// The same, and so little time has gone by that it may be claimed back.
    [[nodiscard]] bool isDue() const;
    /// Whether the user copied something himself since it was placed.
    [[nodiscard]] bool isTakenByUser() const;
    /// Whether the clipboard may be claimed back during this paste, once more. Ends the guard after the
    /// limit.
    [[nodiscard]] bool mayReclaim();

private:
    [[nodiscard]] uint32_t frontClient() const;
    void answerRead(bool isRead);

    XConnection& connection_;
    QElapsedTimer sincePlaced_;
    QElapsedTimer sincePaste_; ///< invalid when no paste waits for its request
    uint32_t target_ = 0;      ///< the X client that is pasted into
    int reclaims_ = 0;
    bool takenByUser_ = false;
    bool isPasting_ = false;     ///< since the paste of the text placed last began
    std::set<uint32_t> readers_; ///< X clients that have asked for the text placed last
    bool isRead_ = false;
    std::function<void(bool)> whenRead_;
    QTimer readLimit_;
};

} // namespace quillmarsh
