#include "offline/Instruction.h"

#include <map>
#include <set>

#include "base/Text.h"
#include "offline/Token.h"
#include "offline/Tokenizer.h"

namespace quillmarsh::service {

namespace {

using WordSet = std::set<std::string, std::less<>>;

WordSet setOf(const char* words)
{
    const auto list = splitList(words, ' ');
    return {list.begin(), list.end()};
}

/// The words that tell what is wanted.
const std::map<Intent, WordSet>& tellTales()
{
    static const std::map<Intent, WordSet> words{
        {Intent::Correct, setOf("fix correct autocorrect proofread spelling grammar punctuation typos typo "
                                "mistakes errors spellcheck "
                                "capitalization grammatical")},
        {Intent::Shorten, setOf("shorter shorten concise brief briefer condense tighten trim succinct filler "
                                "wordy unnecessary cut")},
        {Intent::Formalise,
         setOf("formal formally professional professionally polite businesslike formalize formalise")},
        {Intent::Casualise,
         setOf("casual casually friendly friendlier informal relaxed conversational chatty laid-back")}};
    return words;
}

/// Words that add nothing to the wish. A word that is neither here nor a tell-tale may change what is asked
/// for ("… and translate it"), so an instruction that holds one is not recognised.
const WordSet& neutral()
{
    static const WordSet words = setOf(
        "a an the this that these it its my me of in to for with and or any all more most much very bit "
        "little sound "
        "sounding make made rewrite write keep keeping while but only just text message email mail sentence "
        "sentences paragraph selection selected following please tone voice style way manner possible as be "
        "is are "
        "can you could would preserve preserving original meaning formatting message key main point points "
        "idea "
        "language change changing remove removing words word reduce sounds using use into so everything "
        "same clear check always answer rewritten "
        "improve basic simple english wording there if than version remain stay intact");
    return words;
}

/// "Fix any grammar errors" beside another wish changes nothing: every rewrite of this engine also corrects.
std::optional<Intent> single(const std::set<Intent>& found)
{
    std::set<Intent> wishes = found;
    if (wishes.size() > 1) {
        wishes.erase(Intent::Correct);
    }
    return wishes.size() == 1 ? std::optional(*wishes.begin()) : std::nullopt;
}

/// Sentences that say what must not happen, which never happens here: "Never change the original language …".
std::string withoutAssurances(std::string text)
{
    for (const std::string_view assurance : {"never ask questions, always answer with the rewritten text.",
                                             "never change the original language of the selected text."}) {
        for (size_t at = text.find(assurance); at != std::string::npos; at = text.find(assurance)) {
            text.erase(at, assurance.size());
        }
    }
    return text;
}

} // namespace

std::optional<Intent> recogniseIntent(const std::optional<std::string>& instruction)
{
    const std::string text = withoutAssurances(asciiLower(instruction.value_or("")));
    if (trimmed(text).empty()) {
        return Intent::Correct;
    }
    std::set<Intent> found;
    for (const Token& token : tokenize(text)) {
        if (!token.isContent()) {
            continue;
        }
        bool telling = false;
        for (const auto& [intent, words] : tellTales()) {
            if (words.contains(asciiLower(token.text))) {
                found.insert(intent);
                telling = true;
            }
        }
        if (!telling && !neutral().contains(asciiLower(token.text))) {
            return std::nullopt;
        }
    }
    return single(found);
}

} // namespace quillmarsh::service
