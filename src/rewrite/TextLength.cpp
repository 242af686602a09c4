#include "rewrite/TextLength.h"

#include <QTextBoundaryFinder>

namespace quillmarsh {

bool isLongerThan(const QString& text, qsizetype limit)
{
    // A cluster has at least one UTF-16 unit, so most texts need no count.
    if (text.size() <= limit)
        return false;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype count = 0;
    while (count <= limit && finder.toNextBoundary() != -1)
        ++count;
    return count > limit;
}

} // namespace quillmarsh
