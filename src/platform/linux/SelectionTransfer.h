#pragma once

#include "platform/linux/Xcb.h"

#include <QByteArrayList>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <optional>
#include <vector>

namespace quillmarsh {

class XConnection;
class SelectionCounter;

/// What the owner of a selection is asked for.
struct SelectionQuestion
{
    QByteArray selection;
    QByteArrayList targets;            ///< in order; "TARGETS" goes on with what else may be text
    std::chrono::milliseconds limit{}; ///< for everything together
    qsizetype longest = 0;             ///< in bytes; a longer value counts as none
};

struct SelectionAnswer
{
    enum class Kind {
        Value,
        None, ///< no owner, or it has nothing of the kind
        Late, ///< no answer within the limit
    };
    Kind kind = Kind::None;
    QByteArray bytes;
    QByteArray type;
};

/// One reading of a selection, on requestor windows of its own, so that a late answer to an abandoned
/// question finds nobody. Begins anew when the clipboard gets another owner meanwhile.
class SelectionTransfer final : public QObject
{
    Q_OBJECT

public:
    SelectionTransfer(XConnection& connection, SelectionCounter& counter, SelectionQuestion question);
    ~SelectionTransfer() override;

    void start();

signals:
    /// Emitted once, from the event loop.
    void finished(const SelectionAnswer& answer);

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
    void end(const SelectionAnswer& answer);
    void giveUp(SelectionAnswer::Kind kind, const char* reason);

    XConnection& connection_;
    SelectionCounter& counter_;
    const SelectionQuestion question_;
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
