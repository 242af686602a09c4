#include "platform/linux/SelectionReader.h"

#include "base/Log.h"
#include "platform/linux/LineCopy.h"
#include "platform/linux/SelectionOwner.h"
#include "platform/linux/XConnection.h"

#include <QStringDecoder>

namespace quillmarsh {

namespace {

using namespace std::chrono_literals;

// A toolkit's own reading may take fifteen seconds on a dead owner (measured).
constexpr auto textLimit = 1s;
// More than any text somebody rewrites; a guard against an owner that never stops.
constexpr qsizetype longestText = 64 * 1024 * 1024;

} // namespace

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
        entry.second({SelectionAnswer::Kind::Late, {}, {}});
}

void SelectionReader::read(Done done)
{
    connection_.synchronize();
    if (const auto own = owner_.ownText()) {
        done(QString::fromUtf8(*own));
        return;
    }
    ask({"CLIPBOARD", {"UTF8_STRING", "TARGETS"}, textLimit, longestText},
        [this, done = std::move(done)](const SelectionAnswer& answer) {
            std::optional<QString> text;
            if (answer.kind == SelectionAnswer::Kind::Value)
                text = decodeSelection(answer.bytes, answer.type);
            if (text && isWholeLine(*text))
                handOverIfSelected(*text, done);
            else
                done(std::move(text));
        });
}

void SelectionReader::handOverIfSelected(const QString& line, const Done& done)
{
    const LineWitness witness = lineWitness(connection_);
    ask(questionAbout(line, witness), [line, witness, done](const SelectionAnswer& answer) {
        if (!deniesSelection(answer, line, witness)) {
            done(line);
            return;
        }
        qCInfo(lcQuillmarsh, "Nothing was selected: the editor copied the line of its cursor");
        done(std::nullopt);
    });
}

void SelectionReader::ask(SelectionQuestion question, Answered answered)
{
    auto transfer = std::make_unique<SelectionTransfer>(connection_, counter_, std::move(question));
    SelectionTransfer* const key = transfer.get();
    connect(key, &SelectionTransfer::finished, this,
            [this, key](const SelectionAnswer& answer) { finish(key, answer); });
    transfers_[key] = {std::move(transfer), std::move(answered)};
    key->start();
}

void SelectionReader::finish(SelectionTransfer* transfer, const SelectionAnswer& answer)
{
    auto entry = transfers_.extract(transfer);
    if (entry.empty())
        return;
    entry.mapped().first.release()->deleteLater(); // it is still inside its own signal
    entry.mapped().second(answer);
}

} // namespace quillmarsh
