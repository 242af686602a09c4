#pragma once

#include "platform/linux/SelectionTransfer.h"

#include <QString>

#include <functional>
#include <map>
#include <memory>

namespace quillmarsh {

class SelectionOwner;

/// Reads the clipboard's plain text without ever waiting for its owner: several readings may be under way.
/// Lives in the worker's thread.
class SelectionReader final : public QObject
{
    Q_OBJECT

public:
    using Done = std::function<void(std::optional<QString>)>;

    SelectionReader(XConnection& connection, SelectionCounter& counter, SelectionOwner& owner);
    ~SelectionReader() override;

    /// Calls `done` once: with the text, or none when there is no plain text, the owner has not handed it
    /// over within one second all told, or it is a line that an editor copied although nothing was selected.
    void read(Done done);

private:
    using Answered = std::function<void(const SelectionAnswer&)>;

    void ask(SelectionQuestion question, Answered answered);
    void finish(SelectionTransfer* transfer, const SelectionAnswer& answer);
    void handOverIfSelected(const QString& line, const Done& done);

    XConnection& connection_;
    SelectionCounter& counter_;
    SelectionOwner& owner_;
    std::map<SelectionTransfer*, std::pair<std::unique_ptr<SelectionTransfer>, Answered>> transfers_;
};

/// The text of a property value of type `type`; none when it is not valid in its encoding. Broken text is not
/// repaired: what came back from a rewrite would replace characters that the user never wrote.
[[nodiscard]] std::optional<QString> decodeSelection(QByteArray bytes, const QByteArray& type);

} // namespace quillmarsh
