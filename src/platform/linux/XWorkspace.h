#pragma once

#include "platform/Workspace.h"
#include "platform/linux/DesktopEntries.h"

namespace quillmarsh {

class XConnection;

/// EWMH window managers for the front application, xdg-open and the file manager's D-Bus name for the rest.
class XWorkspace final : public Workspace
{
    Q_OBJECT

public:
    /// `connection` is null without an X server: nothing is ever in front then.
    explicit XWorkspace(std::shared_ptr<XConnection> connection);
    ~XWorkspace() override;

    [[nodiscard]] std::optional<RunningApplication> frontmostApplication() const override;
    void activate(const RunningApplication& application) override;
    Task<bool> open(QUrl url) override;
    Task<bool> openApplication(QString path, QStringList arguments) override;
    Task<bool> reveal(QString path) override;

private:
    [[nodiscard]] RunningApplication describe(quint32 window) const;
    [[nodiscard]] quint32 windowOf(const RunningApplication& application) const;
    void watchActiveWindow();
    void announceActiveWindow();

    std::shared_ptr<XConnection> connection_;
    DesktopEntries entries_;
    quint32 announced_ = 0; ///< the window of the last didActivateApplication
};

} // namespace quillmarsh
