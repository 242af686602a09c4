#pragma once

#include <string>

#include "offline/Lexicon.h"

namespace quillmarsh::service {

/// Finds what a misspelt word was meant to be, and offers nothing when that is not clear.
class Speller final
{
public:
    explicit Speller(const Lexicon& lexicon) : lexicon_(lexicon) {}

    /// Whether a word as written is right, or nothing that spelling can judge.
    [[nodiscard]] bool isRight(const std::string& word) const;
    /// The correction of an unknown lower-case word; empty when there is no clear one. `strict` asks for near
    /// certainty: for words that may be names.
    [[nodiscard]] std::string correction(const std::string& lower, bool strict) const;

private:
    const Lexicon& lexicon_;
};

} // namespace quillmarsh::service
