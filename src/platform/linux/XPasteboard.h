#pragma once

#include "platform/Pasteboard.h"

#include <memory>

namespace quillmarsh {

class XWorker;

/// The CLIPBOARD selection, read and owned on the worker's connection.
class XPasteboard final : public Pasteboard
{
public:
    explicit XPasteboard(std::shared_ptr<XWorker> worker) : worker_(std::move(worker)) {}

    Task<qint64> changeCount() override;
    Task<std::optional<QString>> string() override;
    Task<bool> setString(QString text) override;
    Task<bool> wasRead() override;
    Task<> persist() override;

private:
    std::shared_ptr<XWorker> worker_; ///< null without an X server: an empty clipboard that keeps nothing
};

} // namespace quillmarsh
