#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "offline/Passes.h"
#include "offline/Sentence.h"
#include "offline/WordClasses.h"

namespace quillmarsh::service {

namespace {

using Kind = Token::Kind;

bool isOneOf(const std::string& word, std::initializer_list<std::string_view> words)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

bool hasEnd(const Tokens& tokens, const Sentence& sentence)
{
    size_t last = sentence.last;
    while (last > 0 && (tokens[last].text == "\"" || tokens[last].text == "”" || tokens[last].text == ")" ||
                        tokens[last].text == "’" || tokens[last].text == "'")) {
        --last;
    }
    return tokens[last].is(Kind::Punctuation);
}

/// A single term in quotation marks or a label in brackets: "\"aud\" must be there", "(b) the list".
bool isQuotedTerm(const Tokens& tokens, size_t i)
{
    const bool before = i > 0 && tokens[i - 1].is(Kind::Punctuation);
    return before && i + 1 < tokens.size() && tokens[i + 1].is(Kind::Punctuation) &&
           std::string_view("\"'”’)]*").find(tokens[i + 1].text) != std::string_view::npos;
}

/// A lower-case first word that shows that the text was cut out of a longer sentence.
bool continuesSomething(const std::string& first)
{
    return isOneOf(first, {"which", "than", "of", "nor", "or", "whose", "whom"});
}

/// Whether a sentence may end with this token: not with "and", and not in the middle of an address in
/// capitals.
bool canEnd(const Token& last)
{
    const bool word =
        last.is(Kind::Word) && !isAllCapitals(last.text) &&
        !isOneOf(last.lower, {"and", "or", "but", "the",  "a",  "an",   "nor", "my",   "your",  "is",
                              "are", "at", "of",  "from", "as", "than", "by",  "into", "which", "that"});
    return word || last.is(Kind::Number);
}

void capitalise(Token& token)
{
    const bool starts = token.startsSentence;
    token = makeWord(capitalised(token.text));
    token.startsSentence = starts;
}

bool isLoneLetter(const Tokens& tokens, size_t i)
{
    return i != noToken && tokens[i].is(Kind::Word) && tokens[i].text.size() == 1 && tokens[i].lower != "i" &&
           tokens[i].lower != "a";
}

/// "Is it true? she wondered.": the words behind the mark tell who asks.
bool tellsWhoSpeaks(const Tokens& tokens, size_t i)
{
    const size_t before = previousInLine(tokens, i);
    const size_t verb = nextWord(tokens, i);
    return before != noToken && tokens[before].is(Kind::Punctuation) && tokens[before].text != "." &&
           verb != noToken &&
           isOneOf(tokens[verb].lower,
                   {"asked", "said", "wondered", "thought", "cried", "replied", "shouted", "added",
                    "whispered", "asks", "says", "answered", "called", "yelled"});
}

bool saysSomething(const Token& token)
{
    return token.is(Kind::Word) &&
           isOneOf(token.lower, {"said", "asked", "whispered", "shouted", "cried", "replied", "added",
                                 "answered", "says", "asks", "yelled", "thought"});
}

bool isQuote(const Token& token)
{
    return isOneOf(token.text, {"“", "”", "\""});
}

/// The mark that opens a quotation behind "she said, "; noToken when the word at `i` does not begin one, or
/// when it goes on after "“No,” she said, ".
size_t speechBefore(const Tokens& tokens, size_t i)
{
    const size_t quote = previousInLine(tokens, i);
    const size_t comma = quote == noToken ? noToken : previousInLine(tokens, quote);
    const size_t verb = comma == noToken ? noToken : previousInLine(tokens, comma);
    if (verb == noToken || quote + 1 != i || comma + 2 != quote || !tokens[comma].isMark(',') ||
        !saysSomething(tokens[verb]) || !isQuote(tokens[quote])) {
        return noToken;
    }
    for (size_t k = previousInLine(tokens, verb); k != noToken; k = previousInLine(tokens, k)) {
        if (isQuote(tokens[k])) {
            return noToken;
        }
    }
    return quote;
}

/// "she said, “come in.”": the whole sentence that somebody says begins with a capital.
bool beginsSpeech(const Tokens& tokens, size_t i)
{
    size_t end = speechBefore(tokens, i) == noToken ? noToken : i;
    while (end != noToken && !isQuote(tokens[end])) {
        end = nextInLine(tokens, end);
    }
    return end != noToken && std::string_view(".!?").find(tokens[end - 1].text[0]) != std::string_view::npos;
}

/// "i" as a number ("(i)", "i = 0", "i and j") is not a pronoun.
bool isPronounI(const Tokens& tokens, size_t i)
{
    const size_t next = nextInLine(tokens, i);
    const size_t previous = previousInLine(tokens, i);
    if (next != noToken && tokens[next].is(Kind::Word) && isOneOf(tokens[next].lower, {"and", "or", "in"}) &&
        (tokens[next].lower == "in" || isLoneLetter(tokens, nextInLine(tokens, next)))) {
        return false;
    }
    const bool bracket =
        previous != noToken && tokens[previous].text == "(" && next != noToken && tokens[next].text == ")";
    return !bracket && !isLoneLetter(tokens, previous);
}

} // namespace

void fixCapitals(Tokens& tokens, const Lexicon& lexicon)
{
    bool firstSentence = true;
    for (size_t i = 0; i < tokens.size(); ++i) {
        Token& token = tokens[i];
        if (token.is(Kind::Word) && (token.lower == "i" || token.lower.starts_with("i'")) &&
            token.text[0] == 'i' && isPronounI(tokens, i)) {
            capitalise(token);
        }
        if (token.is(Kind::Word) && isLower(token.text[0]) && lexicon.hasForm(token.lower) &&
            beginsSpeech(tokens, i)) {
            capitalise(token);
        }
        if (!token.startsSentence) {
            continue;
        }
        const bool first = std::exchange(firstSentence, false);
        if (!token.is(Kind::Word) || !isLower(token.text[0]) || isQuotedTerm(tokens, i)) {
            continue;
        }
        const Sentence sentence = sentenceFrom(tokens, i);
        const bool inList = i > 0 && tokens[i - 1].listItem;
        const bool whole = (hasEnd(tokens, sentence) && tokens[sentence.last].text != "," &&
                            tokens[sentence.last].text != ":" && sentence.words.size() > 1) ||
                           !first || kindOf(tokens, sentence) != SentenceKind::None;
        const bool plain = lexicon.hasForm(token.lower) || lexicon.knows(token.text) || isJargon(token.lower);
        if (whole && plain && !inList && !tellsWhoSpeaks(tokens, i) &&
            !(first && continuesSomething(token.lower)) && !(inList && !hasEnd(tokens, sentence))) {
            capitalise(token);
        }
    }
}

bool isChatLine(const Tokens& tokens)
{
    if (tokens.size() < 3 || !tokens[0].is(Kind::Word) ||
        !isOneOf(tokens[0].text, {"ok", "okay", "lol", "haha", "yep", "yeah", "yup", "nope", "nah", "hey",
                                  "hi", "cool", "oh",  "thx",  "np",  "omg",  "btw", "sure", "no",  "yes"})) {
        return false;
    }
    const bool plain = std::none_of(tokens.begin(), tokens.end(), [](const Token& token) {
        return token.is(Kind::LineEnd) || token.text == "i" || token.text.starts_with("i'") ||
               (token.is(Kind::Punctuation) &&
                std::string_view(".!?").find(token.text[0]) != std::string_view::npos);
    });
    return plain && tokens[1].isMark(',');
}

void fixApostrophes(Tokens& tokens, const std::string& original)
{
    const bool typographic =
        original.find("’") != std::string::npos || original.find("“") != std::string::npos;
    if (!typographic || original.find('\'') != std::string::npos) {
        return;
    }
    for (Token& token : tokens) {
        const size_t at = token.is(Kind::Word) ? token.text.find('\'') : std::string::npos;
        if (at != std::string::npos) {
            token.text.replace(at, 1, "’");
        }
    }
}

void fixSentenceEnds(Tokens& tokens)
{
    Tokens out;
    out.reserve(tokens.size() + 4);
    size_t markBehind = noToken;
    std::string mark;
    bool inList = false;
    for (size_t i = 0; i < tokens.size(); ++i) {
        inList = tokens[i].is(Kind::LineEnd) ? false : inList || tokens[i].listItem;
        if (tokens[i].startsSentence && !inList) {
            const Sentence sentence = sentenceFrom(tokens, i);
            const bool runsOut = sentence.end >= tokens.size() || tokens[sentence.end].is(Kind::LineEnd);
            const Token& last = tokens[sentence.last];
            if (runsOut && canEnd(last) && sentence.words.size() > 2) {
                const SentenceKind kind = kindOf(tokens, sentence);
                markBehind = kind == SentenceKind::None ? noToken : sentence.last;
                mark = kind == SentenceKind::Question ? "?" : ".";
            }
        }
        out.push_back(tokens[i]);
        if (i == markBehind) {
            out.push_back({Kind::Punctuation, mark});
        }
    }
    tokens = std::move(out);
}

} // namespace quillmarsh::service
