#pragma once

#include <QObject>
#include <QPointer>

namespace quillmarsh {

class UpdateService;

/// What the settings window's update row shows and does.
class UpdateSettingsRow final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY changed)
    Q_PROPERTY(QString buttonLabel READ buttonLabel NOTIFY changed)
    Q_PROPERTY(bool showsButton READ showsButton CONSTANT)

public:
    /// `service` outlives the row.
    explicit UpdateSettingsRow(UpdateService& service, QObject* parent = nullptr);

    [[nodiscard]] QString title() const;
    [[nodiscard]] QString subtitle() const;
    [[nodiscard]] QString buttonLabel() const;
    /// False in a copy that a package manager keeps up to date.
    [[nodiscard]] bool showsButton() const;

    /// The button: opens the update window when there is something to see in it, else checks.
    Q_INVOKABLE void press();

signals:
    void changed();

private:
    [[nodiscard]] bool hasSomethingToShow() const;

    UpdateService& service_;
};

} // namespace quillmarsh
