#pragma once

#include <QFont>
#include <QObject>

namespace quillmarsh {

/// What the panel's view has to know beside the rewrite: the desktop's abilities, the user's wishes about
/// looks, and whether the panel is on screen and under the pointer.
class OverlaySurroundings final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isComposited READ isComposited NOTIFY changed)
    Q_PROPERTY(bool reduceMotion READ reduceMotion NOTIFY changed)
    Q_PROPERTY(bool reduceTransparency READ reduceTransparency NOTIFY changed)
    Q_PROPERTY(bool increaseContrast READ increaseContrast NOTIFY changed)
    Q_PROPERTY(bool isOnScreen READ isOnScreen NOTIFY changed)
    Q_PROPERTY(bool isHovering READ isHovering NOTIFY changed)

public:
    using QObject::QObject;

    [[nodiscard]] bool isComposited() const { return isComposited_; }
    [[nodiscard]] bool reduceMotion() const { return reduceMotion_; }
    [[nodiscard]] bool reduceTransparency() const { return reduceTransparency_; }
    [[nodiscard]] bool increaseContrast() const { return increaseContrast_; }
    [[nodiscard]] bool isOnScreen() const { return isOnScreen_; }
    [[nodiscard]] bool isHovering() const { return isHovering_; }
    /// A face of the panel at twice `size` device-independent pixels; `weight` as QFont counts it.
    Q_INVOKABLE [[nodiscard]] QFont font(qreal size, int weight) const;

    void setIsComposited(bool on) { set(isComposited_, on); }
    void setReduceMotion(bool on) { set(reduceMotion_, on); }
    void setReduceTransparency(bool on) { set(reduceTransparency_, on); }
    void setIncreaseContrast(bool on) { set(increaseContrast_, on); }
    void setIsOnScreen(bool on) { set(isOnScreen_, on); }
    void setIsHovering(bool on) { set(isHovering_, on); }

signals:
    void changed();

private:
    void set(bool& field, bool on);

    bool isComposited_ = false;
    bool reduceMotion_ = false;
    bool reduceTransparency_ = false;
    bool increaseContrast_ = false;
    bool isOnScreen_ = false;
    bool isHovering_ = false;
};

} // namespace quillmarsh
