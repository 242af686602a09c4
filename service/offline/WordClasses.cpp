#include "offline/WordClasses.h"

#include <unordered_map>
#include <unordered_set>

#include "base/Text.h"
#include "offline/Token.h"
#include "offline/WordLists.h"

namespace quillmarsh::service {

namespace {

using Set = std::unordered_set<std::string>;

Set setOf(const char* words)
{
    const auto list = splitList(words, ' ');
    return {list.begin(), list.end()};
}

const Set& verbs()
{
    static const Set set = setOf(WordLists::verbs);
    return set;
}

struct Irregular
{
    std::unordered_map<std::string, std::string> baseOfPast;
    std::unordered_map<std::string, std::string> participleOfPast;
    std::unordered_map<std::string, std::string> pastOfRegularised;
    Set participles;
    Set pasts;
};

const Irregular& irregular()
{
    static const Irregular result = [] {
        Irregular all;
        for (const std::string& triple : splitList(WordLists::irregular, '|')) {
            const auto forms = splitList(triple, ' ');
            all.pasts.insert(forms[0]);
            all.participles.insert(forms[1]);
            all.participleOfPast.emplace(forms[0], forms[1]);
            if (forms[0] != forms[2]) {
                all.pastOfRegularised.emplace(forms[2] + (forms[2].ends_with('e') ? "d" : "ed"), forms[0]);
            }
            // "left", "found", "felt", "fell" and "saw" are base forms as well, "had" and "was" auxiliaries
            static const Set ambiguous = setOf("left found felt fell had was rose wore hid ran");
            if (forms[0] != forms[2] && !ambiguous.contains(forms[0])) {
                all.baseOfPast.emplace(forms[0], forms[2]);
            }
        }
        return all;
    }();
    return result;
}

bool isIng(const std::string& lower)
{
    static const Set exceptions = setOf(WordLists::notIng);
    return lower.size() > 4 && lower.ends_with("ing") && !exceptions.contains(lower);
}

bool isParticiple(const std::string& lower)
{
    return irregular().participles.contains(lower) || (lower.size() > 4 && lower.ends_with("ed"));
}

/// Not "this", "less", "bus": what is left without the -s must be a word itself.
bool isPlural(const std::string& lower)
{
    static const Set singular =
        setOf("news means works headquarters crossroads barracks innings odds series species");
    return lower.size() > 3 && !singular.contains(lower) && !lower.ends_with("ics") && lower.ends_with('s') &&
           !lower.ends_with("ss") && isCommonWord(lower.substr(0, lower.size() - 1));
}

} // namespace

std::optional<WordClass> wordClassNamed(std::string_view name)
{
    static const std::unordered_map<std::string_view, WordClass> names{
        {"base", WordClass::Base},        {"3rd", WordClass::ThirdPerson},  {"ing", WordClass::Ing},
        {"past", WordClass::Past},        {"pp", WordClass::Participle},    {"adj", WordClass::Adjective},
        {"comp", WordClass::Comparative}, {"thing", WordClass::Possession}, {"subj", WordClass::Subject},
        {"name", WordClass::Name},        {"plural", WordClass::Plural},    {"number", WordClass::Number},
        {"word", WordClass::Word},        {"item", WordClass::Item}};
    const auto found = names.find(name);
    return found == names.end() ? std::nullopt : std::optional(found->second);
}

bool isOfClass(const std::string& lower, std::string_view text, WordClass wordClass)
{
    static const Set adjectives = setOf(WordLists::adjectives);
    static const Set comparatives = setOf(WordLists::comparatives);
    static const Set things = setOf(WordLists::things);
    static const Set items = setOf(WordLists::items);
    static const Set subjects = setOf("i you he she it we they");
    switch (wordClass) {
    case WordClass::Base:
        return verbs().contains(lower);
    case WordClass::ThirdPerson:
        return lower.size() > 3 && lower.ends_with("s") &&
               verbs().contains(lower.substr(0, lower.size() - 1));
    case WordClass::Ing:
        return isIng(lower);
    case WordClass::Past:
        return irregular().baseOfPast.contains(lower);
    case WordClass::Participle:
        return isParticiple(lower);
    case WordClass::Adjective:
        return adjectives.contains(lower);
    case WordClass::Comparative:
        return comparatives.contains(lower);
    case WordClass::Possession:
        return things.contains(lower);
    case WordClass::Item:
        return items.contains(lower);
    case WordClass::Subject:
        return subjects.contains(lower);
    case WordClass::Name:
        return isCapitalised(text);
    case WordClass::Plural:
        return isPlural(lower) && !isCapitalised(text);
    case WordClass::Number:
        return isDigit(text.front());
    case WordClass::Word:
        break;
    }
    return !isDigit(text.front());
}

bool isAuxiliary(const std::string& lower)
{
    static const Set set = setOf("am is are was were be been have has had do does did will would can could "
                                 "shall should may might must isn't "
                                 "aren't wasn't weren't haven't hasn't hadn't don't doesn't didn't won't "
                                 "wouldn't can't couldn't shouldn't "
                                 "cannot mustn't ain't");
    return set.contains(lower);
}

bool isFiniteVerb(const std::string& lower)
{
    static const Set past =
        setOf("went saw came did had knew took gave got said told thought bought brought wrote "
              "ate drank drove spoke broke chose began ran forgot was were became grew kept lost "
              "made met paid sent slept sold spent stood taught threw understood woke wore won "
              "heard felt found wants needs likes loves looks works seems says makes takes goes "
              "comes knows thinks gets means happened arrived asked called wanted needed looked "
              "worked liked loved tried seemed started finished changed helped decided missed "
              "enjoyed received believe think hope know want need like love agree wish guess");
    return past.contains(lower) || (isAuxiliary(lower) && lower != "be" && lower != "been");
}

bool isSubjectPronoun(const std::string& lower)
{
    static const Set set =
        setOf("i you he she it we they this that there these those everyone everybody someone somebody "
              "nobody nothing "
              "everything something i'm i've i'll i'd you're you've you'll you'd he's he'll he'd she's "
              "she'll she'd it's "
              "it'll we're we've we'll we'd they're they've they'll they'd that's there's here's that'll");
    return set.contains(lower);
}

bool isDeterminer(const std::string& lower)
{
    static const Set set =
        setOf("the a an my your his her its our their this that these those some any every each no "
              "another both all many few several most");
    return set.contains(lower);
}

bool isFunctionWord(const std::string& lower)
{
    static const Set set = setOf(WordLists::functionWords);
    return set.contains(lower);
}

bool isForeignSmallWord(const std::string& lower)
{
    static const Set set = setOf(WordLists::foreign);
    return set.contains(lower);
}

bool isForeignParticle(const std::string& lower)
{
    static const Set set =
        setOf("au aux de en un du des le la les el los las il di del della van von der das und et à y al");
    return set.contains(lower);
}

bool opensSentence(const std::string& lower)
{
    static const Set set = setOf("i i'm i'll i've we we'll we're you they he she thanks thank the");
    return set.contains(lower);
}

bool isCommonWord(const std::string& lower)
{
    static const Set set = [] {
        Set all = setOf(WordLists::commonWords);
        for (const char* list : {WordLists::verbs, WordLists::adjectives, WordLists::comparatives,
                                 WordLists::things, WordLists::functionWords}) {
            all.merge(setOf(list));
        }
        return all;
    }();
    if (set.contains(lower)) {
        return true;
    }
    for (const std::string_view ending : {"s", "es", "ed", "d", "ing", "ly", "ally", "er"}) {
        if (lower.ends_with(ending) && lower.size() > ending.size() + 2) {
            const std::string stem = lower.substr(0, lower.size() - ending.size());
            if (set.contains(stem) || (ending == "ing" && set.contains(stem + "e"))) {
                return true;
            }
        }
    }
    return false;
}

bool isJargon(const std::string& lower)
{
    static const Set set = setOf(WordLists::jargon);
    return set.contains(lower);
}

std::string pastOfRegularised(const std::string& lower)
{
    const auto found = irregular().pastOfRegularised.find(lower);
    return found == irregular().pastOfRegularised.end() ? std::string() : found->second;
}

std::string participleOfPast(const std::string& lower)
{
    const auto found = irregular().participleOfPast.find(lower);
    return found == irregular().participleOfPast.end() ? lower : found->second;
}

std::string baseOfPast(const std::string& lower)
{
    const auto found = irregular().baseOfPast.find(lower);
    return found == irregular().baseOfPast.end() ? std::string() : found->second;
}

} // namespace quillmarsh::service
