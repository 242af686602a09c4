#include "offline/RuleSet.h"

#include <algorithm>
#include <stdexcept>

#include "base/Text.h"
#include "offline/Inflection.h"

namespace quillmarsh::service {

namespace {

using Kind = Token::Kind;

constexpr std::string_view arrow = "=>";

/// Whether the sentence that holds `last` ends in a question mark.
bool isQuestion(const Tokens& tokens, size_t last)
{
    for (size_t i = nextInLine(tokens, last); i != noToken; i = nextInLine(tokens, i)) {
        if (tokens[i].is(Kind::Punctuation) &&
            std::string_view(".?!").find(tokens[i].text[0]) != std::string_view::npos) {
            return tokens[i].text[0] == '?';
        }
    }
    return false;
}

/// What "$2", "$2-base" or "$2're" stands for.
Token resolve(const std::string& piece, const Token& matched)
{
    const std::string_view form = std::string_view(piece).substr(2);
    if (form.empty()) {
        return matched;
    }
    if (form[0] == '\'') {
        return makeWord(matched.text + std::string(form));
    }
    return makeWord(inTheCaseOf(inflectionNamed(form)(matched.lower), matched.text));
}

} // namespace

RuleSet::RuleSet(std::string_view text)
{
    for (const std::string& line : splitList(text, '\n')) {
        addRule(line);
    }
}

void RuleSet::addRule(std::string_view line)
{
    const size_t at = line.find(arrow);
    if (at == std::string_view::npos) {
        throw std::logic_error("a rule without an arrow: " + std::string(line));
    }
    Rule rule;
    readLeft(rule, splitList(line.substr(0, at), ' '));
    rule.result = splitList(line.substr(at + arrow.size()), ' ');
    if (rule.elements.empty() || rule.result.empty()) {
        throw std::logic_error("a rule with an empty side: " + std::string(line));
    }
    if (rule.result.size() == 1 && rule.result.front() == "-") {
        rule.result.clear();
    }
    checkResult(rule, line);
    const size_t index = rules_.size();
    if (rule.elements.front().classes.empty()) {
        for (const std::string& word : rule.elements.front().words) {
            byWord_[word].push_back(index);
        }
    } else {
        byClass_.push_back(index);
    }
    rules_.push_back(std::move(rule));
}

void RuleSet::checkResult(const Rule& rule, std::string_view line)
{
    for (const std::string& piece : rule.result) {
        const bool reference = piece[0] == '$';
        const std::string_view form = reference && piece.size() > 2 ? std::string_view(piece).substr(2) : "";
        const bool fits = !reference || (piece.size() > 1 && piece[1] >= '1' &&
                                         static_cast<size_t>(piece[1] - '0') <= rule.elements.size());
        if (!fits || (!form.empty() && form[0] != '\'' && inflectionNamed(form) == nullptr)) {
            throw std::logic_error("a rule whose right side cannot be read: " + std::string(line));
        }
    }
}

void RuleSet::readLeft(Rule& rule, const std::vector<std::string>& pieces) const
{
    for (const std::string& piece : pieces) {
        const bool look = (piece[0] == '~' || piece[0] == '!') && piece.size() > 1;
        if (piece == "^") {
            rule.atStart = true;
        } else if (piece == ",") {
            rule.takesComma = true;
        } else if (piece[0] == '$') {
            rule.end = piece == "$" ? End::Clause : piece == "$?" ? End::Question : End::NotQuestion;
        } else if (look && rule.elements.empty()) {
            rule.before = piece[0] == '~' ? Look::Is : Look::IsNot;
            rule.beforeElement = readElement(piece.substr(1));
        } else if (look) {
            rule.behind = piece[0] == '~' ? Look::Is : Look::IsNot;
            rule.behindElement = readElement(piece.substr(1));
        } else {
            rule.elements.push_back(readElement(piece));
        }
    }
}

RuleSet::Element RuleSet::readElement(std::string_view piece)
{
    Element element;
    for (const std::string& word : splitList(piece, '|')) {
        if (word.front() != '<') {
            element.words.insert(word);
            continue;
        }
        const auto wordClass = wordClassNamed(std::string_view(word).substr(1, word.size() - 2));
        if (!wordClass) {
            throw std::logic_error("a rule with an unknown class: " + word);
        }
        element.classes.push_back(*wordClass);
    }
    return element;
}

bool RuleSet::Element::matches(const Token& token) const
{
    return words.contains(token.lower) ||
           std::any_of(classes.begin(), classes.end(),
                       [&](WordClass wordClass) { return isOfClass(token.lower, token.text, wordClass); });
}

bool RuleSet::fitsBefore(const Rule& rule, const Tokens& tokens, size_t i)
{
    if (rule.atStart && !tokens[i].startsSentence) {
        return false;
    }
    if (rule.takesComma && rule.result.empty() && !tokens[i].startsSentence && !isBehindComma(tokens, i)) {
        return false; // "I want to be honest, but"
    }
    if (rule.before == Look::None) {
        return true;
    }
    const size_t previous = tokens[i].startsSentence ? noToken : previousInLine(tokens, i);
    const bool is = isNeighbour(tokens, i, previous) && rule.beforeElement.matches(tokens[previous]);
    return is == (rule.before == Look::Is);
}

bool RuleSet::fitsEnd(const Rule& rule, const Tokens& tokens, size_t last)
{
    const size_t next = nextInLine(tokens, last);
    if (rule.takesComma && (next == noToken || !tokens[next].isMark(','))) {
        return false;
    }
    if (rule.end != End::Any) {
        if (rule.end == End::Clause && next != noToken && !tokens[next].is(Kind::Punctuation)) {
            return false;
        }
        if (rule.end != End::Clause && isQuestion(tokens, last) != (rule.end == End::Question)) {
            return false;
        }
    }
    if (rule.behind == Look::None) {
        return true;
    }
    const bool is = isNeighbour(tokens, last, next) && rule.behindElement.matches(tokens[next]);
    return is == (rule.behind == Look::Is);
}

bool RuleSet::matchAt(const Rule& rule, const Tokens& tokens, size_t i, std::vector<size_t>& matched) const
{
    matched.clear();
    size_t at = i;
    for (const Element& element : rule.elements) {
        if (at == noToken || (!matched.empty() && tokens[at].startsSentence) ||
            isAllCapitals(tokens[at].text) || !element.matches(tokens[at])) {
            return false;
        }
        matched.push_back(at);
        at = nextWord(tokens, at);
    }
    return fitsBefore(rule, tokens, i) && fitsEnd(rule, tokens, matched.back());
}

void RuleSet::write(const Rule& rule, const Tokens& tokens, const std::vector<size_t>& matched, Tokens& out)
{
    const Token& model = tokens[matched.front()];
    bool first = true;
    for (const std::string& piece : rule.result) {
        if (!first) {
            out.push_back({Kind::Blank, " "});
        }
        const bool reference = piece[0] == '$';
        Token word = reference ? resolve(piece, tokens[matched.at(static_cast<size_t>(piece[1] - '1'))])
                               : makeWord(piece);
        if (first && model.text != "I" && !isAllCapitals(model.text)) {
            word = makeWord(inTheCaseOf(word.text, model.text));
        }
        word.startsSentence = first && model.startsSentence;
        out.push_back(std::move(word));
        first = false;
    }
}

const RuleSet::Rule* RuleSet::find(const Tokens& tokens, size_t i, std::vector<size_t>& matched) const
{
    if (!tokens[i].is(Kind::Word)) {
        return nullptr;
    }
    const auto firstOf = [&](const std::vector<size_t>& indices) -> const Rule* {
        for (const size_t index : indices) {
            if (matchAt(rules_[index], tokens, i, matched)) {
                return &rules_[index];
            }
        }
        return nullptr;
    };
    const auto candidates = byWord_.find(tokens[i].lower);
    const Rule* found = candidates == byWord_.end() ? nullptr : firstOf(candidates->second);
    return found != nullptr ? found : firstOf(byClass_);
}

size_t RuleSet::apply(Tokens& tokens) const
{
    Tokens out;
    out.reserve(tokens.size() + 8);
    std::vector<size_t> matched;
    size_t count = 0;
    bool startLost = false; // the word that began the sentence was deleted
    for (size_t i = 0; i < tokens.size(); ++i) {
        const Rule* rule = find(tokens, i, matched);
        if (rule == nullptr && startLost && tokens[i].isMark(',')) {
            closeGap(tokens, i, out); // the comma behind what was deleted
            continue;
        }
        if (rule == nullptr) {
            out.push_back(tokens[i]);
            startLost = startLost && !inheritStart(out.back());
            continue;
        }
        ++count;
        const size_t written = out.size();
        write(*rule, tokens, matched, out);
        startLost = startLost && (out.size() == written || !inheritStart(out[written]));
        i = rule->takesComma ? nextInLine(tokens, matched.back()) : matched.back();
        if (rule->result.empty()) {
            if (rule->takesComma && isBehindComma(tokens, matched.front())) {
                dropComma(out); // "does not, in actual fact, change"
            }
            startLost = startLost || tokens[matched.front()].startsSentence;
            closeGap(tokens, i, out);
        }
    }
    tokens = std::move(out);
    return count;
}

bool RuleSet::inheritStart(Token& token)
{
    if (token.is(Kind::Word)) {
        token = makeWord(capitalised(token.text));
    }
    token.startsSentence = token.isContent();
    return token.isContent();
}

void RuleSet::dropComma(Tokens& out)
{
    const size_t comma = previousInLine(out, out.size());
    if (comma == noToken || !out[comma].isMark(',')) {
        return; // another rule took it
    }
    const size_t before = previousInLine(out, comma);
    if (before != noToken && !out[before].startsSentence) { // but "However, in actual fact, he"
        out.erase(out.begin() + static_cast<std::ptrdiff_t>(comma));
    }
}

void RuleSet::closeGap(const Tokens& tokens, size_t& i, Tokens& out)
{
    const bool open = out.empty() || out.back().is(Kind::Blank) || !out.back().isContent();
    if (open && i + 1 < tokens.size() && tokens[i + 1].is(Kind::Blank)) {
        ++i;
        return;
    }
    const size_t next = nextInLine(tokens, i);
    const bool markNext = next == noToken || (tokens[next].is(Kind::Punctuation) && next == i + 1);
    if (!out.empty() && out.back().is(Kind::Blank) && markNext) {
        out.pop_back();
    }
}

} // namespace quillmarsh::service
