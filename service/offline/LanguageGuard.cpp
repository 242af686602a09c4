#include <algorithm>

#include "offline/Misspellings.h"
#include "offline/Passes.h"
#include "offline/WordClasses.h"

namespace quillmarsh::service {

namespace {

using Kind = Token::Kind;

/// What the words of one sentence say about its language.
struct Evidence
{
    int words = 0;
    int unknown = 0;
    int small = 0;   ///< function words
    int english = 0; ///< those of them that are in the list
    int foreign = 0; ///< the same of other languages, and words with letters that English has not
    int particles = 0;

    [[nodiscard]] bool isOther() const
    {
        const bool strange = words >= 3 && 10 * unknown > 4 * words && 4 * small < words;
        const bool signs = foreign > 0 && foreign + particles > 1 && foreign + particles > english;
        return strange || (signs && 3 * (foreign + particles + unknown) > words);
    }
    [[nodiscard]] bool isUnsure() const { return words < 3 ? unknown == words && words > 1 : false; }
};

bool isUnknown(const Token& token, const Speller& speller, const Lexicon& lexicon)
{
    return !speller.isRight(token.text) && !lexicon.hasForm(token.lower) &&
           wellKnownCorrection(token.lower).empty() && lexicon.withCapitals(token.lower).empty();
}

/// Contractions without their apostrophe are as English as it gets.
bool isSmall(const std::string& lower)
{
    const std::string known = wellKnownCorrection(lower);
    return isFunctionWord(known.empty() ? lower : known) ||
           (lower.size() > 3 && (lower.ends_with("nt") || lower.ends_with("ve")) && lower.size() < 8);
}

/// "été" and "über", but not "Ängström".
bool beginsSmall(const std::string& text)
{
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    return isLower(text[0]) || (text.size() > 1 && byte(0) == 0xC3 && byte(1) >= 0xA0);
}

/// Names are no sign ("São Paulo"), nor is what English has taken over ("café").
bool isForeign(const Token& token, const Lexicon& lexicon)
{
    const bool accented = std::any_of(token.lower.begin(), token.lower.end(),
                                      [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    const bool small = beginsSmall(token.text);
    return ((small || token.startsSentence) && isForeignSmallWord(token.lower)) ||
           (accented && small && !isJargon(token.lower) && !lexicon.knows(token.text));
}

Evidence evidenceOf(const Tokens& tokens, size_t begin, size_t end, const Speller& speller,
                    const Lexicon& lexicon)
{
    Evidence evidence;
    for (size_t i = begin; i < end; ++i) {
        const Token& token = tokens[i];
        if (!token.is(Kind::Word) || token.lower.size() < 2 || isAllCapitals(token.text)) {
            continue;
        }
        const bool name = isCapitalised(token.text) && i != begin;
        ++evidence.words;
        evidence.small += isSmall(token.lower) ? 1 : 0;
        evidence.english += isFunctionWord(token.lower) ? 1 : 0;
        const bool foreign = isForeign(token, lexicon);
        evidence.foreign += foreign ? 1 : 0;
        evidence.particles += !foreign && isForeignParticle(token.lower) ? 1 : 0;
        if (isUnknown(token, speller, lexicon)) {
            // an unknown word with a clear correction is half a sign only: foreign words have them by
            // accident
            evidence.unknown += name && evidence.small > 0 ? 0 : 1;
        }
    }
    return evidence;
}

bool hasOtherScript(const Tokens& tokens)
{
    for (const Token& token : tokens) {
        if (token.is(Kind::Opaque) && !token.text.empty() &&
            static_cast<unsigned char>(token.text[0]) >= 0xCD) {
            return true;
        }
    }
    return false;
}

} // namespace

Language protectOtherLanguages(Tokens& tokens, const Speller& speller, const Lexicon& lexicon)
{
    bool english = false;
    bool other = hasOtherScript(tokens);
    bool unsure = false;
    for (size_t begin = 0; begin < tokens.size();) {
        size_t end = begin + 1;
        while (end < tokens.size() && !tokens[end].startsSentence) {
            ++end;
        }
        const Evidence evidence = evidenceOf(tokens, begin, end, speller, lexicon);
        if (evidence.isOther()) {
            other = true;
            for (size_t i = begin; i < end; ++i) {
                const bool word = tokens[i].is(Kind::Word) || tokens[i].is(Kind::Punctuation);
                tokens[i].kind = word ? Kind::Opaque : tokens[i].kind;
            }
        } else {
            unsure = unsure || evidence.isUnsure();
            english = english || (evidence.words > 0 && !evidence.isUnsure());
        }
        begin = end;
    }
    return english  ? Language::English
           : other  ? Language::Other
           : unsure ? Language::Unsure
                    : Language::English;
}

} // namespace quillmarsh::service
