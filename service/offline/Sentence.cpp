#include "offline/Sentence.h"

#include <algorithm>
#include <array>

#include "offline/WordClasses.h"

namespace quillmarsh::service {

namespace {

using Kind = Token::Kind;

bool isOneOf(const std::string& word, std::initializer_list<std::string_view> words)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

bool endsParagraph(const Tokens& tokens, size_t lineEnd)
{
    for (size_t i = lineEnd + 1; i < tokens.size(); ++i) {
        if (tokens[i].is(Kind::LineEnd) || tokens[i].listItem) {
            return true;
        }
        if (!tokens[i].is(Kind::Indent) && !tokens[i].is(Kind::Blank)) {
            return false;
        }
    }
    return true;
}

/// Judges by the first words what a sentence is.
class SentenceJudge final
{
public:
    SentenceJudge(const Tokens& tokens, const Sentence& sentence) : tokens_(tokens), sentence_(sentence) {}

    [[nodiscard]] SentenceKind kind() const
    {
        size_t n = 0;
        while (
            isOneOf(at(n), {"so",    "and",      "but",           "hi",    "hello",   "hey",     "well",
                            "ok",    "okay",     "yes",           "no",    "also",    "then",    "yesterday",
                            "today", "tomorrow", "now",           "maybe", "because", "however", "actually",
                            "sorry", "please",   "unfortunately", "btw",   "if",      "when"}) &&
            n < 2) {
            ++n;
        }
        if (isQuestion(n)) {
            return SentenceKind::Question;
        }
        const bool whole = isFormula(n) || isFormula(0) || hasSubjectAndVerb(n) || isRequest(n);
        return whole && !isTitle() ? SentenceKind::Statement : SentenceKind::None;
    }

private:
    [[nodiscard]] size_t count() const { return sentence_.words.size(); }
    [[nodiscard]] const std::string& at(size_t n) const
    {
        static const std::string none;
        return n < count() ? tokens_[sentence_.words[n]].lower : none;
    }

    [[nodiscard]] bool isQuestion(size_t n) const
    {
        static constexpr std::array openers{
            "do",     "does",  "did",   "can",      "could",    "would", "will",   "should",  "are",
            "is",     "was",   "were",  "has",      "have",     "am",    "isn't",  "aren't",  "doesn't",
            "didn't", "won't", "can't", "couldn't", "wouldn't", "don't", "wasn't", "haven't", "shouldn't"};
        const auto isOpener = [](const std::string& word) {
            return std::find(openers.begin(), openers.end(), word) != openers.end();
        };
        const auto isSubject = [&](size_t k) {
            return isOneOf(at(k), {"i", "you", "he", "she", "it", "we", "they", "there", "this", "that",
                                   "anyone", "everyone", "somebody", "someone", "anybody", "everything"}) ||
                   isOneOf(at(k), {"the", "my", "your", "our", "his", "her", "their"});
        };
        if (isOpener(at(n)) && isSubject(n + 1) && count() > n + 2) {
            return !isOneOf(at(n), {"have", "had"}) || !isDeterminer(at(n + 1)); // "have the report ready"
        }
        if (!isOneOf(at(n), {"what", "where", "when", "why", "who", "how", "which", "whose"})) {
            return isOneOf(at(n), {"what's", "where's", "who's", "how's"}) && count() > n + 1;
        }
        const size_t aux =
            isOneOf(at(n + 1), {"time", "much", "many", "long", "often", "far", "about", "kind"}) ? n + 2
                                                                                                  : n + 1;
        return isOpener(at(aux)) && isSubject(aux + 1);
    }

    /// Thanks, regrets, wishes: sentences without a subject.
    [[nodiscard]] bool isFormula(size_t n) const
    {
        const std::string& first = at(n);
        const std::string& second = at(n + 1);
        return (first == "thanks" && isOneOf(second, {"for", "again", "so", "a", "to"})) ||
               (first == "thank" && second == "you") ||
               (first == "sorry" && isOneOf(second, {"for", "about", "to", "that", "i", "i'm", "but"})) ||
               (first == "see" && second == "you") || (first == "looking" && second == "forward") ||
               (first == "hope" &&
                isOneOf(second, {"you", "this", "that", "to", "everything", "all", "it"})) ||
               (first == "hope" && isOneOf(second, {"you're", "it's"})) ||
               (first == "let" && count() > n + 2) || (first == "let's" && count() > n + 1) ||
               (first == "talk" && second == "to") ||
               (first == "have" && isDeterminer(second) &&
                isOneOf(at(n + 2), {"great", "good", "nice", "lovely"}));
    }

