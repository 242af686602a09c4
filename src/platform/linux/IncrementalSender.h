#pragma once

#include "platform/linux/Xcb.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <map>
#include <memory>
#include <utility>

namespace quillmarsh {

class XConnection;

/// Hands large values over piece by piece (ICCCM 2.7.2): a piece goes out whenever the requestor has taken
/// the one before. Each transfer keeps its own copy of the text and is dropped when its requestor rests too
/// long.
class IncrementalSender final : public QObject
{
    Q_OBJECT

public:
    /// Larger values are sent in pieces of this size, in bytes.
    static constexpr qsizetype threshold = 256 * 1024;

    explicit IncrementalSender(XConnection& connection);

    void begin(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type, const QByteArray& bytes);

private:
    using Key = std::pair<xcb_window_t, xcb_atom_t>;
    struct Transfer
    {
        xcb_atom_t type = XCB_ATOM_NONE;
        QByteArray bytes;
        qsizetype sent = 0;
        bool atEnd = false; ///< the empty piece that ends it has been sent
        QTimer idle;
    };

    void handle(const xcb_generic_event_t& event);
    void sendNext(const Key& key, Transfer& transfer);
    void drop(Key key);

    XConnection& connection_;
    std::map<Key, std::unique_ptr<Transfer>> transfers_;
};

} // namespace quillmarsh
