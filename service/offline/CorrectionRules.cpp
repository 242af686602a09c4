#include "offline/CorrectionRules.h"

#include <algorithm>

#include "offline/RuleTexts.h"
#include "offline/WordClasses.h"

namespace quillmarsh::service {

namespace {

using Kind = Token::Kind;

/// A statement that stands on its own before another begins: "thanks for your help", "see you tomorrow".
bool beginsClause(const std::string& lower)
{
    static const std::vector<std::string> starts{"i'll",  "i'm",   "i've",   "i'd", "we'll", "we're",
                                                 "we've", "let's", "please", "see", "talk"};
    return std::find(starts.begin(), starts.end(), lower) != starts.end();
}

bool isOneOf(const std::string& word, std::initializer_list<std::string_view> words)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// The last word of "thanks for your help", when `first` begins that; noToken otherwise.
size_t formulaEnd(const Tokens& tokens, size_t first)
{
    size_t at = first;
    if (tokens[at].lower == "thank") {
        at = nextWord(tokens, at);
        if (at == noToken || tokens[at].lower != "you") {
            return noToken;
        }
    } else if (!isOneOf(tokens[at].lower, {"thanks", "sorry"})) {
        return noToken;
    }
    for (const auto& step : {std::initializer_list<std::string_view>{"for", "about"},
                             std::initializer_list<std::string_view>{"your", "my", "our", "all"}}) {
        at = nextWord(tokens, at);
        if (at == noToken || !isOneOf(tokens[at].lower, step)) {
            return noToken;
        }
    }
    at = nextWord(tokens, at);
    if (at != noToken &&
        isOneOf(tokens[at].lower, {"your", "quick", "late", "great", "kind", "the", "patience"})) {
        const size_t next = nextWord(tokens, at);
        at = next == noToken || beginsClause(tokens[next].lower) ? at : next;
    }
    return at;
}

} // namespace

void splitFormulas(Tokens& tokens)
{
    for (size_t i = 0; i < tokens.size(); ++i) {
        if (!tokens[i].startsSentence || !tokens[i].is(Kind::Word)) {
            continue;
        }
        const size_t end = formulaEnd(tokens, i);
        const size_t next = end == noToken ? noToken : nextWord(tokens, end);
        if (next != noToken && beginsClause(tokens[next].lower)) {
            tokens[next].startsSentence = true;
            tokens.insert(tokens.begin() + static_cast<std::ptrdiff_t>(end) + 1, {Kind::Punctuation, "."});
        }
    }
}

const RuleSet& contractionRules()
{
    static const RuleSet rules(RuleTexts::contractions);
    return rules;
}

const RuleSet& confusionRules()
{
    static const RuleSet rules(RuleTexts::confusions);
    return rules;
}

} // namespace quillmarsh::service
