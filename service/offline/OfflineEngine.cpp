#include "offline/OfflineEngine.h"

#include "offline/CorrectionRules.h"
#include "offline/Passes.h"
#include "offline/Tokenizer.h"
#include "offline/ToneRules.h"

namespace quillmarsh::service {

namespace {

const char* const cannotFollow = "This rewrite service works without AI and can’t follow that instruction. "
                                 "It can correct English text and make it "
                                 "shorter, more formal or more casual.";
const char* const otherLanguage =
    "This rewrite service works without AI and only knows English. Your text was left as it was.";
const char* const alreadyShort =
    "This rewrite service works without AI and found nothing to leave out of this text.";

} // namespace

OfflineEngine::OfflineEngine(const std::string& dictionary) : lexicon_(dictionary), speller_(lexicon_)
{
    (void)contractionRules(); // a broken rule shows at the start, not at the first request
    (void)confusionRules();
    checkToneRules();
}

EngineAnswer OfflineEngine::rewrite(const RewriteJob& job, Deadline)
{
    const std::optional<Intent> intent = recogniseIntent(job.instruction);
    if (!intent) {
        return EngineAnswer::cannotDo("instruction_not_supported", cannotFollow);
    }
    Tokens tokens = tokenize(job.text);
    markSentenceStarts(tokens);
    const Language language = protectOtherLanguages(tokens, speller_, lexicon_);
    if (language == Language::Other) {
        return EngineAnswer::cannotDo("language_not_supported", otherLanguage);
    }
    correct(tokens, language == Language::English);
    const bool asMeant = isChatLine(tokens) && joined(tokens) == job.text;
    switch (*intent) {
    case Intent::Correct:
        if (asMeant) {
            return EngineAnswer::done(job.text);
        }
        break;
    case Intent::Formalise:
        makeFormal(tokens);
        break;
    case Intent::Casualise:
        makeCasual(tokens);
        break;
    case Intent::Shorten:
        if (makeShorter(tokens) == 0) {
            return EngineAnswer::cannotDo("nothing_to_shorten", alreadyShort);
        }
        break;
    }
    polish(tokens);
    fixApostrophes(tokens, job.text);
    return EngineAnswer::done(joined(tokens));
}

void OfflineEngine::correct(Tokens& tokens, bool spelling) const
{
    if (spelling) {
        fixSpacing(tokens, lexicon_); // "Merci beaucoup !"
    }
    markSentenceStarts(tokens);
    contractionRules().apply(tokens);
    if (spelling) {
        fixSpelling(tokens, speller_, lexicon_);
    }
    fixRepetitions(tokens);
    confusionRules().apply(tokens);
    confusionRules().apply(tokens); // what one rule mends may be what another waits for
    splitFormulas(tokens);
}

void OfflineEngine::polish(Tokens& tokens) const
{
    fixArticles(tokens, lexicon_);
    fixCapitals(tokens, lexicon_);
    fixSentenceEnds(tokens);
}

} // namespace quillmarsh::service
