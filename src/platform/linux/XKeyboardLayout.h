#pragma once

#include "platform/KeyboardLayout.h"

#include <QTimer>

#include <memory>
#include <vector>

struct xkb_context;
struct xkb_keymap;

namespace quillmarsh {

class XConnection;

/// The server's keyboard map through xkbcommon, and its active group.
class XKeyboardLayout final : public KeyboardLayout
{
    Q_OBJECT

public:
    /// `connection` is null without an X server: no key yields anything then.
    explicit XKeyboardLayout(std::shared_ptr<XConnection> connection);
    ~XKeyboardLayout() override;

    [[nodiscard]] std::optional<QString> character(quint16 keyCode) const override;
    [[nodiscard]] std::optional<quint16> keyCode(quint32 nativeScanCode) const override;

private:
    struct ContextDeleter
    {
        void operator()(xkb_context* context) const;
    };
    struct KeymapDeleter
    {
        void operator()(xkb_keymap* keymap) const;
    };

    void watch();
    void readKeymap();
    void readGroup();
    void refresh();
    [[nodiscard]] std::vector<QString> everyCharacter() const;

    std::shared_ptr<XConnection> connection_;
    std::unique_ptr<xkb_context, ContextDeleter> context_;
    std::unique_ptr<xkb_keymap, KeymapDeleter> keymap_;
    unsigned group_ = 0;
    bool keymapIsStale_ = false;
    QTimer settle_;
    std::vector<QString> announced_; ///< what the keys yielded when changed() was last due
};

} // namespace quillmarsh
