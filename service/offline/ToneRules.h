#pragma once

#include "offline/RuleSet.h"

namespace quillmarsh::service {

/// Reads all rules, so that a broken one shows at the start and not at a request. Throws std::logic_error.
void checkToneRules();
/// Contractions written out, slang and greetings put into office English.
void makeFormal(Tokens& tokens);
/// Contractions where speech has them, stiff words replaced by everyday ones.
void makeCasual(Tokens& tokens);
/// Filler and wordy phrases out. Returns how many were found.
size_t makeShorter(Tokens& tokens);

} // namespace quillmarsh::service
