// The line splitter: the same lines however the stream arrives. The first byte is the size of the chunks.
#include "FuzzInput.h"

#include "chatgpt/ServerSentEventLines.h"

#include <QList>

using namespace quillmarsh;

namespace {

QList<QByteArray> linesOf(const QByteArray& stream, qsizetype chunk)
{
    ServerSentEventLines lines;
    QList<QByteArray> found;
    const auto take = [&found](QByteArrayView line) {
        found.append(line.toByteArray());
        return true;
    };
    for (qsizetype at = 0; at < stream.size(); at += chunk)
        lines.feed(stream.mid(at, chunk), take);
    lines.finish(take);
    return found;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    const QByteArray stream = fuzz::bytes(data + 1, size - 1);
    const QList<QByteArray> whole = linesOf(stream, stream.size());
    fuzz::require(linesOf(stream, 1 + data[0] % 16) == whole);
    for (const QByteArray& line : whole)
        fuzz::require(!line.contains('\n') && !line.contains('\r'));
    return 0;
}
