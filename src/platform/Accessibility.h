#pragma once

namespace quillmarsh {

/// The permission to watch global key presses and to synthesise Copy and Paste. On X11 it is held when the
/// server offers XTEST, XFIXES and XKB; a Wayland session never grants it (the log says why).
class Accessibility
{
public:
    virtual ~Accessibility() = default;

    /// Cheap: asked every two seconds and at every rewrite.
    [[nodiscard]] virtual bool isProcessTrusted() const = 0;
    /// Asks the system to prompt the user, where a prompt exists.
    virtual void request() = 0;
    /// Opens the place where the permission is given, where one exists.
    virtual void openSettings() = 0;
};

} // namespace quillmarsh
