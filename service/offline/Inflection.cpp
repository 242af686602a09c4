#include "offline/Inflection.h"

#include <unordered_map>

#include "offline/Token.h"
#include "offline/WordClasses.h"

namespace quillmarsh::service {

namespace {

/// "two week": a noun with its -s.
std::string pluralOf(const std::string& noun)
{
    if (noun == "person") {
        return "people";
    }
    return noun.ends_with('y') && !noun.ends_with("ay") ? noun.substr(0, noun.size() - 1) + "ies"
                                                        : noun + "s";
}

std::string thirdPersonOf(const std::string& verb)
{
    return verb == "have"                                                        ? "has"
           : verb.ends_with('o') || verb.ends_with("ch") || verb.ends_with("sh") ? verb + "es"
                                                                                 : pluralOf(verb);
}

std::string theirs(const std::string& verb)
{
    return verb == "is" ? "are" : verb == "was" ? "were" : "have";
}

/// "won't": the auxiliary without its "not".
std::string auxiliaryOf(const std::string& negation)
{
    return negation == "won't"    ? "will"
           : negation == "can't"  ? "can"
           : negation == "shan't" ? "shall"
                                  : negation.substr(0, negation.size() - 3);
}

std::string ingOf(const std::string& verb)
{
    return verb.ends_with('e') && !verb.ends_with("ee") ? verb.substr(0, verb.size() - 1) + "ing"
                                                        : verb + "ing";
}

} // namespace

Inflection inflectionNamed(std::string_view name)
{
    static const std::unordered_map<std::string_view, Inflection> inflections{
        {"-aux", auxiliaryOf},
        {"-they", theirs},
        {"-it", [](const std::string& verb) { return std::string(verb == "are" ? "is" : "was"); }},
        {"-name", [](const std::string& word) { return capitalised(word); }},
        {"-base", [](const std::string& word) { return baseOfPast(word); }},
        {"-pp", participleOfPast},
        {"-s", thirdPersonOf},
        {"-ing", ingOf},
        {"-plain", [](const std::string& word) { return word.substr(0, word.size() - 1); }},
        {"-plural", pluralOf},
        {"-stem", [](const std::string& word) { return word.substr(0, word.find('\'')); }},
    };
    const auto found = inflections.find(name);
    return found == inflections.end() ? nullptr : found->second;
}

} // namespace quillmarsh::service
