#include "chatgpt/ServerSentEventLines.h"

#include "ai/AIError.h"

#include <cstring>

namespace quillmarsh {

namespace {

constexpr QByteArrayView mark("\xef\xbb\xbf");

qsizetype find(QByteArrayView bytes, char byte, qsizetype from, qsizetype to)
{
    const void* const found = std::memchr(bytes.data() + from, byte, static_cast<size_t>(to - from));
    return found ? static_cast<const char*>(found) - bytes.data() : to;
}

} // namespace

/// True once it is known whether the stream starts with a mark; until then the bytes wait in `partial_`.
bool ServerSentEventLines::dropMark(QByteArrayView& chunk)
{
    if (!atStart_)
        return true;
    partial_ += chunk;
    if (partial_.size() < mark.size() && mark.startsWith(partial_))
        return false;
    atStart_ = false;
    if (partial_.startsWith(mark))
        partial_.remove(0, mark.size());
    return true;
}

bool ServerSentEventLines::feed(QByteArrayView chunk, const Handler& handler)
{
    received_ += chunk.size();
    if (received_ > longestStream)
        throw AIError::invalidResponse();
    QByteArray beginning;
    if (atStart_) {
        if (!dropMark(chunk))
            return true;
        beginning = std::exchange(partial_, QByteArray());
        chunk = beginning;
    }
    if (afterCarriageReturn_ && !chunk.isEmpty()) {
        afterCarriageReturn_ = false;
        if (chunk.front() == '\n')
            chunk = chunk.sliced(1);
    }
    qsizetype lineFeed = -1; // kept, so that a stream without any is searched only once
    for (qsizetype position = 0; position < chunk.size();) {
        if (lineFeed < position)
            lineFeed = find(chunk, '\n', position, chunk.size());
        const qsizetype end = find(chunk, '\r', position, lineFeed);
        if (end == chunk.size()) {
            partial_ += chunk.sliced(position);
            break;
        }
        const QByteArrayView piece = chunk.sliced(position, end - position);
        position = nextLine(chunk, end);
        if (!emitLine(piece, handler))
            return false;
    }
    if (partial_.size() > longestLine)
        throw AIError::invalidResponse();
    return true;
}

/// Where the line after the line end at `end` begins.
qsizetype ServerSentEventLines::nextLine(QByteArrayView chunk, qsizetype end)
{
    if (chunk[end] == '\n')
        return end + 1;
    afterCarriageReturn_ = end + 1 == chunk.size(); // a line feed in the next chunk belongs to it
    if (!afterCarriageReturn_ && chunk[end + 1] == '\n')
        return end + 2;
    return end + 1;
}

bool ServerSentEventLines::emitLine(QByteArrayView end, const Handler& handler)
{
    if (partial_.size() + end.size() > longestLine)
        throw AIError::invalidResponse();
    if (partial_.isEmpty())
        return handler(end);
    QByteArray line = std::exchange(partial_, QByteArray());
    line += end;
    return handler(line);
}

void ServerSentEventLines::finish(const Handler& handler)
{
    atStart_ = false;
    if (!partial_.isEmpty())
        emitLine({}, handler);
}

} // namespace quillmarsh
