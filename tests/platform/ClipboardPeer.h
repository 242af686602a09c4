#pragma once

#include "platform/linux/XConnection.h"

#include <QByteArrayList>
#include <QObject>
#include <QSet>

#include <chrono>
#include <map>
#include <memory>
#include <optional>

namespace quillmarsh::test {

/// Another program's clipboard: an owner of any manners, and a requestor.
class ClipboardPeer final : public QObject
{
    Q_OBJECT

public:
    enum class Manners {
        Prompt,      ///< answers at once, or after `delay`
        Silent,      ///< never answers
        Refusing,    ///< says no to everything
        Incremental, ///< hands over in pieces
        Stalling,    ///< begins in pieces and never goes on
        Dying,       ///< its connection ends when it is asked
    };

    explicit ClipboardPeer(Manners manners = Manners::Prompt);

    /// Claims the clipboard with this value of this target.
    void own(const QByteArray& value, const QByteArray& target = "UTF8_STRING");
    void own(std::map<QByteArray, QByteArray> values);
    /// Claims the primary selection with this text.
    void select(const QByteArray& text);
    void select(std::map<QByteArray, QByteArray> values);
    /// Opens a window of this class in front.
    void comeToFront(const QByteArray& windowClass);
    /// Ends the connection, and with it the ownership.
    void die();
    /// Claims another selection (a clipboard manager does).
    void ownSelection(const QByteArray& selection);
    [[nodiscard]] bool isOwner() const;

    struct Answer
    {
        QByteArray type;
        QByteArray bytes;
        bool incremental = false;
    };
    /// Asks the owner for a target; none when refused or not answered within five seconds.
    [[nodiscard]] std::optional<Answer> request(const QByteArray& target,
                                                xcb_timestamp_t time = XCB_CURRENT_TIME,
                                                const QByteArray& multiplePairs = {});
    /// Begins a request and does not wait for it; `abandoned` transfers are never continued.
    void requestAndAbandon(const QByteArray& target);
    /// The atoms of a TARGETS answer.
    [[nodiscard]] QByteArrayList targets();
    [[nodiscard]] XConnection* connection() { return connection_.get(); }

    std::chrono::milliseconds delay{0};
    qsizetype pieceSize = 64 * 1024;
    QByteArray silentAbout; ///< a target that is never answered
    QByteArrayList asked;   ///< targets that others asked for, in order
    std::optional<std::chrono::steady_clock::time_point> lastAnswer; ///< when it went out
    std::function<void()> onSaveTargets;

private:
    void handle(const xcb_generic_event_t& event);
    void handleRequest(const xcb_selection_request_event_t& request);
    void answer(const xcb_selection_request_event_t& request, bool served);
    void serve(const xcb_selection_request_event_t& request);
    void sendPiece();
    void handleNotify(const xcb_selection_notify_event_t& notify);
    void handleIncoming();

    std::unique_ptr<XConnection> connection_;
    Manners manners_;
    xcb_window_t window_;
    std::map<QByteArray, QByteArray> values_;
    struct Outgoing
    {
        xcb_window_t requestor;
        xcb_atom_t property;
        xcb_atom_t type;
        QByteArray rest;
    };
    std::optional<Outgoing> outgoing_;
    xcb_window_t requestor_ = XCB_NONE;
    std::optional<Answer> incoming_;
    bool done_ = false;
};

} // namespace quillmarsh::test
