#pragma once

#include <QObject>

#include <memory>

class QQuickView;

namespace quillmarsh {

class UpdatePrompt;
class UpdateService;

/// The window that offers a newer version and shows its installation, titled "Quillmarsh Update". It is made
/// when it is opened and destroyed when it is closed; an installation goes on without it.
class UpdateWindow final : public QObject
{
    Q_OBJECT

public:
    /// `service` outlives the window.
    explicit UpdateWindow(UpdateService& service, QObject* parent = nullptr);
    ~UpdateWindow() override;

    /// Opens the window in the middle of the screen, or brings the open one to the front.
    void show();
    Q_SLOT void close();
    [[nodiscard]] bool isOpen() const { return view_ != nullptr; }
    /// Null while closed.
    [[nodiscard]] QQuickView* view() const { return view_.get(); }

signals:
    /// The window is gone and its memory free.
    void closed();

private:
    void open();
    void release();

    UpdateService& service_;
    std::unique_ptr<UpdatePrompt> prompt_;
    std::unique_ptr<QQuickView> view_; ///< goes before what it shows
};

} // namespace quillmarsh
