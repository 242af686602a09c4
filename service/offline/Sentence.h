#pragma once

#include <initializer_list>

#include "offline/Token.h"

namespace quillmarsh::service {

/// The words of a sentence, from its first on, without marks.
struct Sentence
{
    std::vector<size_t> words;
    size_t end = 0;  ///< behind the last token that belongs to it
    size_t last = 0; ///< the last token that is not a blank or a line end
};

/// The sentence that begins with the token `first`; it ends where another begins, or with its paragraph.
[[nodiscard]] Sentence sentenceFrom(const Tokens& tokens, size_t first);

/// What a sentence is: none when it is a heading, a label or a part of one.
enum class SentenceKind { None, Statement, Question };
[[nodiscard]] SentenceKind kindOf(const Tokens& tokens, const Sentence& sentence);

} // namespace quillmarsh::service
