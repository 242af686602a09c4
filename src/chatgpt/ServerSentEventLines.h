#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <functional>

namespace quillmarsh {

/// Cuts an event stream into lines while it arrives. A line ends in CR LF, LF or CR (WHATWG HTML, section
/// 9.2.5); chunks may be cut anywhere, also inside a character or between CR and LF. A byte-order mark at the
/// start is dropped.
class ServerSentEventLines final
{
public:
    /// Longer lines are refused: no answer comes near it, and a broken server must not fill the memory.
    static constexpr qsizetype longestLine = 8 * 1024 * 1024;
    /// A longer stream is refused, too, however short its lines.
    static constexpr qsizetype longestStream = 32 * 1024 * 1024;

    /// Gets one line without its end, valid during the call; false: no more lines are wanted.
    using Handler = std::function<bool(QByteArrayView line)>;

    /// Hands on every line that `chunk` completes. False when the handler wants no more. Throws
    /// AIError::invalidResponse for a line or a stream that is too long, and whatever the handler throws.
    bool feed(QByteArrayView chunk, const Handler& handler);
    /// Hands on what is left at the end of the stream, if anything is.
    void finish(const Handler& handler);

private:
    bool dropMark(QByteArrayView& chunk);
    qsizetype nextLine(QByteArrayView chunk, qsizetype end);
    bool emitLine(QByteArrayView end, const Handler& handler);

    QByteArray partial_; ///< the beginning of a line that is not complete
    qsizetype received_ = 0;
    bool atStart_ = true;
    bool afterCarriageReturn_ = false;
};

} // namespace quillmarsh
