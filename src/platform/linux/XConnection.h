#pragma once

#include "platform/linux/Xcb.h"

#include <QByteArray>
#include <QHash>
#include <QObject>

#include <memory>

class QSocketNotifier;

namespace quillmarsh {

/// An X connection of our own, apart from the one of the toolkit: the toolkit drops events of windows that it
/// does not know, guesses at auto-repeat, and blocks for seconds in selection transfers (measured). All use
/// is in the thread that made it; events come from that thread's event loop.
class XConnection final : public QObject
{
    Q_OBJECT

public:
    /// What the server offers, found at connection time.
    struct Extensions
    {
        bool xtest = false;
        bool xkb = false;
        bool resources = false;
        uint8_t xfixesEvent = 0; ///< first event number; 0 when the extension is missing
        uint8_t xkbEvent = 0;
        uint8_t inputOpcode = 0; ///< XInput 2; 0 when the extension is missing
    };

    /// Connects to the display of the environment; null when no server answers.
    [[nodiscard]] static std::unique_ptr<XConnection> open();
    ~XConnection() override;

    [[nodiscard]] xcb_connection_t* get() const { return connection_; }
    [[nodiscard]] xcb_window_t root() const { return screen_->root; }
    [[nodiscard]] int screenNumber() const { return screenNumber_; }
    [[nodiscard]] const Extensions& extensions() const { return extensions_; }
    [[nodiscard]] bool isAlive() const { return xcb_connection_has_error(connection_) == 0; }

    /// The atom of a name; asks the server once per name.
    [[nodiscard]] xcb_atom_t atom(const QByteArray& name) const;
    /// The name of an atom; empty when there is none.
    [[nodiscard]] QByteArray atomName(xcb_atom_t atom) const;
    /// An input-only window outside the screen, for selections and properties; the caller destroys it.
    [[nodiscard]] xcb_window_t createHelperWindow(uint32_t eventMask) const;

    /// Completes what was asked so far and delivers every event that the server sent up to now.
    void synchronize();
    /// Delivers the events that were read already, if any.
    void dispatch();

signals:
    /// Every event, in order; errors of unchecked requests are dropped.
    void received(const xcb_generic_event_t& event);
    void lost();

private:
    XConnection(xcb_connection_t* connection, int screenNumber);
    void findExtensions();
    void listen();
    void dispatchAll(xcb_generic_event_t* (*next)(xcb_connection_t*));

    xcb_connection_t* connection_;
    const xcb_screen_t* screen_ = nullptr;
    int screenNumber_;
    Extensions extensions_;
    QSocketNotifier* notifier_ = nullptr;
    mutable QHash<QByteArray, xcb_atom_t> atoms_;
};

} // namespace quillmarsh
