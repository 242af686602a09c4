#include "offline/ToneRules.h"

#include <algorithm>

#include "offline/RuleTexts.h"

namespace quillmarsh::service {

namespace {

using Kind = Token::Kind;

/// In an official letter nobody shouts or smiles.
void calmDown(Tokens& tokens)
{
    Tokens out;
    for (size_t i = 0; i < tokens.size(); ++i) {
        Token& token = tokens[i];
        const bool smile = token.is(Kind::Opaque) &&
                           (token.text.starts_with(':') || token.text.starts_with(';')) &&
                           token.text.size() < 4;
        if (smile) {
            if (!out.empty() && out.back().is(Kind::Blank)) {
                out.pop_back();
            }
            continue;
        }
        if (token.is(Kind::Punctuation) && token.text.find_first_not_of('!') == std::string::npos) {
            token.text = ".";
        } else if (token.is(Kind::Punctuation) && token.text.find_first_not_of('?') == std::string::npos) {
            token.text = "?";
        }
        out.push_back(std::move(token));
    }
    tokens = std::move(out);
}

const RuleSet& formalRules()
{
    static const RuleSet rules(RuleTexts::formal);
    return rules;
}

const RuleSet& casualRules()
{
    static const RuleSet rules(RuleTexts::casual);
    return rules;
}

const RuleSet& wordyRules()
{
    static const RuleSet rules(RuleTexts::wordy);
    return rules;
}

} // namespace

void checkToneRules()
{
    (void)formalRules();
    (void)casualRules();
    (void)wordyRules();
}

void makeFormal(Tokens& tokens)
{
    calmDown(tokens);
    formalRules().apply(tokens);
    formalRules().apply(tokens); // "gonna" may stand behind what became "I have"
}

void makeCasual(Tokens& tokens)
{
    casualRules().apply(tokens);
    casualRules().apply(tokens);
}

size_t makeShorter(Tokens& tokens)
{
    const size_t first = wordyRules().apply(tokens);
    return first + wordyRules().apply(tokens);
}

} // namespace quillmarsh::service
