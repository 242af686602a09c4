#include <algorithm>
#include <array>

#include "base/Text.h"
#include "offline/Misspellings.h"
#include "offline/Passes.h"
#include "offline/WordClasses.h"

namespace quillmarsh::service {

namespace {

using Kind = Token::Kind;

/// Words that never stand twice in a row in good English. "had had", "that that", "is is", "her her", "in
/// in", "you you" and their like can be right and are left alone.
bool neverTwice(const std::string& lower)
{
    constexpr std::array words{"the",   "a",    "an",  "and",    "or",    "of",   "to",   "for",
                               "with",  "at",   "by",  "from",   "my",    "your", "our",  "their",
                               "these", "this", "i",   "we",     "they",  "he",   "she",  "but",
                               "as",    "if",   "are", "be",     "would", "into", "when", "because",
                               "about", "have", "not", "please", "then",  "than", "its"};
    return std::find(words.begin(), words.end(), lower) != words.end();
}

bool startsWithAny(const std::string& word, std::initializer_list<std::string_view> beginnings)
{
    return std::any_of(beginnings.begin(), beginnings.end(),
                       [&](std::string_view beginning) { return word.starts_with(beginning); });
}

/// "university", "European", "one": a vowel is written, a consonant is heard.
bool soundsLikeConsonant(const std::string& lower)
{
    if (startsWithAny(lower,
                      {"uni", "eu", "use", "usu", "usa", "uti", "ubiq", "ura", "uro", "ute", "uke", "ewe"})) {
        return !startsWithAny(lower, {"unin", "unim", "unid", "unint"});
    }
    return lower == "one" || lower == "once" || lower == "oneself" || lower == "ouija";
}

bool soundsLikeVowel(const std::string& lower)
{
    return startsWithAny(lower, {"hour", "honest", "honor", "honour", "heir"});
}

bool isVowelLetter(char c)
{
    return std::string_view("aeiou").find(c) != std::string_view::npos;
}

std::string articleFor(const std::string& lower)
{
    if (soundsLikeVowel(lower)) {
        return "an";
    }
    if (soundsLikeConsonant(lower)) {
        return "a";
    }
    // "an historic", "an herb" are right for some
    return isVowelLetter(lower[0]) ? "an" : lower[0] == 'h' ? std::string() : "a";
}

} // namespace

void fixRepetitions(Tokens& tokens)
{
    Tokens out;
    out.reserve(tokens.size());
    for (size_t i = 0; i < tokens.size(); ++i) {
        const size_t next = tokens[i].is(Kind::Word) ? nextWord(tokens, i) : noToken;
        const bool twice =
            next != noToken && tokens[next].lower == tokens[i].lower && neverTwice(tokens[i].lower) &&
            (!isCapitalised(tokens[next].text) || tokens[i].text == "I") && !isAllCapitals(tokens[i].text);
        if (twice) {
            Token& kept = tokens[next];
            const bool starts = tokens[i].startsSentence;
            kept = makeWord(tokens[i].text);
            kept.startsSentence = starts;
            i = next - 1;
            continue;
        }
        out.push_back(tokens[i]);
    }
    tokens = std::move(out);
}

void fixArticles(Tokens& tokens, const Lexicon& lexicon)
{
    for (size_t i = 0; i < tokens.size(); ++i) {
        Token& article = tokens[i];
        if (!article.is(Kind::Word) ||
            (article.text != "a" && article.text != "an" && article.text != "An" && article.text != "A")) {
            continue;
        }
        const size_t next = nextWord(tokens, i);
        if (next == noToken || tokens[next].lower.size() < 3 || isFunctionWord(tokens[next].lower) ||
            !std::all_of(tokens[next].text.begin(), tokens[next].text.end(), isLower) ||
            !lexicon.hasForm(tokens[next].lower)) {
            continue;
        }
        const std::string right = articleFor(tokens[next].lower);
        if (!right.empty() && right != article.lower) {
            const bool starts = article.startsSentence;
            article = makeWord(inTheCaseOf(right, article.text));
            article.startsSentence = starts;
        }
    }
}

namespace {

/// Decides about one word.
class WordSpelling final
{
public:
    WordSpelling(const Speller& speller, const Lexicon& lexicon, bool strict)
        : speller_(speller), lexicon_(lexicon), strict_(strict)
    {}

