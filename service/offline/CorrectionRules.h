#pragma once

#include "offline/RuleSet.h"

namespace quillmarsh::service {

/// Contractions that lost their apostrophe, where no other word can be meant. Before the spelling.
[[nodiscard]] const RuleSet& contractionRules();
/// Words that are taken for each other, agreement, and forms of the verb. After the spelling.
[[nodiscard]] const RuleSet& confusionRules();
/// Formulas that end a sentence, so that what follows begins one ("thanks for your help I'll …"). The result
/// of a rule ends in the word in front of the missing full stop.
void splitFormulas(Tokens& tokens);

} // namespace quillmarsh::service
