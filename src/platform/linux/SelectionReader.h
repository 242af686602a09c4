#pragma once

#include "platform/linux/Xcb.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace quillmarsh {

class XConnection;
class SelectionCounter;
class SelectionOwner;
class SelectionTransfer;

/// Reads the clipboard's plain text without ever waiting for its owner: several readings may be under way.
/// Lives in the worker's thread.
class SelectionReader final : public QObject
{
    Q_OBJECT

public:
    using Done = std::function<void(std::optional<QString>)>;

    SelectionReader(XConnection& connection, SelectionCounter& counter, SelectionOwner& owner);
    ~SelectionReader() override;

    /// Calls `done` once: with the text, or none when there is no plain text, or the owner has not handed it
    /// over within one second all told.
    void read(Done done);

private:
    void finish(SelectionTransfer* transfer, std::optional<QString> text);

    XConnection& connection_;
    SelectionCounter& counter_;
    SelectionOwner& owner_;
    std::map<SelectionTransfer*, std::pair<std::unique_ptr<SelectionTransfer>, Done>> transfers_;
};

/// The text of a property value of type `type`; none when it is not valid in its encoding. Broken text is not
/// repaired: what came back from a rewrite would replace characters that the user never wrote.
[[nodiscard]] std::optional<QString> decodeSelection(QByteArray bytes, const QByteArray& type);

} // namespace quillmarsh
