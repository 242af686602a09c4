#pragma once

namespace quillmarsh::service {

/// The rules of the offline engine in the language that RuleSet reads. Within one text, a rule that begins
/// with a word goes before one that begins with a class, and an earlier rule before a later one.
struct RuleTexts
{
    static const char* const contractions; ///< apostrophes that were left out
    static const char* const confusions;   ///< words taken for each other, agreement, forms of the verb
    static const char* const formal;       ///< into office English
    static const char* const casual;       ///< into spoken English
    static const char* const wordy;        ///< filler and long-winded phrases
};

} // namespace quillmarsh::service
