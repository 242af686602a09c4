#include "platform/linux/SelectionReader.h"

#include "base/Log.h"
#include "platform/linux/SelectionOwner.h"
#include "platform/linux/SelectionTransfer.h"
#include "platform/linux/XConnection.h"

#include <QStringDecoder>

namespace quillmarsh {

std::optional<QString> decodeSelection(QByteArray bytes, const QByteArray& type)
{
    while (bytes.endsWith('\0')) // some owners hand over the terminator of a C string
        bytes.chop(1);
    if (type == "STRING")
        return QString::fromLatin1(bytes);
    if (type != "UTF8_STRING" && !type.startsWith("text/plain"))
        return std::nullopt;
    // Stateless: a character that is cut off at the end is an error too.
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom);
    QString text = decoder(bytes);
    if (decoder.hasError()) {
        qCWarning(lcQuillmarsh, "The clipboard's text is not valid UTF-8");
        return std::nullopt;
    }
    return text;
}

SelectionReader::SelectionReader(XConnection& connection, SelectionCounter& counter, SelectionOwner& owner)
    : connection_(connection), counter_(counter), owner_(owner)
{}

SelectionReader::~SelectionReader()
{
    for (auto& [transfer, entry] : transfers_)
        entry.second(std::nullopt);
}

void SelectionReader::read(Done done)
{
    connection_.synchronize();
    if (const auto own = owner_.ownText()) {
        done(QString::fromUtf8(*own));
        return;
    }
    auto transfer = std::make_unique<SelectionTransfer>(connection_, counter_);
    SelectionTransfer* const key = transfer.get();
    connect(key, &SelectionTransfer::finished, this,
            [this, key](const QByteArray& bytes, const QByteArray& type) {
                finish(key, decodeSelection(bytes, type));
            });
    connect(key, &SelectionTransfer::failed, this, [this, key] { finish(key, std::nullopt); });
    transfers_[key] = {std::move(transfer), std::move(done)};
    key->start();
}

void SelectionReader::finish(SelectionTransfer* transfer, std::optional<QString> text)
{
    auto entry = transfers_.extract(transfer);
    if (entry.empty())
        return;
    entry.mapped().first.release()->deleteLater(); // it is still inside its own signal
    entry.mapped().second(std::move(text));
}

} // namespace quillmarsh
