#pragma once

#include "platform/linux/Xcb.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <optional>
#include <vector>

namespace quillmarsh {

class XConnection;
class SelectionCounter;

/// One reading of the clipboard, on requestor windows of its own, so that a late answer to an abandoned
/// question finds nobody. Begins anew when the clipboard gets another owner meanwhile.
class SelectionTransfer final : public QObject
{
    Q_OBJECT

public:
    SelectionTransfer(XConnection& connection, SelectionCounter& counter);
    ~SelectionTransfer() override;

    void start();

signals:
    /// Emitted once, from the event loop.
    void finished(const QByteArray& bytes, const QByteArray& type);
    void failed();

private:
    void begin();
    void abandonWindow();
    void convert(xcb_atom_t target);
    void tryNext();
    void handle(const xcb_generic_event_t& event);
    void handleNotify(const xcb_selection_notify_event_t& notify);
    void handleChunk();
    void chooseFrom(const std::vector<xcb_atom_t>& targets);
    [[nodiscard]] XcbPtr<xcb_get_property_reply_t> takeProperty();
    void end(const QByteArray& bytes, const QByteArray& type);
    void fail(const char* reason);

    XConnection& connection_;
    SelectionCounter& counter_;
    QTimer limit_;
    xcb_window_t window_ = XCB_NONE;
    xcb_atom_t property_ = XCB_ATOM_NONE;
    xcb_atom_t asked_ = XCB_ATOM_NONE;      ///< target of the conversion under way
    std::vector<xcb_atom_t> candidates_;    ///< targets to try next, in order
    std::optional<QByteArray> incremental_; ///< pieces so far, of type incrementalType_
    xcb_atom_t incrementalType_ = XCB_ATOM_NONE;
    bool ended_ = false;
};

} // namespace quillmarsh
