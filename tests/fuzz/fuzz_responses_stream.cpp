// The accumulator, one event per line.
#include "FuzzInput.h"

#include "base/LocalizedError.h"
#include "chatgpt/ResponsesStreamAccumulator.h"

#include <QList>

using namespace quillmarsh;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ResponsesStreamAccumulator accumulator;
    try {
        for (const QByteArray& event : fuzz::bytes(data, size).split('\n'))
            accumulator.consume(event);
        const QString answer = accumulator.result();
        fuzz::require(accumulator.completed && !answer.isEmpty() && answer == answer.trimmed());
    } catch (const LocalizedError&) {
    }
    return 0;
}
