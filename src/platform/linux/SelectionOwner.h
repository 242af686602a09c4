#pragma once

#include "platform/linux/PasteGuard.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <xcb/xfixes.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quillmarsh {

class XConnection;
class IncrementalSender;

/// Owns the clipboard with a plain text and serves whoever asks for it, many at once and none of them waited
/// for. Lives in the worker's thread.
class SelectionOwner final : public QObject
{
    Q_OBJECT

public:
    explicit SelectionOwner(XConnection& connection);
    ~SelectionOwner() override;

    /// Claims the clipboard anew for `utf8`; true when the server confirms that it is ours. The text that was
    /// placed last is not put there again once the user has copied something in the front application.
    [[nodiscard]] bool own(QByteArray utf8);
    /// Our text while the clipboard is ours.
    [[nodiscard]] std::optional<QByteArray> ownText() const;
    /// Makes sure that what is pasted into `target` now is the text that own() put there a moment ago: claims
    /// it back from a program that took it meanwhile or takes it before the target asks. False when that
    /// program keeps it, or the user copied it, or it took it long ago. True when no text of ours was placed.
    [[nodiscard]] bool secureForPaste(xcb_window_t target);
    /// A selection is about to be copied: our last text has no claim to the clipboard any more.
    void copyBegins() { guard_.forget(); }
    /// Whether the text was read where secureForPaste() was told that it would be pasted; see PasteGuard.
    void tellWhetherRead(std::function<void(bool)> reply) { guard_.tellWhetherRead(std::move(reply)); }
    /// Asks a clipboard manager to keep the text; `done` runs once, after half a second at most.
    void persist(std::function<void()> done);

private:
    void handle(const xcb_generic_event_t& event);
    void handleRequest(const xcb_selection_request_event_t& request);
    void answer(const xcb_selection_request_event_t& request, xcb_atom_t property);
    void handleClear(const xcb_selection_clear_event_t& clear);
    void handleNewOwner(const xcb_xfixes_selection_notify_event_t& change);
    void reclaim();
    void finishPersisting();
    [[nodiscard]] bool claim();
    [[nodiscard]] xcb_timestamp_t serverTime();
    [[nodiscard]] bool convert(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property);
    [[nodiscard]] bool convertMultiple(xcb_window_t requestor, xcb_atom_t property);
    [[nodiscard]] bool convertText(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property);
    [[nodiscard]] std::vector<xcb_atom_t> targets() const;
    void put(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type,
             const std::vector<uint32_t>& values);
    void send(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type, const QByteArray& bytes);

    XConnection& connection_;
    xcb_window_t window_;
    std::unique_ptr<IncrementalSender> incremental_;
    QByteArray text_;                  ///< UTF-8
    std::optional<QByteArray> latin1_; ///< the same, when Latin-1 can express it
    xcb_timestamp_t claimed_ = 0;      ///< server time of our last claim
    xcb_timestamp_t placed_ = 0;       ///< of the first one for this text
    xcb_timestamp_t serverTime_ = 0;
    bool owning_ = false;
    PasteGuard guard_;
    std::function<void()> persisted_;
    QTimer persistLimit_;
};

} // namespace quillmarsh
