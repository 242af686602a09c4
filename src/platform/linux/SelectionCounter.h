#pragma once

#include "platform/linux/Xcb.h"

#include <QObject>

namespace quillmarsh {

class XConnection;

/// Counts the owners of the clipboard. The server tells of every claim, also of a second one by the same
/// program for the same text, and of none when a program copied nothing (measured). Lives in the worker's
/// thread.
class SelectionCounter final : public QObject
{
    Q_OBJECT

public:
    /// Goes on from `count`, so that a new connection is not taken for a copy.
    SelectionCounter(XConnection& connection, qint64 count);

    /// Current as of this call.
    [[nodiscard]] qint64 count();
    /// From now on every claim counts, as it does at first.
    void countEveryClaim();
    /// From now on claims count once the program of `window` claims the primary selection too, which says
    /// that something is selected in it.
    void countSelectionsOnly(xcb_window_t window);
    /// Server time of the last claim; XCB_CURRENT_TIME when none has been seen yet. Owners refuse requests
    /// that are older than their claim.
    [[nodiscard]] xcb_timestamp_t lastClaim() const { return lastClaim_; }

signals:
    /// A new claim, or none any more (XCB_NONE).
    void ownerChanged(quint32 owner);

private:
    void handle(const xcb_generic_event_t& event);
    void handleClaim(xcb_atom_t selection, xcb_window_t owner);
    void watchPrimary(uint32_t changes);

    XConnection& connection_;
    qint64 count_;
    xcb_timestamp_t lastClaim_ = XCB_CURRENT_TIME;
    uint32_t doubtful_ = XCB_NONE; ///< the X client that has to claim the primary selection too
    qint64 unproven_ = 0;          ///< claims so far that do not count yet
};

} // namespace quillmarsh