    [[nodiscard]] std::string correctionOf(const Token& token) const
    {
        if (token.lower.size() < 3 || isAllCapitals(token.text)) {
            return {};
        }
        if (token.text == "english" || token.text == "french" || token.text == "christmas") {
            return capitalised(token.text); // the dictionary knows them as parts of other terms, too
        }
        std::string known = wellKnownCorrection(token.lower);
        if (known.empty() && !speller_.isRight(token.text)) { // "seed" and "bed" are words
            known = pastOfRegularised(token.lower);
        }
        if (known.empty() && speller_.isRight(token.text)) {
            return {};
        }
        const bool capital = isCapitalised(token.text);
        if (capital && lexicon_.hasForm(token.lower)) {
            return {};
        }
        if (!known.empty()) {
            return inTheCaseOf(withCapital(known), token.text);
        }
        if (!capital && token.lower.size() > 3) {
            if (std::string written = lexicon_.withCapitals(token.lower); !written.empty()) {
                return written;
            }
        }
        if (capital && !token.startsSentence) {
            return {}; // a name
        }
        return inTheCaseOf(withCapital(speller_.correction(token.lower, capital || strict_)), token.text);
    }

private:
    [[nodiscard]] std::string withCapital(const std::string& word) const
    {
        return lexicon_.hasForm(word) || word.size() < 4 || lexicon_.withCapitals(word).empty()
                   ? word
                   : lexicon_.withCapitals(word);
    }

    const Speller& speller_;
    const Lexicon& lexicon_;
    bool strict_;
};

/// "been rised": behind these stands the participle.
bool takesParticiple(const std::string& lower)
{
    constexpr std::array words{"have",    "has",  "had",   "haven't", "hasn't", "hadn't", "i've", "we've",
                               "they've", "been", "being", "be",      "is",     "are",    "was",  "were"};
    return std::find(words.begin(), words.end(), lower) != words.end();
}

void appendWords(const std::string& text, bool startsSentence, Tokens& out)
{
    for (const std::string& word : splitList(text, ' ')) {
        if (!out.empty() && out.back().is(Kind::Word)) {
            out.push_back({Kind::Blank, " "});
        }
        out.push_back(makeWord(word));
        out.back().startsSentence = startsSentence;
        startsSentence = false;
    }
}

} // namespace

bool isTechnical(const Tokens& tokens)
{
    return std::any_of(tokens.begin(), tokens.end(), [](const Token& token) {
        const bool link =
            token.text.find("://") != std::string::npos || token.text.find('@') != std::string::npos;
        return token.is(Kind::Opaque) && !link &&
               (token.text.find_first_of("_(`{}=<\\/[") != std::string::npos || token.text.starts_with('-') ||
                token.text.starts_with('$'));
    });
}

void fixSpelling(Tokens& tokens, const Speller& speller, const Lexicon& lexicon)
{
    const WordSpelling spelling(speller, lexicon, isTechnical(tokens));
    Tokens out;
    out.reserve(tokens.size());
    for (size_t i = 0; i < tokens.size(); ++i) {
        const Token& token = tokens[i];
        const size_t before = token.is(Kind::Word) ? previousWord(tokens, i) : noToken;
        const bool foreign = before != noToken && isForeignParticle(tokens[before].lower);
        std::string correction =
            token.is(Kind::Word) && !foreign ? spelling.correctionOf(token) : std::string();
        if (before != noToken && takesParticiple(tokens[before].lower)) {
            correction = participleOfPast(correction);
        }
        if (correction.empty()) {
            out.push_back(token);
        } else {
            appendWords(correction, token.startsSentence, out);
        }
    }
    tokens = std::move(out);
}

} // namespace quillmarsh::service
