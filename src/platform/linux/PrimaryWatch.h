#pragma once

#include "platform/linux/Xcb.h"

#include <QObject>

namespace quillmarsh {

class XConnection;

/// Whether the selection that was copied has ended since. The widgets of GTK and WebKitGTK unselect when
/// another program claims the primary selection, as a clipboard manager does that keeps both alike; they
/// would paste beside the text then. Other toolkits keep what is selected (measured). Lives in the worker's
/// thread.
class PrimaryWatch final : public QObject
{
    Q_OBJECT

public:
    explicit PrimaryWatch(XConnection& connection);
    ~PrimaryWatch() override;

    /// What is selected in the program of `window` is about to be copied.
    void begin(xcb_window_t window);
    /// Watches no longer: each claim of a selection wakes this process.
    void end();
    /// As of the last event: that program unselects with the primary selection, and has lost it.
    [[nodiscard]] bool endedSelection() const { return unselects_ && lost_; }

private:
    void watch(uint32_t changes);
    void askForTargets();
    void handle(const xcb_generic_event_t& event);
    void handleOwner(xcb_window_t owner);
    void handleTargets(const xcb_selection_notify_event_t& notify);
    [[nodiscard]] bool areOfUnselecting(const xcb_get_property_reply_t& targets) const;

    XConnection& connection_;
    xcb_window_t window_ =
        XCB_NONE;         ///< a new one each time: a late answer to an earlier question finds nobody
    uint32_t client_ = 0; ///< the X client whose selection was copied
    bool unselects_ = false;
    bool lost_ = false;
};

} // namespace quillmarsh
