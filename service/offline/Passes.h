#pragma once

#include "offline/Speller.h"
#include "offline/Token.h"

namespace quillmarsh::service {

/// Whether a text speaks of programs: there, a word that no dictionary has ("umask") and a mark between
/// blanks are rather meant than mistaken.
[[nodiscard]] bool isTechnical(const Tokens& tokens);

/// Blanks between words and around marks, and marks given twice by mistake. Leaves indentation, tables,
/// ellipses and the two blanks that some people write behind a full stop.
void fixSpacing(Tokens& tokens, const Lexicon& lexicon);
/// A word written twice, where English never has it twice.
void fixRepetitions(Tokens& tokens);
/// "a" before a vowel that is heard, "an" before a consonant.
void fixArticles(Tokens& tokens, const Lexicon& lexicon);
/// Misspelt words, and words that are always written with a capital ("monday").
void fixSpelling(Tokens& tokens, const Speller& speller, const Lexicon& lexicon);
/// "I", and the first letter of what is a sentence.
void fixCapitals(Tokens& tokens, const Lexicon& lexicon);
/// "ok, see you at 8": one line that begins with a word of chats in lower case and has no mark at its end.
/// Whoever writes so, and without any mistake, means it.
[[nodiscard]] bool isChatLine(const Tokens& tokens);
/// Apostrophes that were added become typographic ones in a text that has typographic marks and no plain
/// ones.
void fixApostrophes(Tokens& tokens, const std::string& original);
/// The full stop or question mark at the end of a paragraph whose last words are a sentence.
void fixSentenceEnds(Tokens& tokens);

/// Takes the sentences that are not English out of the reach of every pass. Returns whether there is English
/// in it.
enum class Language { English, Unsure, Other };
[[nodiscard]] Language protectOtherLanguages(Tokens& tokens, const Speller& speller, const Lexicon& lexicon);

} // namespace quillmarsh::service