    /// A subject at the begin and a verb behind it that is not part of a relative clause ("the house we were
    /// in").
    [[nodiscard]] bool hasSubjectAndVerb(size_t n) const
    {
        if (n >= count()) {
            return false;
        }
        const Token& first = tokens_[sentence_.words[n]];
        if (isSubjectPronoun(first.lower)) {
            return first.lower.find('\'') != std::string::npos ? count() > n + 1
                                                               : verbWithin(n + 1, n + 5, true);
        }
        const bool nounPhrase = isDeterminer(first.lower) || (n == 0 && !isFunctionWord(first.lower));
        return nounPhrase && verbWithin(n + 1, n + 6, false);
    }

    [[nodiscard]] bool verbWithin(size_t begin, size_t end, bool afterPronoun) const
    {
        for (size_t k = begin; k < std::min(end, count()); ++k) {
            const std::string& word = at(k);
            const bool next = afterPronoun && k == begin;
            if (!next && (isSubjectPronoun(word) || isOneOf(word, {"who", "which", "where"}))) {
                return false; // "things I love", "the house that we were in"
            }
            if (isFiniteVerb(word) && (k > begin || afterPronoun || isAuxiliary(word) || isPast(word))) {
                return true;
            }
            if (next && isVerbLike(word)) {
                return true;
            }
        }
        return false;
    }

    [[nodiscard]] static bool isPast(const std::string& word)
    {
        return !isOfClass(word, word, WordClass::Base);
    }
    [[nodiscard]] static bool isVerbLike(const std::string& word)
    {
        return isOfClass(word, word, WordClass::Base) ||
               (word.size() > 3 && word.ends_with("s") &&
                isOfClass(word.substr(0, word.size() - 1), word, WordClass::Base)) ||
               (word.size() > 4 && word.ends_with("ed"));
    }

    /// "please send me the notes", "send me the notes": but not "Install the package", which may be a label.
    [[nodiscard]] bool isRequest(size_t n) const
    {
        const bool polite = n > 0 && at(n - 1) == "please";
        const bool person = isOneOf(at(n + 1), {"me", "us", "him", "them"});
        return n < count() && isOfClass(at(n), at(n), WordClass::Base) && count() >= n + 3 &&
               (polite || person);
    }

    /// Most words with a capital.
    [[nodiscard]] bool isTitle() const
    {
        const auto capitals =
            std::count_if(sentence_.words.begin() + 1, sentence_.words.end(), [&](size_t i) {
                return isCapitalised(tokens_[i].text) && tokens_[i].text != "I" &&
                       !tokens_[i].lower.starts_with("i'");
            });
        return count() > 2 && 2 * static_cast<size_t>(capitals) > count() - 1;
    }

    const Tokens& tokens_;
    const Sentence& sentence_;
};

} // namespace

Sentence sentenceFrom(const Tokens& tokens, size_t first)
{
    Sentence sentence;
    size_t i = first;
    for (; i < tokens.size() && (i == first || !tokens[i].startsSentence); ++i) {
        if (tokens[i].is(Kind::LineEnd) && endsParagraph(tokens, i)) {
            break;
        }
        if (tokens[i].isContent()) {
            sentence.words.push_back(i);
        }
        if (!tokens[i].is(Kind::Blank) && !tokens[i].is(Kind::LineEnd) && !tokens[i].is(Kind::Indent)) {
            sentence.last = i;
        }
    }
    sentence.end = i;
    return sentence;
}

SentenceKind kindOf(const Tokens& tokens, const Sentence& sentence)
{
    return SentenceJudge(tokens, sentence).kind();
}

} // namespace quillmarsh::service
